// The four automation classes as Python classes, generated from their
// dispatch maps: each method keeps its automation name, parameter names,
// help text (as docstring) and failure values.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <mutex>
#include <utility>

#include "automation/auto_object.h"

namespace quillon::python {

namespace py = pybind11;

// One automation object as Python holds it. Calls run without the GIL, so
// each object serialises its own calls, as its apartment would.
struct PyAutoObject {
  explicit PyAutoObject(std::shared_ptr<AutoObject> o) : object(std::move(o)) {}
  std::shared_ptr<AutoObject> object;
  std::mutex lock;
};

// One C++ type per Python class.
struct PyItemStoreFiles final : PyAutoObject {
  using PyAutoObject::PyAutoObject;
};
struct PyColorItem final : PyAutoObject {
  using PyAutoObject::PyAutoObject;
};
struct PyColorItemFields final : PyAutoObject {
  using PyAutoObject::PyAutoObject;
};
struct PyEventService final : PyAutoObject {
  using PyAutoObject::PyAutoObject;
};

// Defines ItemStoreFiles, EventService (creatable), ColorItem and
// ColorItemFields (handed out by methods only) on `module`.
void DefineAutomationClasses(py::module_& module);

// Calls `method` of `self` with Python arguments converted to its declared
// types; the GIL is released during the call.
py::object CallAutomation(PyAutoObject& self, const AutoMethod& method, py::handle* args);

}  // namespace quillon::python
