// quillon fields FILE INDEX [--entity NAME] [--xml]: an item's payload
// parsed field by field through the database.
#include <cstdio>
#include <memory>
#include <string>

#include "automation/auto_color_item.h"
#include "automation/auto_item_fields.h"
#include "cli/cli_support.h"
#include "cli/commands.h"
#include "store/item_store.h"

namespace quillon::cli {

namespace {

struct FieldsOptions {
  std::string path;
  std::uint32_t index = 0;
  std::string entity;
  bool xml = false;
};

void RunFields(const FieldsOptions& options) {
  const OpenedStore opened = OpenForReading(options.path);
  const std::uint32_t count = opened.store->GetItemCount();
  if (options.index >= count) {
    Fail("item index " + std::to_string(options.index) + " is out of range: " + options.path +
         " has " + std::to_string(count) + " items");
  }
  ItemPtr record;
  try {
    record = opened.store->GetItem(options.index);
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot read item " + std::to_string(options.index))};
  }
  const CAutoColorItem item(opened.store, std::move(record));
  const std::u16string entity = PathArgument(options.entity);
  const std::unique_ptr<CAutoItemFields> fields = item.GetItemFields({.entity_name = entity});
  if (!fields) {
    Fail("item " + std::to_string(options.index) + " (" + ToUtf8(item.GetItemTypeText()) + " " +
         ToUtf8(item.GetItemKeyText()) + ") has no fields: " +
         (options.entity.empty() ? "no database entity parses it"
                                 : "the entity '" + options.entity + "' does not parse it"));
  }
  if (options.xml) {
    std::printf("%s\n", ToUtf8(fields->GetXML()).c_str());
    return;
  }
  std::printf("%6s %6s  %-32s %s\n", "offset", "bits", "name", "value");
  for (std::uint32_t i = 0; i < fields->GetFieldCount(); ++i) {
    std::printf("%6u %6u  %-32s %s\n", fields->GetFieldOffset(i), fields->GetFieldSize(i),
                ToUtf8(fields->GetFieldName(i, false)).c_str(),
                ToUtf8(fields->GetFieldValueText(i)).c_str());
  }
}

}  // namespace

void AddFieldsCommand(CLI::App& app) {
  auto options = std::make_shared<FieldsOptions>();
  CLI::App* fields =
      app.add_subcommand("fields", "Parse an item's payload field by field through the database");
  fields->add_option("FILE", options->path, "Item store file (.isf)")->required();
  fields->add_option("INDEX", options->index, "Index of the item")->required();
  fields->add_option("--entity", options->entity,
                     "Parse with this database entity instead of the item's own");
  fields->add_flag("--xml", options->xml, "Print the fields as XML");
  fields->callback([options] { RunFields(*options); });
}

}  // namespace quillon::cli
