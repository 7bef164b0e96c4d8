// What an item needs from the world around it to render its texts: the
// options of one request and the services of the owning store.
#pragma once

#include <cstdint>
#include <string>

namespace quillon {

class Database;
class ItemRecord;

// Options of one rendering request (GetTexts). The defaults are those of an
// automation text method that sets nothing.
struct ItemRenderOptions {
  bool want_date = false;             // timestamp text with "MM/DD/YYYY "
  bool want_milliseconds = true;      // timestamp text with ".mmm"
  bool specific_timestamp = false;    // timestamp text of the specific timestamp
  bool timestamp_flag = true;         // the third flag: cleared for timestamp texts
  bool combined_texts = false;        // "EVT(-)", "LOG(-)", "MSG(x)"; events named in summaries
  bool include_header_bytes = false;  // payload lengths and dumps include the header
};

// The dynamic parser libraries of the store that owns an item, as rendering
// sees them. The store implements it: each call takes the store's lock.
class ItemParserService {
 public:
  virtual ~ItemParserService() = default;
  // The text of the first loaded library that accepts `item` and can parse
  // to text; false, leaving `out` alone, when none produces one.
  virtual bool ParseToText(const ItemRecord& item, std::u16string& out) const = 0;
  // The same for one-line summaries.
  virtual bool ParseToSummary(const ItemRecord& item, std::u16string& out) const = 0;
};

// The rendering context ("core context") of an item. Null members mean the
// service is not available: names are then "Unknown" or empty, summaries
// fall back to the payload length, parsed texts are empty.
struct ItemRenderServices {
  const Database* database = nullptr;          // names, database summaries
  const ItemParserService* parsers = nullptr;  // the owning store's libraries
};

}  // namespace quillon
