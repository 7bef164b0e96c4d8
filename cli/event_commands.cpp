// quillon event name ID | event summary ID HEX: an event's name and the
// one-line summary of a payload, without a store.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "automation/auto_event_service.h"
#include "cli/cli_support.h"
#include "cli/commands.h"

namespace quillon::cli {

namespace {

struct EventOptions {
  std::string id;
  std::string hex;
};

std::uint32_t EventId(const std::string& text) {
  char* end = nullptr;
  const unsigned long long id = std::strtoull(text.c_str(), &end, 0);
  if (text.empty() || *end != '\0' || text[0] == '-' || id > 0xFFFFFFFF) {
    Fail("event ID '" + text + "' is not a number from 0 to 4294967295", kExitUsage);
  }
  return static_cast<std::uint32_t>(id);
}

// Hex digits, optionally separated by blanks or colons ("01 02", "01:02").
std::vector<std::uint8_t> Bytes(const std::string& hex) {
  std::vector<std::uint8_t> bytes;
  int pending = -1;
  for (const char c : hex) {
    int digit = -1;
    if (c >= '0' && c <= '9') digit = c - '0';
    if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    if (digit < 0) {
      if ((c == ' ' || c == ':') && pending < 0) continue;
      Fail("payload '" + hex + "' is not hex bytes such as 0a1b2c or \"0a 1b 2c\"", kExitUsage);
    }
    if (pending < 0) {
      pending = digit;
    } else {
      bytes.push_back(static_cast<std::uint8_t>(pending * 16 + digit));
      pending = -1;
    }
  }
  if (pending >= 0) Fail("payload '" + hex + "' has an odd number of hex digits", kExitUsage);
  return bytes;
}

const CAutoEventService& Service() {
  UseDatabase();
  static const CAutoEventService service;
  return service;
}

// The event's name; ends the program when the database lacks the ID.
std::string KnownName(std::uint32_t id) {
  const std::string name = ToUtf8(Service().GetName(id));
  if (name.empty()) Fail("event ID " + std::to_string(id) + " is not in the database");
  return name;
}

}  // namespace

void AddEventCommands(CLI::App& app) {
  auto* event = app.add_subcommand("event", "Name an event ID or summarise an event payload");
  event->require_subcommand(1);
  auto options = std::make_shared<EventOptions>();

  auto* name = event->add_subcommand("name", "Print the name of event ID");
  name->add_option("ID", options->id, "Event ID (decimal or 0x hex)")->required();
  name->callback([options] { std::printf("%s\n", KnownName(EventId(options->id)).c_str()); });

  auto* summary = event->add_subcommand("summary", "Print the summary of event ID over HEX");
  summary->add_option("ID", options->id, "Event ID (decimal or 0x hex)")->required();
  summary->add_option("HEX", options->hex, "Payload bytes in hex")->required();
  summary->callback([options] {
    const std::uint32_t id = EventId(options->id);
    const std::vector<std::uint8_t> bytes = Bytes(options->hex);
    KnownName(id);
    const AutoVariant payload = AutoVariant::ByteArray(bytes.data(), bytes.size());
    std::printf("%s\n", ToUtf8(Service().GetSummary(id, payload)).c_str());
  });
}

}  // namespace quillon::cli
