// The dispatch maps of the four automation classes: for each method its
// dispid, name, parameters, result type, help text and handler. This is the
// one place these facts live; com/Quillon.idl describes the same and the
// COM tests check the compiled type library against these tables.
#include <array>
#include <memory>

#include "automation/auto_color_item.h"
#include "automation/auto_event_service.h"
#include "automation/auto_item_fields.h"
#include "automation/auto_item_store_files.h"
#include "automation/auto_object.h"

namespace quillon {

namespace {

using T = AutoType;
using Args = std::span<const AutoVariant>;

template <typename C>
C& Self(AutoObject& object) {
  return static_cast<C&>(object);
}

AutoVariant Object(std::unique_ptr<AutoObject> object) {
  return AutoVariant::Dispatch(std::shared_ptr<AutoObject>(std::move(object)));
}

AutoVariant Text(std::u16string text) { return AutoVariant::Bstr(std::move(text)); }

AutoClass MakeItemStoreFiles() {
  using S = CAutoItemStoreFiles;
  return {.name = "ItemStoreFiles",
          .implementation = "CAutoItemStoreFiles",
          .interface_name = "IItemStoreFiles",
          .class_id = "47BB7E37-16E5-464F-9563-2E3B2E6B9C20",
          .interface_id = "19851C75-9E3F-492F-9B73-EDA7C44BC174",
          .prog_id = "Quillon.ItemStoreFiles",
          .methods = {
              {1,
               "CreateItemStore",
               {{T::kBstr, "fileName"}},
               T::kUI4,
               "Create a new (initially empty) file store",
               [](AutoObject& o, Args a) {
                 return AutoVariant::UI4(Self<S>(o).CreateItemStore(a[0].AsText()));
               }},
              {2,
               "LoadItemStore",
               {{T::kBstr, "fileName"}},
               T::kUI4,
               "Load an existing item store file",
               [](AutoObject& o, Args a) {
                 return AutoVariant::UI4(Self<S>(o).LoadItemStore(a[0].AsText()));
               }},
              {3,
               "CloseItemStore",
               {{T::kUI4, "hISF"}},
               T::kBool,
               "Close a previously opened file store",
               [](AutoObject& o, Args a) {
                 return AutoVariant::Bool(Self<S>(o).CloseItemStore(a[0].AsUI4()));
               }},
              {4,
               "AddStringItem",
               {{T::kUI4, "hISF"}, {T::kUI4, "strType"}, {T::kBstr, "str"}},
               T::kUI4,
               "Add a string item to a previously opened file store",
               [](AutoObject& o, Args a) {
                 return AutoVariant::UI4(
                     Self<S>(o).AddStringItem(a[0].AsUI4(), a[1].AsUI4(), a[2].AsText()));
               }},
              {5,
               "CopyItem",
               {{T::kUI4, "hSrcISF"},
                {T::kUI4, "hDstISF"},
                {T::kUI4, "index"},
                {T::kBool, "bPreserveTS"}},
               T::kUI4,
               "Copy a color item from one previously opened file store to another",
               [](AutoObject& o, Args a) {
                 return AutoVariant::UI4(
                     Self<S>(o).CopyItem(a[0].AsUI4(), a[1].AsUI4(), a[2].AsUI4(), a[3].AsBool()));
               }},
              {6,
               "GetItemCount",
               {{T::kUI4, "hISF"}},
               T::kUI4,
               "Get number of items in a previously opened file store",
               [](AutoObject& o, Args a) {
                 return AutoVariant::UI4(Self<S>(o).GetItemCount(a[0].AsUI4()));
               }},
              {7,
               "GetItem",
               {{T::kUI4, "hISF"}, {T::kUI4, "index"}},
               T::kDispatch,
               "Get a color item form a previously opened file store",
               [](AutoObject& o, Args a) {
                 return Object(Self<S>(o).GetItem(a[0].AsUI4(), a[1].AsUI4()));
               }},
              {8,
               "SetCDMAProtocolRevision",
               {{T::kUI4, "hISF"}, {T::kUI4, "rev"}},
               T::kBool,
               "Set the CDMA protocol revision in use",
               [](AutoObject& o, Args a) {
                 return AutoVariant::Bool(
                     Self<S>(o).SetCDMAProtocolRevision(a[0].AsUI4(), a[1].AsUI4()));
               }},
              {9,
               "LoadParser",
               {{T::kUI4, "hISF"}, {T::kBstr, "pDLLPath"}},
               T::kBool,
               "Load a dynamic parsing DLL",
               [](AutoObject& o, Args a) {
                 return AutoVariant::Bool(Self<S>(o).LoadParser(a[0].AsUI4(), a[1].AsText()));
               }},
              {10,
               "UnloadParsers",
               {{T::kUI4, "hISF"}},
               T::kBool,
               "Disable dynamic parsing DLL service by unloading all DLLs",
               [](AutoObject& o, Args a) {
                 return AutoVariant::Bool(Self<S>(o).UnloadParsers(a[0].AsUI4()));
               }},
              {11,
               "SetWCDMAProtocolRevision",
               {{T::kUI4, "hISF"}, {T::kUI4, "rev"}},
               T::kBool,
               "Set the WCDMA protocol revision in use",
               [](AutoObject& o, Args a) {
                 return AutoVariant::Bool(
                     Self<S>(o).SetWCDMAProtocolRevision(a[0].AsUI4(), a[1].AsUI4()));
               }},
          }};
}

AutoClass MakeColorItem() {
  using C = CAutoColorItem;
  return {
      .name = "ColorItem",
      .implementation = "CAutoColorItem",
      .interface_name = "IColorItem",
      .class_id = "10FC9C9D-DE82-4963-9BED-7493D15B7225",
      .interface_id = "0F156534-BFE9-489E-B5D3-6A2F22B5A659",
      .prog_id = "",
      .methods = {
          {401,
           "GetItemType",
           {},
           T::kUI4,
           "Get item type",
           [](AutoObject& o, Args) { return AutoVariant::UI4(Self<C>(o).GetItemType()); }},
          {402,
           "GetItemColor",
           {},
           T::kUI4,
           "Get item color",
           [](AutoObject& o, Args) { return AutoVariant::UI4(Self<C>(o).GetItemColor()); }},
          {403,
           "GetItemTimestamp",
           {},
           T::kDate,
           "Get item generic timestamp",
           [](AutoObject& o, Args) { return AutoVariant::Date(Self<C>(o).GetItemTimestamp()); }},
          {404,
           "GetItemSpecificTimestamp",
           {},
           T::kDate,
           "Get item specific timestamp",
           [](AutoObject& o, Args) {
             return AutoVariant::Date(Self<C>(o).GetItemSpecificTimestamp());
           }},
          {405,
           "GetItemBuffer",
           {{T::kBool, "bIncludeHeaderBytes"}},
           T::kVariant,
           "Get item buffer",
           [](AutoObject& o, Args a) { return Self<C>(o).GetItemBuffer(a[0].AsBool()); }},
          {406,
           "GetItemTypeText",
           {},
           T::kBstr,
           "Get item type as a string",
           [](AutoObject& o, Args) { return Text(Self<C>(o).GetItemTypeText()); }},
          {407,
           "GetItemKeyText",
           {},
           T::kBstr,
           "Get item key as a string",
           [](AutoObject& o, Args) { return Text(Self<C>(o).GetItemKeyText()); }},
          {408,
           "GetItemTimestampText",
           {{T::kBool, "bWantDate"}, {T::kBool, "bWantMillisecs"}},
           T::kBstr,
           "Get item generic timestamp as a string",
           [](AutoObject& o, Args a) {
             return Text(Self<C>(o).GetItemTimestampText(
                 {.want_date = a[0].AsBool(), .want_milliseconds = a[1].AsBool()}));
           }},
          {409,
           "GetItemSpecificTimestampText",
           {{T::kBool, "bWantDate"}, {T::kBool, "bWantMillisecs"}},
           T::kBstr,
           "Get item specific timestamp as a string",
           [](AutoObject& o, Args a) {
             return Text(Self<C>(o).GetItemSpecificTimestampText(
                 {.want_date = a[0].AsBool(), .want_milliseconds = a[1].AsBool()}));
           }},
          {410,
           "GetItemBufferText",
           {{T::kBool, "bIncludeHeaderBytes"}},
           T::kBstr,
           "Get item buffer as text",
           [](AutoObject& o, Args a) { return Text(Self<C>(o).GetItemBufferText(a[0].AsBool())); }},
          {411,
           "GetItemName",
           {},
           T::kBstr,
           "Get item name",
           [](AutoObject& o, Args) { return Text(Self<C>(o).GetItemName()); }},
          {412,
           "GetItemSummary",
           {},
           T::kBstr,
           "Get item summary",
           [](AutoObject& o, Args) { return Text(Self<C>(o).GetItemSummary()); }},
          {413,
           "GetItemParsedText",
           {},
           T::kBstr,
           "Get item parsed text (WEFT/dynamic parsing DLL output)",
           [](AutoObject& o, Args) { return Text(Self<C>(o).GetItemParsedText()); }},
          {414,
           "GetItemFields",
           {},
           T::kDispatch,
           "Get (DB parsed) item fields (returns DB parsed field interface)",
           [](AutoObject& o, Args) { return Object(Self<C>(o).GetItemFields()); }},
          {415,
           "GetNamedItemFields",
           {{T::kBstr, "pEntityName"}},
           T::kDispatch,
           "",
           [](AutoObject& o, Args a) {
             return Object(Self<C>(o).GetItemFields({.entity_name = a[0].AsText()}));
           }},
          {416,
           "GetItemTimestamp2",
           {},
           T::kR8,
           "Get item generic timestamp as double",
           [](AutoObject& o, Args) { return AutoVariant::R8(Self<C>(o).GetItemTimestamp()); }},
          {417,
           "GetItemSpecificTimestamp2",
           {},
           T::kR8,
           "Get item specific timestamp as double",
           [](AutoObject& o, Args) {
             return AutoVariant::R8(Self<C>(o).GetItemSpecificTimestamp());
           }},
          {418,
           "GetConfiguredItemFields",
           {{T::kBstr, "pEntityName"}, {T::kBool, "bFieldStrings"}, {T::kBool, "bFieldNames"}},
           T::kDispatch,
           "Get (DB parsed) item fields (returns configured DB parsed field interface)",
           [](AutoObject& o, Args a) {
             return Object(Self<C>(o).GetItemFields({.entity_name = a[0].AsText(),
                                                     .field_strings = a[1].AsBool(),
                                                     .field_names = a[2].AsBool()}));
           }},
          {419,
           "GetItemFieldValue",
           {{T::kUI4, "fieldType"},
            {T::kUI4, "bitCount"},
            {T::kUI4, "bitOffset"},
            {T::kBool, "bIncludeHeaderBytes"}},
           T::kVariant,
           "Get the actual value of field parsed out of the item buffer",
           [](AutoObject& o, Args a) {
             return Self<C>(o).GetItemFieldValue({.field_type = a[0].AsUI4(),
                                                  .bit_count = a[1].AsUI4(),
                                                  .bit_offset = a[2].AsUI4(),
                                                  .include_header_bytes = a[3].AsBool()});
           }},
          {420,
           "GetItemFieldValueText",
           {{T::kUI4, "fieldType"},
            {T::kUI4, "bitCount"},
            {T::kUI4, "bitOffset"},
            {T::kBool, "bIncludeHeaderBytes"},
            {T::kBool, "bHexadecimal"}},
           T::kBstr,
           "Get text representation field value parsed out of the item buffer",
           [](AutoObject& o, Args a) {
             return Text(Self<C>(o).GetItemFieldValueText({.field_type = a[0].AsUI4(),
                                                           .bit_count = a[1].AsUI4(),
                                                           .bit_offset = a[2].AsUI4(),
                                                           .include_header_bytes = a[3].AsBool()},
                                                          a[4].AsBool()));
           }},
          {421,
           "GetItemSize",
           {{T::kBool, "bIncludeHeaderBytes"}},
           T::kUI4,
           "Get item size",
           [](AutoObject& o, Args a) {
             return AutoVariant::UI4(Self<C>(o).GetItemSize(a[0].AsBool()));
           }},
          {422,
           "GetItemDLFBuffer",
           {},
           T::kVariant,
           "Get item buffer in legacy DLF format",
           [](AutoObject& o, Args) { return Self<C>(o).GetItemDLFBuffer(); }},
      }};
}

AutoClass MakeColorItemFields() {
  using F = CAutoItemFields;
  return {
      .name = "ColorItemFields",
      .implementation = "CAutoItemFields",
      .interface_name = "IColorItemFields",
      .class_id = "BE5C8212-35CF-4145-ABF5-24AD62F94A05",
      .interface_id = "96E8C08F-87B5-491F-AFDA-2E8537797121",
      .prog_id = "",
      .methods = {
          {600,
           "GetXML",
           {},
           T::kBstr,
           "Get an XML description of the parsed data",
           [](AutoObject& o, Args) { return Text(Self<F>(o).GetXML()); }},
          {601,
           "GetFieldCount",
           {},
           T::kUI4,
           "Get the number of parsed fields",
           [](AutoObject& o, Args) { return AutoVariant::UI4(Self<F>(o).GetFieldCount()); }},
          {602,
           "GetFieldIndex",
           {{T::kBstr, "pName"}, {T::kBool, "bPartial"}},
           T::kUI4,
           "Get index of the (first) field that matches the given name",
           [](AutoObject& o, Args a) {
             return AutoVariant::UI4(Self<F>(o).GetFieldIndex(a[0].AsText(), a[1].AsBool()));
           }},
          {603,
           "GetFieldOffset",
           {{T::kUI4, "index"}},
           T::kUI4,
           "Get the offset (in bits) of given parsed field (from start of payload)",
           [](AutoObject& o, Args a) {
             return AutoVariant::UI4(Self<F>(o).GetFieldOffset(a[0].AsUI4()));
           }},
          {604,
           "GetFieldSize",
           {{T::kUI4, "index"}},
           T::kUI4,
           "Get the actual size (in bits) of parsed field",
           [](AutoObject& o, Args a) {
             return AutoVariant::UI4(Self<F>(o).GetFieldSize(a[0].AsUI4()));
           }},
          {605,
           "GetFieldValue",
           {{T::kUI4, "index"}},
           T::kVariant,
           "Get the actual value of parsed field",
           [](AutoObject& o, Args a) { return Self<F>(o).GetFieldValue(a[0].AsUI4()); }},
          {606,
           "GetFieldName",
           {{T::kUI4, "index"}, {T::kBool, "bPartial"}},
           T::kBstr,
           "Get the name of the parsed field",
           [](AutoObject& o, Args a) {
             return Text(Self<F>(o).GetFieldName(a[0].AsUI4(), a[1].AsBool()));
           }},
          {607,
           "GetFieldValueText",
           {{T::kUI4, "index"}},
           T::kBstr,
           "Get value text for the parsed field",
           [](AutoObject& o, Args a) { return Text(Self<F>(o).GetFieldValueText(a[0].AsUI4())); }},
          {608,
           "GetFieldIndexFrom",
           {{T::kBstr, "pName"},
            {T::kUI4, "startIndex"},
            {T::kBool, "bPartial"},
            {T::kBool, "bLoop"}},
           T::kUI4,
           "Get index of the (first) field that matches the given name starting from a given "
           "index",
           [](AutoObject& o, Args a) {
             return AutoVariant::UI4(Self<F>(o).GetFieldIndexFrom(
                 a[0].AsText(), a[1].AsUI4(), {.partial = a[2].AsBool(), .loop = a[3].AsBool()}));
           }},
          {609,
           "GetFieldIndexByID",
           {{T::kUI4, "fieldID"}},
           T::kUI4,
           "Get index of the (first) field that matches the given field ID",
           [](AutoObject& o, Args a) {
             return AutoVariant::UI4(Self<F>(o).GetFieldIndexByID(a[0].AsUI4()));
           }},
          {610,
           "GetFieldIndexFromByID",
           {{T::kUI4, "fieldID"}, {T::kUI4, "startIndex"}, {T::kBool, "bLoop"}},
           T::kUI4,
           "Get index of the (first) field that matches the given field ID starting from a "
           "given index",
           [](AutoObject& o, Args a) {
             return AutoVariant::UI4(
                 Self<F>(o).GetFieldIndexFromByID(a[0].AsUI4(), a[1].AsUI4(), a[2].AsBool()));
           }},
      }};
}

AutoClass MakeEventService() {
  using E = CAutoEventService;
  return {
      .name = "EventService",
      .implementation = "CAutoEventService",
      .interface_name = "IEventService",
      .class_id = "2880D4DB-7CE4-438C-B89B-515985941AAE",
      .interface_id = "76DFBFEE-3AF9-46C5-8B10-B918B47CE5AB",
      .prog_id = "Quillon.EventService",
      .methods = {
          {110,
           "GetName",
           {{T::kUI4, "eventID"}},
           T::kBstr,
           "Return event name for specified event ID",
           [](AutoObject& o, Args a) { return Text(Self<E>(o).GetName(a[0].AsUI4())); }},
          {111,
           "GetSummary",
           {{T::kUI4, "eventID"}, {T::kVariant, "payload"}},
           T::kBstr,
           "Parse the specified event to summary text",
           [](AutoObject& o, Args a) { return Text(Self<E>(o).GetSummary(a[0].AsUI4(), a[1])); }},
      }};
}

}  // namespace

const AutoTypeLibrary& QuillonTypeLibrary() {
  static const AutoTypeLibrary library{.name = "Quillon",
                                       .library_id = "57E95830-6C61-4EB4-B18D-B3CE87313C28",
                                       .major_version = 1,
                                       .minor_version = 0,
                                       .locale = 0x409};
  return library;
}

const AutoClass& ItemStoreFilesClass() {
  static const AutoClass c = MakeItemStoreFiles();
  return c;
}

const AutoClass& ColorItemClass() {
  static const AutoClass c = MakeColorItem();
  return c;
}

const AutoClass& ColorItemFieldsClass() {
  static const AutoClass c = MakeColorItemFields();
  return c;
}

const AutoClass& EventServiceClass() {
  static const AutoClass c = MakeEventService();
  return c;
}

std::span<const AutoClass* const> AllAutoClasses() {
  static const std::array<const AutoClass*, 4> classes{&ItemStoreFilesClass(), &EventServiceClass(),
                                                       &ColorItemClass(), &ColorItemFieldsClass()};
  return classes;
}

}  // namespace quillon
