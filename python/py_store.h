// The Pythonic layer over stores: quillon.open(), Store, Item, Field and the
// event helpers.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "automation/store_access.h"

namespace quillon {
class CAutoColorItem;
}

namespace quillon::python {

namespace py = pybind11;

// One item. It renders through its store, which it watches without keeping
// open: once the store closes, every property raises ValueError.
struct PyItem {
  PyItem(std::shared_ptr<ItemStore> store, ItemPtr record, std::uint32_t position);
  // The item, or ValueError when its store is closed.
  const CAutoColorItem& Open() const;
  // `entity`: a str naming the database entity to parse with, or None.
  py::list Fields(py::handle entity) const;
  py::str Xml(py::handle entity) const;

  std::shared_ptr<CAutoColorItem> item;
  std::uint32_t index;
};

// An open store; closing it (close(), the end of a with block) drops the
// only owner, which closes the file.
struct PyStore {
  // The store, or ValueError once closed. Callers keep the copy while they
  // work without the GIL, so a close() from another thread closes the file
  // only when they are done.
  std::shared_ptr<ItemStore> Open() const;
  std::uint32_t Count() const;
  // Item `index` (negative counts from the end); IndexError out of range,
  // quillon.Error when it cannot be read.
  std::shared_ptr<PyItem> Get(std::int64_t index) const;
  void Close();

  std::shared_ptr<ItemStore> store;
  std::u16string path;
  StoreMode mode = StoreMode::kRead;
  bool recovered = false;
};

// Reads batches without the GIL and hands out one item at a time; an
// unreadable item raises quillon.Error when its turn comes.
struct PyItemIterator {
  PyItemIterator(const PyStore& owner, ItemSelection selection);
  std::shared_ptr<PyItem> Next();

  std::weak_ptr<ItemStore> store;
  ItemCursor cursor;
  std::vector<ItemRead> batch;
  std::size_t next = 0;
};

// The selection of Store.items(): type codes, key texts (patterns), the
// index range [start, stop) and the time range [since, until) (datetimes;
// naive ones are UTC); None leaves a condition out.
ItemSelection SelectionOf(py::handle types, py::handle keys, std::uint32_t start,
                          std::optional<std::uint32_t> stop, py::handle since, py::handle until);

void DefineStoreClasses(py::module_& module);

}  // namespace quillon::python
