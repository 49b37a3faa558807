#include "store/RunMark.h"

#include <cstddef>
#include <cstdint>

#include "platform/Process.h"
#include "platform/Text.h"

namespace tolvane {

namespace {
constexpr std::u16string_view kHexDigits = u"0123456789abcdef";
constexpr size_t kRandomBytes = 8;
}  // namespace

std::u16string MakeRunMark() {
  std::u16string mark = ToDecimal(uint64_t{GetProcessNumber()}) + u"-";
  const SGuidBytes random = MakeGuid();
  for (size_t i = 0; i < kRandomBytes; ++i) {
    // From the end: the front of a GUID may hold a clock.
    const uint8_t byte = random.bytes[sizeof(random.bytes) - 1 - i];
    mark += kHexDigits[byte >> 4];
    mark += kHexDigits[byte & 0x0F];
  }
  return mark;
}

bool IsStaleRunMark(std::u16string_view mark) {
  const size_t dash = mark.find(u'-');
  if (dash == std::u16string_view::npos || dash == 0) return false;
  const std::u16string_view random = mark.substr(dash + 1);
  if (random.size() != 2 * kRandomBytes || random.find_first_not_of(kHexDigits) != std::u16string_view::npos)
    return false;
  uint64_t process = 0;
  for (const char16_t unit : mark.substr(0, dash)) {
    if (unit < u'0' || unit > u'9') return false;
    process = process * 10 + (unit - u'0');
    if (process > UINT32_MAX) return false;
  }
  return !IsProcessAlive(static_cast<uint32_t>(process));
}

}  // namespace tolvane
