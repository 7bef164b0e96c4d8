#include "python/py_values.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "automation/auto_color_item.h"
#include "common/mis_exception.h"
#include "python/py_auto_classes.h"

namespace quillon::python {

namespace {

double DoubleOf(std::uint64_t bits) {
  double v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

[[noreturn]] void Fail(PyObject* type, std::string_view name, std::string_view what) {
  PyErr_SetString(type, (std::string(name) + ": " + std::string(what)).c_str());
  throw py::error_already_set();
}

AutoVariant BytesVariant(const std::uint8_t* data, std::size_t length, std::uint16_t element) {
  auto array = std::make_shared<AutoByteArray>();
  array->element_type = element;
  array->bytes.assign(data, data + length);
  return AutoVariant::Array(element, std::move(array));
}

AutoVariant MemoryViewVariant(py::handle value) {
  Py_buffer view{};
  if (PyObject_GetBuffer(value.ptr(), &view, PyBUF_C_CONTIGUOUS | PyBUF_FORMAT) != 0) {
    PyErr_Clear();
    return {};
  }
  AutoVariant result;
  const std::string format = view.format != nullptr ? view.format : "B";
  if (view.ndim <= 1 && view.itemsize == 1) {
    const auto* data = static_cast<const std::uint8_t*>(view.buf);
    const auto length = static_cast<std::size_t>(view.len);
    if (format == "B" || format == "c") result = BytesVariant(data, length, kVtUI1);
    if (format == "b") result = BytesVariant(data, length, kVtI1);
  }
  PyBuffer_Release(&view);
  return result;
}

}  // namespace

py::str ToPython(std::u16string_view text) {
  int little_endian = -1;
  PyObject* s =
      PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(text.data()),
                            static_cast<Py_ssize_t>(text.size() * 2), "replace", &little_endian);
  if (s == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(s);
}

std::u16string ToUtf16(py::handle text) {
  if (!PyUnicode_Check(text.ptr())) throw py::type_error("expected a str");
  PyObject* bytes = PyUnicode_AsEncodedString(text.ptr(), "utf-16-le", "surrogatepass");
  if (bytes == nullptr) throw py::error_already_set();
  const auto owned = py::reinterpret_steal<py::bytes>(bytes);
  char* data = nullptr;
  Py_ssize_t size = 0;
  PyBytes_AsStringAndSize(owned.ptr(), &data, &size);
  std::u16string out(static_cast<std::size_t>(size) / 2, u'\0');
  std::memcpy(out.data(), data, out.size() * 2);
  return out;
}

AutoVariant ToAuto(py::handle value, AutoType type, std::string_view name) {
  switch (type) {
    case AutoType::kUI4: {
      if (!PyLong_Check(value.ptr())) Fail(PyExc_TypeError, name, "expected an int");
      const unsigned long long v = PyLong_AsUnsignedLongLong(value.ptr());
      if (PyErr_Occurred() || v > std::numeric_limits<std::uint32_t>::max()) {
        PyErr_Clear();
        Fail(PyExc_OverflowError, name, "expected an int from 0 to 4294967295");
      }
      return AutoVariant::UI4(static_cast<std::uint32_t>(v));
    }
    case AutoType::kBool:
      if (!PyLong_Check(value.ptr())) Fail(PyExc_TypeError, name, "expected a bool");
      return AutoVariant::Bool(PyObject_IsTrue(value.ptr()) == 1);
    case AutoType::kBstr:
      if (value.is_none()) return AutoVariant::Bstr({});
      if (!PyUnicode_Check(value.ptr())) Fail(PyExc_TypeError, name, "expected a str");
      return AutoVariant::Bstr(ToUtf16(value));
    case AutoType::kR8:
    case AutoType::kDate:
      if (!PyFloat_Check(value.ptr()) && !PyLong_Check(value.ptr())) {
        Fail(PyExc_TypeError, name, "expected a float");
      }
      return type == AutoType::kR8 ? AutoVariant::R8(PyFloat_AsDouble(value.ptr()))
                                   : AutoVariant::Date(PyFloat_AsDouble(value.ptr()));
    case AutoType::kVariant:
    case AutoType::kDispatch:
      break;
  }
  return ToVariant(value);
}

AutoVariant ToVariant(py::handle value) {
  PyObject* v = value.ptr();
  if (v == Py_None) return {};
  if (PyBool_Check(v)) return AutoVariant::Bool(v == Py_True);
  if (PyLong_Check(v)) {
    int overflow = 0;
    const long long n = PyLong_AsLongLongAndOverflow(v, &overflow);
    if (overflow != 0) return {};
    if (n >= std::numeric_limits<std::int32_t>::min() &&
        n <= std::numeric_limits<std::int32_t>::max()) {
      return AutoVariant::Bits(kVtI4, static_cast<std::uint64_t>(n));
    }
    return AutoVariant::Bits(kVtI8, static_cast<std::uint64_t>(n));
  }
  if (PyFloat_Check(v)) return AutoVariant::R8(PyFloat_AsDouble(v));
  if (PyUnicode_Check(v)) return AutoVariant::Bstr(ToUtf16(value));
  if (PyBytes_Check(v)) {
    return BytesVariant(reinterpret_cast<const std::uint8_t*>(PyBytes_AS_STRING(v)),
                        static_cast<std::size_t>(PyBytes_GET_SIZE(v)), kVtUI1);
  }
  if (PyByteArray_Check(v)) {
    return BytesVariant(reinterpret_cast<const std::uint8_t*>(PyByteArray_AS_STRING(v)),
                        static_cast<std::size_t>(PyByteArray_GET_SIZE(v)), kVtUI1);
  }
  if (PyMemoryView_Check(v)) return MemoryViewVariant(value);
  return {};
}

py::object ToPython(const AutoVariant& value) {
  const AutoVariant& v = value.Deref();
  const std::uint16_t vt = v.Type();
  if ((vt & kVtArray) != 0) {
    const auto& array = v.AsArray();
    if (!array) return py::none();
    return py::bytes(reinterpret_cast<const char*>(array->bytes.data()), array->bytes.size());
  }
  switch (vt) {
    case kVtBool:
      return py::bool_(v.AsBool());
    case kVtI1:
    case kVtI2:
    case kVtI4:
    case kVtI8:
      return py::int_(static_cast<std::int64_t>(v.RawBits()));
    case kVtUI1:
    case kVtUI2:
    case kVtUI4:
    case kVtUI8:
      return py::int_(v.RawBits());
    case kVtR4:
      return py::float_(static_cast<double>(v.AsFloat()));
    case kVtR8:
    case kVtDate:
      return py::float_(DoubleOf(v.RawBits()));
    case kVtBstr:
      return ToPython(std::u16string_view(v.AsText()));
    case kVtDispatch:
      return WrapObject(v.AsObject());
    default:
      return py::none();
  }
}

py::object WrapObject(const std::shared_ptr<AutoObject>& object) {
  if (!object) return py::none();
  const AutoClass* cls = &object->Class();
  if (cls == &ColorItemClass()) return py::cast(std::make_shared<PyColorItem>(object));
  if (cls == &ColorItemFieldsClass()) return py::cast(std::make_shared<PyColorItemFields>(object));
  if (cls == &ItemStoreFilesClass()) return py::cast(std::make_shared<PyItemStoreFiles>(object));
  return py::cast(std::make_shared<PyEventService>(object));
}

void RegisterErrors(py::module_& module) {
  static py::handle error_type;
  error_type = PyErr_NewExceptionWithDoc(
      "quillon.Error",
      "A failure of the Quillon core: `code` is the Windows error code, `category` 0 for a "
      "file or system error, 1 for a caller's error, 2 for an internal one.",
      PyExc_Exception, nullptr);
  if (!error_type) throw py::error_already_set();
  error_type.attr("code") = 0;
  error_type.attr("category") = 0;
  module.add_object("Error", error_type);
  py::register_exception_translator([](std::exception_ptr failure) {
    try {
      if (failure) std::rethrow_exception(failure);
    } catch (const cMISException& e) {
      py::object error = error_type(py::str(e.what()));
      error.attr("code") = e.Code();
      error.attr("category") = e.Category();
      PyErr_SetObject(error_type.ptr(), error.ptr());
    }
  });
}

}  // namespace quillon::python
