#include "common/item_database_view.h"

namespace quillon {

const NullItemDatabaseView& NullItemDatabaseView::Instance() {
  static const NullItemDatabaseView instance;
  return instance;
}

}  // namespace quillon
