#include "render/internal/handoff_summary.h"

#include <string_view>

namespace quillon {

namespace {

struct HandoffRule {
  std::uint32_t event_id;
  std::u16string_view field;
  std::u16string_view format;
};

constexpr HandoffRule kRules[] = {
    {276, u"idle_handoff", u"idle_handoff=%u"},
    {277, u"ms_access_handoff", u"ms_access_handoff=%u"},
    {278, u"ms_access_probe_handoff", u"ms_access_probe_handoff=%u"},
    {639, u"ms_access_handoff", u"ms_access_handoff=%u"},
};

}  // namespace

bool ApplyHandoffSummary(std::uint32_t event_id, std::uint32_t payload_bits,
                         std::u16string& field_names, std::u16string& format) {
  if (payload_bits != 16) return false;
  for (const HandoffRule& rule : kRules) {
    if (rule.event_id == event_id) {
      field_names.assign(rule.field);
      format.assign(rule.format);
      return true;
    }
  }
  return false;
}

}  // namespace quillon
