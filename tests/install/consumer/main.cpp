// Counts the items of a capture and names the first, through the installed
// core: count_items FILE.
#include <cstdio>

#include "automation/auto_color_item.h"
#include "automation/module.h"
#include "automation/store_access.h"
#include "platform/text_codec.h"
#include "store/item_store.h"

int main(int argc, char** argv) {
  using namespace quillon;
  if (argc != 2) return 2;
  automation::LoadProcessDatabase(platform::Utf8ToUtf16(DATABASE_DIR));
  try {
    const OpenedStore opened = OpenStore(platform::Utf8ToUtf16(argv[1]), {});
    const CAutoColorItem first(opened.store, 0);
    std::printf("%u items, the first named %s\n", opened.store->GetItemCount(),
                platform::Utf16ToUtf8(first.GetItemName()).c_str());
  } catch (const cMISException& e) {
    std::fprintf(stderr, "%s\n", e.what());
    return 1;
  }
  return 0;
}
