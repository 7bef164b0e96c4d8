// The Pythonic layer: quillon.open() and its Store, Item and Field, and the
// event helpers. Items render through CAutoColorItem and their fields
// through CAutoItemFields, so every text and value equals what the
// automation classes give; failures are quillon.Error instead of failure
// values.
#include "python/py_store.h"

#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "automation/auto_color_item.h"
#include "automation/auto_event_service.h"
#include "automation/auto_item_fields.h"
#include "automation/module.h"
#include "automation/store_access.h"
#include "ota/ota_capture.h"
#include "python/py_frames.h"
#include "python/py_values.h"
#include "store/item_store.h"

namespace quillon::python {

namespace {

// Items read per batch while iterating, without the GIL.
constexpr std::size_t kBatchSize = 256;

py::object FsDecode(py::handle path) { return py::module_::import("os").attr("fsdecode")(path); }

// Python objects the layer makes often, looked up once.
struct Cached {
  py::object epoch;      // datetime(1601, 1, 1, tzinfo=timezone.utc)
  py::object timedelta;  // datetime.timedelta
  py::object field;      // quillon.Field
};
Cached& Objects() {
  static Cached* cached = new Cached();  // lives as long as the interpreter
  return *cached;
}

py::object DateTime(ItemTimestamp timestamp) {
  const Cached& c = Objects();
  // Stored times are whole milliseconds, which the 1.25 ms ticks keep only
  // to within a few hundred nanoseconds: round to the nearest microsecond.
  const std::uint64_t microseconds = (timestamp.ToFileTime() + 5) / 10;
  return c.epoch + c.timedelta(py::arg("microseconds") = microseconds);
}

std::optional<ItemTimestamp> TimestampOf(py::handle when) {
  if (when.is_none()) return std::nullopt;
  const py::object aware =
      when.attr("tzinfo").is_none()
          ? py::object(when.attr("replace")(py::arg("tzinfo") = Objects().epoch.attr("tzinfo")))
          : py::reinterpret_borrow<py::object>(when);
  const py::object delta = aware - Objects().epoch;
  const long long microseconds =
      (delta.attr("days").cast<long long>() * 86400 + delta.attr("seconds").cast<long long>()) *
          1000000 +
      delta.attr("microseconds").cast<long long>();
  if (microseconds < 0) return ItemTimestamp();
  return ItemTimestamp::FromFileTime(static_cast<std::uint64_t>(microseconds) * 10);
}

const char* ModeText(StoreMode mode) {
  switch (mode) {
    case StoreMode::kWrite:
      return "w";
    case StoreMode::kAppend:
      return "a";
    case StoreMode::kRead:
      break;
  }
  return "r";
}

StoreMode ModeOf(const std::string& mode) {
  if (mode == "r") return StoreMode::kRead;
  if (mode == "w") return StoreMode::kWrite;
  if (mode == "a") return StoreMode::kAppend;
  throw py::value_error("mode must be 'r', 'w' or 'a', not '" + mode + "'");
}

}  // namespace

// --- Item ------------------------------------------------------------------

PyItem::PyItem(std::shared_ptr<ItemStore> store, ItemPtr record, std::uint32_t position)
    : item(std::make_shared<CAutoColorItem>(store, std::move(record))), index(position) {}

const CAutoColorItem& PyItem::Open() const {
  if (!item->HasItem()) throw py::value_error("the store of this item is closed");
  return *item;
}

namespace {

// The field object for `entity` (None: the item's own), or null.
std::unique_ptr<CAutoItemFields> FieldsOf(const CAutoColorItem& item, py::handle entity) {
  const std::u16string name = entity.is_none() ? std::u16string() : ToUtf16(entity);
  return item.GetItemFields({.entity_name = name});
}

}  // namespace

py::list PyItem::Fields(py::handle entity) const {
  const std::unique_ptr<CAutoItemFields> fields = FieldsOf(Open(), entity);
  py::list out;
  if (!fields) return out;
  const py::object& field = Objects().field;
  const std::uint32_t count = fields->GetFieldCount();
  for (std::uint32_t i = 0; i < count; ++i) {
    out.append(field(ToPython(std::u16string_view(fields->GetFieldName(i, false))),
                     ToPython(fields->GetFieldValue(i)),
                     ToPython(std::u16string_view(fields->GetFieldValueText(i))),
                     fields->GetFieldOffset(i), fields->GetFieldSize(i)));
  }
  return out;
}

py::str PyItem::Xml(py::handle entity) const {
  const std::unique_ptr<CAutoItemFields> fields = FieldsOf(Open(), entity);
  return ToPython(fields ? std::u16string_view(fields->GetXML()) : std::u16string_view());
}

// --- Store -----------------------------------------------------------------

std::shared_ptr<ItemStore> PyStore::Open() const {
  if (!store) throw py::value_error("I/O operation on a closed store");
  return store;
}

std::uint32_t PyStore::Count() const {
  const std::shared_ptr<ItemStore> s = Open();
  py::gil_scoped_release released;
  return s->GetItemCount();
}

std::shared_ptr<PyItem> PyStore::Get(std::int64_t index) const {
  const std::shared_ptr<ItemStore> s = Open();
  const std::int64_t count = Count();
  const std::int64_t i = index < 0 ? index + count : index;
  if (i < 0 || i >= count) throw py::index_error("item index out of range");
  ItemPtr record;
  {
    py::gil_scoped_release released;
    record = s->GetItem(static_cast<std::uint32_t>(i));
  }
  return std::make_shared<PyItem>(s, std::move(record), static_cast<std::uint32_t>(i));
}

void PyStore::Close() {
  if (!store) return;
  std::shared_ptr<ItemStore> closing = std::move(store);
  py::gil_scoped_release released;
  closing.reset();  // the last owner: closes the file (trailer, temporary files)
}

// --- iteration -------------------------------------------------------------

PyItemIterator::PyItemIterator(const PyStore& owner, ItemSelection selection)
    : store(owner.store), cursor(std::move(selection), owner.Count()) {}

std::shared_ptr<PyItem> PyItemIterator::Next() {
  if (next >= batch.size()) {
    const std::shared_ptr<ItemStore> open = store.lock();
    if (!open) throw py::value_error("I/O operation on a closed store");
    batch.clear();
    next = 0;
    {
      py::gil_scoped_release released;
      cursor.ReadBatch(*open, batch, kBatchSize);
    }
    if (batch.empty()) throw py::stop_iteration();
  }
  ItemRead& read = batch[next++];
  if (read.error) throw cMISException(*read.error);
  return std::make_shared<PyItem>(store.lock(), std::move(read.item), read.index);
}

ItemSelection SelectionOf(py::handle types, py::handle keys, std::uint32_t start,
                          std::optional<std::uint32_t> stop, py::handle since, py::handle until) {
  ItemSelection selection;
  selection.first = start;
  selection.end = stop.value_or(0xFFFFFFFF);
  if (!types.is_none()) {
    for (py::handle t : types) {
      const auto code = t.cast<std::uint32_t>();
      if (code >= 32) throw py::value_error("item type codes are 0 to 10");
      selection.type_mask |= 1u << code;
    }
    if (selection.type_mask == 0) selection.type_mask = 0x80000000;  // no type at all
  }
  if (!keys.is_none()) {
    if (PyUnicode_Check(keys.ptr())) throw py::type_error("keys must be an iterable of str");
    for (py::handle k : keys) selection.key_texts.push_back(ToUtf16(k));
  }
  selection.since = TimestampOf(since);
  selection.until = TimestampOf(until);
  return selection;
}

namespace {

// Store.to_pcap: the store's OTA messages as a capture file (the writer of
// `quillon export`); unreadable items are skipped and counted.
py::dict ToPcap(const PyStore& s, py::handle path, const std::string& format) {
  if (format != "pcap" && format != "gsmtap") {
    throw py::value_error("format must be 'pcap' or 'gsmtap', not '" + format + "'");
  }
  const CaptureFormat capture_format =
      format == "pcap" ? CaptureFormat::kExportedPdu : CaptureFormat::kGsmtap;
  const std::u16string target = ToUtf16(FsDecode(path));
  const std::shared_ptr<ItemStore> store = s.Open();
  OtaCaptureCounts counts;
  std::uint64_t unreadable = 0;
  {
    py::gil_scoped_release released;
    CaptureFile file(target);
    OtaCaptureWriter writer(capture_format,
                            [&file](std::span<const std::uint8_t> bytes) { file.Write(bytes); });
    ItemCursor cursor(ItemSelection{}, store->GetItemCount());
    std::vector<ItemRead> batch;
    while (cursor.ReadBatch(*store, batch, kBatchSize) != 0) {
      for (const ItemRead& read : batch) {
        if (read.error) {
          ++unreadable;
        } else {
          writer.Add(*read.item);
        }
      }
      batch.clear();
    }
    writer.Finish();
    counts = writer.Counts();
  }
  py::dict out;
  out["records"] = counts.records;
  out["no_layout"] = counts.no_layout;
  out["no_message"] = counts.no_message;
  out["malformed"] = counts.malformed;
  out["not_ota"] = counts.not_ota;
  out["unreadable"] = unreadable;
  return out;
}

}  // namespace

void DefineStoreClasses(py::module_& module) {
  py::module_ collections = py::module_::import("collections");
  py::module_ datetime = py::module_::import("datetime");
  Cached& c = Objects();
  c.field = collections.attr("namedtuple")("Field", "name value text offset size");
  c.field.attr("__module__") = "quillon";
  c.field.attr("__doc__") =
      "One parsed field: its display name, value, value text, and its offset and size in bits.";
  c.epoch = datetime.attr("datetime")(1601, 1, 1,
                                      py::arg("tzinfo") = datetime.attr("timezone").attr("utc"));
  c.timedelta = datetime.attr("timedelta");
  module.add_object("Field", c.field);

  py::class_<PyItem, std::shared_ptr<PyItem>>(
      module, "Item", "One item of a store, with its raw properties and rendered texts.")
      .def_readonly("index", &PyItem::index, "The item's index in its store.")
      .def_property_readonly(
          "type", [](const PyItem& i) { return i.Open().GetItemType(); },
          "The item type code (0 MALFORMED ... 10 SUBSYS TX).")
      .def_property_readonly(
          "type_text", [](const PyItem& i) { return ToPython(i.Open().GetItemTypeText()); },
          "The type text, such as \"LOG\".")
      .def_property_readonly(
          "key",
          [](const PyItem& i) {
            const auto& elements = i.Open().Item()->Key().Elements();
            py::tuple key(elements.size());
            for (std::size_t k = 0; k < elements.size(); ++k) key[k] = py::int_(elements[k]);
            return key;
          },
          "The item key: the type code, then the numbers that identify the item.")
      .def_property_readonly(
          "key_text", [](const PyItem& i) { return ToPython(i.Open().GetItemKeyText()); },
          "The key text, such as \"0x1C0B\".")
      .def_property_readonly(
          "name", [](const PyItem& i) { return ToPython(i.Open().GetItemName()); },
          "The item's name from the database.")
      .def_property_readonly(
          "summary", [](const PyItem& i) { return ToPython(i.Open().GetItemSummary()); },
          "The one-line summary.")
      .def_property_readonly(
          "timestamp", [](const PyItem& i) { return DateTime(i.Open().Item()->Timestamp()); },
          "The generic timestamp, as an aware datetime in UTC.")
      .def_property_readonly(
          "specific_timestamp",
          [](const PyItem& i) { return DateTime(i.Open().Item()->GetSpecificTimestamp()); },
          "The time the device stamped on the item (the generic one when it has none).")
      .def_property_readonly(
          "payload", [](const PyItem& i) { return ToPython(i.Open().GetItemBuffer(true)); },
          "The payload bytes, header bytes included.")
      .def_property_readonly(
          "color", [](const PyItem& i) { return i.Open().GetItemColor(); },
          "The item's colour (COLORREF, 0x00BBGGRR).")
      .def_property_readonly(
          "parsed_text", [](const PyItem& i) { return ToPython(i.Open().GetItemParsedText()); },
          "The parser libraries' text for the item; empty when none parses it.")
      .def("fields", &PyItem::Fields, py::arg("entity") = py::none(),
           "The database-parsed fields (a list of Field); `entity` names the database entity "
           "to parse with instead of the item's own. Empty when nothing parses the item.")
      .def("xml", &PyItem::Xml, py::arg("entity") = py::none(),
           "The parsed fields as XML; empty when nothing parses the item.")
      .def("__repr__", [](const PyItem& i) {
        if (!i.item->HasItem()) return py::str("<quillon.Item {} (store closed)>").format(i.index);
        return py::str("<quillon.Item {} {} {}>")
            .format(i.index, ToPython(i.item->GetItemTypeText()),
                    ToPython(i.item->GetItemKeyText()));
      });

  py::class_<PyItemIterator, std::shared_ptr<PyItemIterator>>(module, "ItemIterator",
                                                              "Iterates over a store's items.")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", &PyItemIterator::Next);

  py::class_<PyStore, std::shared_ptr<PyStore>> store_class(
      module, "Store",
      "An open item store file (see quillon.open); a context manager that closes it.");
  store_class
      .def_property_readonly(
          "path", [](const PyStore& s) { return ToPython(s.path); }, "The file's path.")
      .def_property_readonly(
          "mode", [](const PyStore& s) { return ModeText(s.mode); }, "'r', 'w' or 'a'.")
      .def_readonly("recovered", &PyStore::recovered,
                    "True when the file was a capture that was never closed.")
      .def_property_readonly("closed", [](const PyStore& s) { return !s.store; })
      .def("close", &PyStore::Close,
           "Closes the file (a written file gets its trailer); items read before can no "
           "longer render.")
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__", [](PyStore& s, py::args) { s.Close(); })
      .def("__len__", &PyStore::Count)
      .def("__getitem__", &PyStore::Get, py::arg("index"))
      .def(
          "__getitem__",
          [](const PyStore& s, py::slice slice) {
            std::size_t start = 0, stop = 0, step = 0, length = 0;
            if (!slice.compute(s.Count(), &start, &stop, &step, &length)) {
              throw py::error_already_set();
            }
            py::list out;
            for (std::size_t k = 0; k < length; ++k) {
              out.append(s.Get(static_cast<std::int64_t>(start + k * step)));
            }
            return out;
          },
          py::arg("indexes"))
      .def("__iter__",
           [](const PyStore& s) {
             s.Open();
             return std::make_shared<PyItemIterator>(s, ItemSelection{});
           })
      .def(
          "items",
          [](const PyStore& s, py::object types, py::object keys, std::uint32_t start,
             std::optional<std::uint32_t> stop, py::object since, py::object until) {
            s.Open();
            return std::make_shared<PyItemIterator>(
                s, SelectionOf(types, keys, start, stop, since, until));
          },
          py::arg("types") = py::none(), py::arg("keys") = py::none(), py::arg("start") = 0,
          py::arg("stop") = py::none(), py::arg("since") = py::none(),
          py::arg("until") = py::none(),
          "Iterates over the items with an index in [start, stop) whose type code is in "
          "`types`, whose key text is in `keys` (case ignored) and whose timestamp lies in "
          "[since, until); None leaves a condition out. Naive datetimes are taken as UTC.")
      .def(
          "add_text",
          [](PyStore& s, py::handle text_object, std::uint32_t string_type) {
            const std::u16string text = ToUtf16(text_object);
            const std::shared_ptr<ItemStore> target = s.Open();
            py::gil_scoped_release released;
            return AddTextItems(*target, text, string_type);
          },
          py::arg("text"), py::arg("string_type") = 0,
          "Adds one STRING item per non-empty line; returns the index of the first.")
      .def(
          "copy_from",
          [](PyStore& s, const PyStore& other, std::uint32_t index, bool preserve_timestamp) {
            const std::shared_ptr<ItemStore> target = s.Open();
            const std::shared_ptr<ItemStore> source = other.Open();
            py::gil_scoped_release released;
            return CopyStoreItem(*source, *target, index, preserve_timestamp);
          },
          py::arg("other"), py::arg("index"), py::arg("preserve_timestamp") = true,
          "Appends item `index` of `other`; returns the new item's index. Without "
          "`preserve_timestamp` the copy is stamped now.")
      .def("to_pcap", &ToPcap, py::arg("path"), py::arg("format") = "pcap",
           "Writes the OTA messages as a capture that Wireshark opens: 'pcap' (exported "
           "PDUs, link type 252) or 'gsmtap' (GSMTAP over UDP, link type 228), one record "
           "per message, the file replaced. Returns the counts: records, no_layout, "
           "no_message, malformed, not_ota, unreadable.")
      .def("__repr__", [](const PyStore& s) {
        return py::str("<quillon.Store {!r} mode={!r}{}>")
            .format(ToPython(s.path), ModeText(s.mode), s.store ? "" : " closed");
      });

  DefineFrameMethods(module, store_class);

  module.def(
      "open",
      [](py::object path, const std::string& mode, bool recover) {
        const std::u16string file = ToUtf16(FsDecode(path));
        const StoreOpenOptions options{.mode = ModeOf(mode), .recover = recover};
        auto opened = std::make_shared<PyStore>();
        {
          py::gil_scoped_release released;
          OpenedStore store = OpenStore(file, options);
          opened->store = std::move(store.store);
          opened->recovered = store.recovered;
        }
        opened->path = file;
        opened->mode = options.mode;
        return opened;
      },
      py::arg("path"), py::arg("mode") = "r", py::arg("recover") = false,
      "Opens an item store file: 'r' reads an existing file and never writes to it, 'w' "
      "creates a new one (replacing any), 'a' appends to one (created when missing). A "
      "capture that was never closed needs `recover`: in 'r' it is recovered in memory, in "
      "'a' it gets its trailer when closed.");

  module.def(
      "event_name",
      [](std::uint32_t event_id) {
        static const CAutoEventService service;
        return ToPython(service.GetName(event_id));
      },
      py::arg("event_id"), "The event's name; empty for an ID the database lacks.");
  module.def(
      "event_summary",
      [](std::uint32_t event_id, py::handle payload) {
        static const CAutoEventService service;
        return ToPython(service.GetSummary(event_id, ToVariant(payload)));
      },
      py::arg("event_id"), py::arg("payload"),
      "The event's one-line summary over `payload` (bytes, bytearray or memoryview); empty "
      "for any other value.");
}

}  // namespace quillon::python
