// Store.to_pandas and Store.fields_frame: the columns come from
// automation/item_table.h, read without the GIL; here they become numpy
// arrays (numbers as they are, texts as str objects made once per distinct
// text, timestamps as datetime64[ns, UTC]) and one DataFrame.
#include "python/py_frames.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "automation/item_table.h"
#include "python/py_values.h"
#include "store/item_store.h"

namespace quillon::python {

namespace {

py::module_ Pandas() { return py::module_::import("pandas"); }

// A one-dimensional object array of `rows` Nones.
py::array ObjectArray(std::size_t rows) {
  return py::module_::import("numpy").attr("empty")(rows, py::arg("dtype") = "O");
}

// Stores `value` (a new reference is taken) in cell `row` of an object array.
void SetCell(py::array& array, std::size_t row, py::handle value) {
  PyObject** cells = static_cast<PyObject**>(array.mutable_data());
  Py_XSETREF(cells[row], value.inc_ref().ptr());
}

py::array TextArray(const TextColumn& column) {
  std::vector<py::str> distinct;
  distinct.reserve(column.Texts().size());
  for (const std::u16string& text : column.Texts()) distinct.push_back(ToPython(text));
  py::array out = ObjectArray(column.Rows());
  const std::vector<std::uint32_t>& codes = column.Codes();
  for (std::size_t r = 0; r < codes.size(); ++r) SetCell(out, r, distinct[codes[r]]);
  return out;
}

template <typename T>
py::array NumberArray(const std::vector<T>& values) {
  return py::array_t<T>(static_cast<py::ssize_t>(values.size()), values.data());
}

py::object TimestampArray(const std::vector<std::int64_t>& nanoseconds) {
  const py::module_ pandas = Pandas();
  const py::object utc = pandas.attr("DatetimeTZDtype")(py::arg("tz") = "UTC");
  return pandas.attr("arrays").attr("DatetimeArray")(
      NumberArray(nanoseconds).attr("view")("M8[ns]"), py::arg("dtype") = utc);
}

py::array PayloadArray(const ItemTable& table) {
  py::array out = ObjectArray(table.payload_ends.size());
  std::size_t begin = 0;
  for (std::size_t r = 0; r < table.payload_ends.size(); ++r) {
    const std::size_t end = table.payload_ends[r];
    const auto* bytes = reinterpret_cast<const char*>(table.payload_bytes.data() + begin);
    SetCell(out, r, py::bytes(bytes, end - begin));
    begin = end;
  }
  return out;
}

py::object ColumnArray(const ItemTable& table, ItemColumn column) {
  switch (column) {
    case ItemColumn::kIndex:
      return NumberArray(std::vector<std::int64_t>(table.index.begin(), table.index.end()));
    case ItemColumn::kType:
      return NumberArray(table.type);
    case ItemColumn::kTypeText:
      return TextArray(table.type_text);
    case ItemColumn::kKeyText:
      return TextArray(table.key_text);
    case ItemColumn::kName:
      return TextArray(table.name);
    case ItemColumn::kTimestamp:
      return TimestampArray(table.timestamp);
    case ItemColumn::kSummary:
      return TextArray(table.summary);
    case ItemColumn::kLength:
      return NumberArray(std::vector<std::int64_t>(table.length.begin(), table.length.end()));
    case ItemColumn::kColor:
      return NumberArray(table.color);
    case ItemColumn::kPayload:
      return PayloadArray(table);
  }
  return py::none();
}

// The item columns `names` asks for, in its order; None: every column but
// the payload.
std::vector<ItemColumn> ColumnsOf(py::handle names) {
  std::vector<ItemColumn> columns;
  if (names.is_none()) {
    for (std::size_t i = 0; i < kItemColumnCount; ++i) {
      const auto column = static_cast<ItemColumn>(i);
      if (ItemColumnSet::Default().Has(column)) columns.push_back(column);
    }
    return columns;
  }
  if (PyUnicode_Check(names.ptr())) throw py::type_error("columns must be an iterable of str");
  for (py::handle name : names) {
    const std::string text = py::str(name).cast<std::string>();
    const std::optional<ItemColumn> column = FindItemColumn(text);
    if (!column) {
      std::string known;
      for (std::size_t i = 0; i < kItemColumnCount; ++i) {
        known += (i ? ", " : "") + std::string(ItemColumnName(static_cast<ItemColumn>(i)));
      }
      throw py::value_error("unknown column '" + text + "': the columns are " + known);
    }
    for (const ItemColumn earlier : columns) {
      if (earlier == *column) throw py::value_error("column '" + text + "' is asked for twice");
    }
    columns.push_back(*column);
  }
  return columns;
}

ItemColumnSet SetOf(const std::vector<ItemColumn>& columns) {
  ItemColumnSet set;
  for (const ItemColumn column : columns) set.Add(column);
  return set;
}

// "raise" or "skip".
bool SkipsErrors(const std::string& errors) {
  if (errors == "skip") return true;
  if (errors == "raise") return false;
  throw py::value_error("errors must be 'raise' or 'skip', not '" + errors + "'");
}

// Raises the first unreadable item's error, or with `skip` lists them all
// in the frame's attrs["skipped"] as (index, reason) pairs.
void HandleUnreadable(const ItemTable& table, bool skip, py::object& frame) {
  if (!skip) {
    if (!table.unreadable.empty()) throw cMISException(*table.unreadable.front().error);
    return;
  }
  py::list skipped;
  for (const ItemRead& read : table.unreadable) {
    skipped.append(py::make_tuple(read.index, read.error->what()));
  }
  frame.attr("attrs")["skipped"] = skipped;
}

// The frame of `table`: its item columns in `order`, then `extra` columns.
py::object MakeFrame(const ItemTable& table, const std::vector<ItemColumn>& order,
                     const std::vector<std::pair<std::u16string, py::object>>& extra = {}) {
  py::dict columns;
  for (const ItemColumn column : order) {
    columns[py::str(std::string(ItemColumnName(column)))] = ColumnArray(table, column);
  }
  for (const auto& [name, values] : extra) {
    const py::str key = ToPython(name);
    if (columns.contains(key)) {
      throw py::value_error("field '" + key.cast<std::string>() +
                            "' has the name of an item column: leave that column out");
    }
    columns[key] = values;
  }
  return Pandas().attr("DataFrame")(columns, py::arg("copy") = false);
}

std::vector<std::pair<std::u16string, py::object>> FieldArrays(const FieldTable& table,
                                                               bool texts) {
  std::vector<std::pair<std::u16string, py::object>> out;
  for (const FieldColumn& column : table.fields) {
    py::array values = ObjectArray(column.values.size());
    for (std::size_t r = 0; r < column.values.size(); ++r) {
      SetCell(values, r, ToPython(column.values[r]));
    }
    out.emplace_back(column.name, std::move(values));
    if (texts) out.emplace_back(column.name + u"_text", TextArray(column.texts));
  }
  return out;
}

std::vector<std::u16string> FieldNamesOf(py::handle fields) {
  std::vector<std::u16string> names;
  if (fields.is_none()) return names;
  if (PyUnicode_Check(fields.ptr())) throw py::type_error("fields must be an iterable of str");
  for (py::handle name : fields) names.push_back(ToUtf16(name));
  if (names.empty()) throw py::value_error("fields names no field (None: every field)");
  return names;
}

}  // namespace

void DefineFrameMethods(py::module_& module,
                        py::class_<PyStore, std::shared_ptr<PyStore>>& store_class) {
  store_class.def(
      "to_pandas",
      [](const PyStore& s, py::object columns, py::object types, py::object keys,
         std::uint32_t start, std::optional<std::uint32_t> stop, py::object since, py::object until,
         const std::string& errors, std::optional<unsigned> threads) {
        const bool skip = SkipsErrors(errors);
        if (threads && *threads == 0) throw py::value_error("threads must be at least 1");
        const std::vector<ItemColumn> order = ColumnsOf(columns);
        const ItemTableRequest request{
            .selection = SelectionOf(types, keys, start, stop, since, until),
            .columns = SetOf(order),
            .threads = threads.value_or(0)};
        const std::shared_ptr<ItemStore> store = s.Open();
        ItemTable table;
        {
          py::gil_scoped_release released;
          table = ReadItemTable(store, request);
        }
        py::object frame = MakeFrame(table, order);
        HandleUnreadable(table, skip, frame);
        return frame;
      },
      py::arg("columns") = py::none(), py::arg("types") = py::none(), py::arg("keys") = py::none(),
      py::arg("start") = 0, py::arg("stop") = py::none(), py::arg("since") = py::none(),
      py::arg("until") = py::none(), py::arg("errors") = "raise", py::arg("threads") = py::none(),
      "The selected items as a pandas DataFrame, one row per item: `columns` among index, "
      "type, type_text, key_text, name, timestamp (datetime64[ns, UTC]), summary, length, "
      "color and payload (None: all but payload); the selection is that of items(). Only "
      "the columns asked for are rendered, on `threads` threads (None: one per core; reads "
      "under 16384 items use one). An unreadable item raises quillon.Error, or with "
      "errors='skip' is left out and listed in attrs['skipped'] as (index, reason).");

  store_class.def(
      "fields_frame",
      [](const PyStore& s, py::handle entity_or_key, py::object fields, bool texts,
         py::object columns, py::object types, std::uint32_t start,
         std::optional<std::uint32_t> stop, py::object since, py::object until,
         const std::string& errors) {
        const bool skip = SkipsErrors(errors);
        const std::vector<ItemColumn> order = ColumnsOf(columns);
        FieldTableRequest request{
            .selection = SelectionOf(types, py::none(), start, stop, since, until),
            .entity = {},
            .fields = FieldNamesOf(fields),
            .texts = texts,
            .columns = SetOf(order)};
        SelectEntityOrKey(ToUtf16(entity_or_key), request);
        const std::shared_ptr<ItemStore> store = s.Open();
        FieldTable table;
        {
          py::gil_scoped_release released;
          table = ReadFieldTable(store, request);
        }
        py::object frame = MakeFrame(table.items, order, FieldArrays(table, texts));
        HandleUnreadable(table.items, skip, frame);
        return frame;
      },
      py::arg("entity_or_key"), py::arg("fields") = py::none(), py::kw_only(),
      py::arg("texts") = false, py::arg("columns") = py::make_tuple("index", "timestamp"),
      py::arg("types") = py::none(), py::arg("start") = 0, py::arg("stop") = py::none(),
      py::arg("since") = py::none(), py::arg("until") = py::none(), py::arg("errors") = "raise",
      "One row per item of a key (a key text or pattern: '0x412F', '00276', '*/03'; each "
      "item parsed with its own entity) or of a database entity (a name: only the items it "
      "parses), with the item `columns` and one column per field in `fields` (own or full "
      "names; None: every field met). Values as Item.fields gives them, None where an item "
      "has no such field; with `texts` also '<field>_text'. Selection and errors as "
      "to_pandas.");

  module.def(
      "_items_meta", [](py::object columns) { return MakeFrame(ItemTable{}, ColumnsOf(columns)); },
      py::arg("columns") = py::none(),
      "The empty frame to_pandas gives for `columns` (quillon.dask declares it).");
  module.def(
      "_fields_meta",
      [](py::object fields, bool texts, py::object columns) {
        FieldTable table;
        for (std::u16string& name : FieldNamesOf(fields)) {
          table.fields.push_back(FieldColumn{.name = std::move(name), .values = {}, .texts = {}});
        }
        return MakeFrame(table.items, ColumnsOf(columns), FieldArrays(table, texts));
      },
      py::arg("fields"), py::arg("texts") = false,
      py::arg("columns") = py::make_tuple("index", "timestamp"),
      "The empty frame fields_frame gives for `fields` (quillon.dask declares it).");
}

}  // namespace quillon::python
