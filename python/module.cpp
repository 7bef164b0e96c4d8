// The extension module quillon.bin._quillon; the package quillon re-exports
// it. It lives in the package's bin/ folder so that the database location
// rule finds the package's Database/ folder beside it.
#include "automation/module.h"

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "python/py_auto_classes.h"
#include "python/py_store.h"
#include "python/py_values.h"

namespace py = pybind11;
using namespace quillon;

PYBIND11_MODULE(_quillon, module) {
  module.doc() = "Quillon: read, write and render item store files (.isf).";
  python::RegisterErrors(module);
  python::DefineAutomationClasses(module);
  python::DefineStoreClasses(module);

  module.def(
      "use_database",
      [](py::object path) {
        const std::u16string directory =
            python::ToUtf16(py::module_::import("os").attr("fsdecode")(path));
        if (!automation::LoadProcessDatabase(directory)) {
          throw std::runtime_error(
              "use_database() must be called before the first object exists: the database "
              "is already loaded from " +
              py::str(python::ToPython(automation::ProcessDatabaseDirectory()))
                  .cast<std::string>());
        }
        py::list messages;
        for (const auto& m : automation::StartupMessages()) {
          messages.append(py::make_tuple(python::ToPython(std::u16string_view(m.text)),
                                         static_cast<int>(m.severity)));
        }
        return messages;
      },
      py::arg("path"),
      "Loads the database directory `path` (with its user databases) for the whole process "
      "and returns its messages as (text, severity) pairs, severity 0 information, 1 warning, "
      "2 error. Raises RuntimeError once the database is loaded (any object or item loads it).");
  module.def(
      "database_directory", [] { return python::ToPython(automation::ProcessDatabaseDirectory()); },
      "The directory the process-wide database was loaded from (loading it now if needed).");
}
