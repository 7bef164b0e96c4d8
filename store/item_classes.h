// All concrete item classes, one per item type code.
#pragma once

#include "store/item_diag.h"
#include "store/item_event.h"
#include "store/item_gps.h"
#include "store/item_log.h"
#include "store/item_malformed.h"
#include "store/item_message.h"
#include "store/item_ota_log.h"
#include "store/item_string.h"
#include "store/item_subsys.h"
