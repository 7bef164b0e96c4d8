// Conversions between Python values and the automation value model, and
// the translation of core failures into quillon.Error. Everything here only
// converts: which value a method returns is decided in automation/.
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>

#include "automation/auto_object.h"
#include "automation/auto_variant.h"

namespace quillon::python {

namespace py = pybind11;

// UTF-16 from the core as a Python str (unpaired surrogates become U+FFFD).
py::str ToPython(std::u16string_view text);
// A Python str as UTF-16. Throws py::type_error for anything else.
std::u16string ToUtf16(py::handle text);

// A Python argument as the automation type `type` declares; `name` names
// the parameter in errors. UI4 takes an int in 0..2^32-1, BOOL a bool or
// an int, BSTR a str (None: the empty text), VARIANT any value (see
// ToVariant).
AutoVariant ToAuto(py::handle value, AutoType type, std::string_view name);
// A Python value as a VARIANT: None empty, bool VT_BOOL, int VT_I4 or
// VT_I8, float VT_R8, str VT_BSTR, bytes and bytearray VT_ARRAY|VT_UI1,
// a one-dimensional memoryview of bytes VT_ARRAY|VT_UI1 (signed bytes,
// format "b": VT_ARRAY|VT_I1), any other value VT_EMPTY.
AutoVariant ToVariant(py::handle value);

// An automation result as its natural Python value: UI4 and the integer
// types int, BOOL bool, DATE/R4/R8 float, BSTR str, byte arrays bytes, an
// object its Python class, VT_EMPTY/VT_NULL and the null object None.
py::object ToPython(const AutoVariant& value);
// An object result as its Python class; None for the null object.
py::object WrapObject(const std::shared_ptr<AutoObject>& object);

// Registers quillon.Error on `module` and the translator that turns a
// cMISException into it (message, `code`, `category`).
void RegisterErrors(py::module_& module);

}  // namespace quillon::python
