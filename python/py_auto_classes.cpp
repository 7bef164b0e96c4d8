#include "python/py_auto_classes.h"

#include <array>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "automation/auto_event_service.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "python/py_values.h"

namespace quillon::python {

namespace {

// The most parameters any automation method declares.
constexpr std::size_t kMaxParams = 5;

// Parameter names for py::arg, which keeps the pointer.
const char* StableName(std::string_view name) {
  static std::deque<std::string> names;
  return names.emplace_back(name).c_str();
}

template <typename W, std::size_t... I>
void DefineMethod(py::class_<W, std::shared_ptr<W>>& cls, const AutoMethod& method,
                  std::index_sequence<I...>) {
  const AutoMethod* m = &method;
  std::string doc(method.help);
  cls.def(
      StableName(method.name),
      [m](W& self, decltype((void)I, py::object())... args) {
        std::array<py::handle, kMaxParams> handles{args...};
        return CallAutomation(self, *m, handles.data());
      },
      py::arg(StableName(method.params[I].name))..., StableName(doc));
}

template <typename W>
void DefineMethods(py::class_<W, std::shared_ptr<W>>& cls, const AutoClass& automation) {
  for (const AutoMethod& method : automation.methods) {
    switch (method.params.size()) {
      case 0:
        DefineMethod(cls, method, std::make_index_sequence<0>());
        break;
      case 1:
        DefineMethod(cls, method, std::make_index_sequence<1>());
        break;
      case 2:
        DefineMethod(cls, method, std::make_index_sequence<2>());
        break;
      case 3:
        DefineMethod(cls, method, std::make_index_sequence<3>());
        break;
      case 4:
        DefineMethod(cls, method, std::make_index_sequence<4>());
        break;
      case 5:
        DefineMethod(cls, method, std::make_index_sequence<5>());
        break;
      default:
        throw std::logic_error("an automation method with more parameters than bound");
    }
  }
}

std::string ClassDoc(const AutoClass& automation) {
  std::string doc = "The automation class " + std::string(automation.name) + " (" +
                    std::string(automation.interface_name) + ").";
  if (automation.prog_id.empty()) doc += " Handed out by methods only; not creatable.";
  return doc;
}

}  // namespace

py::object CallAutomation(PyAutoObject& self, const AutoMethod& method, py::handle* args) {
  std::vector<AutoVariant> values;
  values.reserve(method.params.size());
  for (std::size_t i = 0; i < method.params.size(); ++i) {
    values.push_back(ToAuto(args[i], method.params[i].type, method.params[i].name));
  }
  AutoVariant result;
  {
    py::gil_scoped_release released;
    const std::lock_guard<std::mutex> serial(self.lock);
    result = self.object->Invoke(method, values);
  }
  switch (method.result) {
    case AutoType::kUI4:
      return py::int_(result.AsUI4());
    case AutoType::kBool:
      return py::bool_(result.AsBool());
    default:
      return ToPython(result);
  }
}

void DefineAutomationClasses(py::module_& module) {
  py::class_<PyItemStoreFiles, std::shared_ptr<PyItemStoreFiles>> files(
      module, "ItemStoreFiles", ClassDoc(ItemStoreFilesClass()).c_str());
  files.def(py::init([] {
    automation::ProcessDatabase();
    return std::make_shared<PyItemStoreFiles>(std::make_shared<CAutoItemStoreFiles>());
  }));
  DefineMethods(files, ItemStoreFilesClass());

  py::class_<PyEventService, std::shared_ptr<PyEventService>> events(
      module, "EventService", ClassDoc(EventServiceClass()).c_str());
  events.def(py::init([] {
    automation::ProcessDatabase();
    return std::make_shared<PyEventService>(std::make_shared<CAutoEventService>());
  }));
  DefineMethods(events, EventServiceClass());

  py::class_<PyColorItem, std::shared_ptr<PyColorItem>> item(module, "ColorItem",
                                                             ClassDoc(ColorItemClass()).c_str());
  DefineMethods(item, ColorItemClass());

  py::class_<PyColorItemFields, std::shared_ptr<PyColorItemFields>> fields(
      module, "ColorItemFields", ClassDoc(ColorItemFieldsClass()).c_str());
  DefineMethods(fields, ColorItemFieldsClass());
}

}  // namespace quillon::python
