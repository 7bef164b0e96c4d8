// Stores as pandas data frames: Store.to_pandas and Store.fields_frame. The
// columns are read in C++ (automation/item_table.h) without the GIL; this
// file only turns them into numpy arrays and a DataFrame.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>

#include "python/py_store.h"

namespace quillon::python {

// Adds to_pandas and fields_frame to `store_class`, and the functions
// quillon.dask declares its frames' metadata with (_items_meta,
// _fields_meta) to `module`.
void DefineFrameMethods(py::module_& module,
                        py::class_<PyStore, std::shared_ptr<PyStore>>& store_class);

}  // namespace quillon::python
