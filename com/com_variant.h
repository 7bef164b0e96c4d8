// Conversions between VARIANTs and the automation layer's values. They
// decide nothing: types, failure values and payload rules come from
// automation/.
#pragma once

#include <windows.h>
// windows.h first: the headers below need its types.
#include <oleauto.h>

#include <deque>
#include <string>
#include <string_view>

#include "automation/auto_object.h"

namespace quillon::com {

// A new BSTR holding `text` (an empty text is an empty BSTR, not null).
BSTR MakeBstr(std::u16string_view text);

// The result of a method of declared type `type` into `out`, which must be
// empty (VariantInit). Objects are wrapped in new COM objects.
HRESULT StoreResult(const AutoVariant& value, AutoType type, VARIANT* out);

// One argument for a parameter of declared type `type`: a by-reference
// script variable is read through its reference, then coerced as script
// hosts expect (VariantChangeType). A VARIANT parameter takes the value as
// passed: a by-reference VARIANT stays one, its target kept in `storage`.
// DISP_E_TYPEMISMATCH when the value does not convert.
HRESULT ReadArgument(const VARIANT& in, AutoType type, std::deque<AutoVariant>& storage,
                     AutoVariant* out);

}  // namespace quillon::com
