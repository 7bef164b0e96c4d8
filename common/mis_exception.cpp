#include "common/mis_exception.h"

#include <charconv>
#include <cstring>

namespace quillon {

const char* cMISException::what() const noexcept {
  // Built on demand into the object's own buffer: no allocation, so what()
  // stays usable while memory is short. The longest text ("category
  // 4294967295, error 4294967295") needs 38 characters.
  char* p = text_;
  char* const end = text_ + sizeof(text_) - 1;
  constexpr char kCategory[] = "category ";
  constexpr char kError[] = ", error ";
  std::memcpy(p, kCategory, sizeof(kCategory) - 1);
  p += sizeof(kCategory) - 1;
  p = std::to_chars(p, end, category_).ptr;
  std::memcpy(p, kError, sizeof(kError) - 1);
  p += sizeof(kError) - 1;
  p = std::to_chars(p, end, code_).ptr;
  *p = '\0';
  return text_;
}

}  // namespace quillon
