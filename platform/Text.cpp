#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <type_traits>

#include "platform/LocaleFacts.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

// One unit for each. Through a buffer, because a string that grows is filled with zeros first.
template <class TFrom, class TTo>
void AppendEach(std::basic_string_view<TFrom> text, std::basic_string<TTo>& out) {
  std::array<TTo, 128> buffer;
  while (!text.empty()) {
    const std::basic_string_view<TFrom> piece = text.substr(0, buffer.size());
    std::ranges::transform(piece, buffer.begin(), [](TFrom c) {
      return static_cast<TTo>(static_cast<std::make_unsigned_t<TFrom>>(c));
    });
    out.append(buffer.data(), piece.size());
    text.remove_prefix(piece.size());
  }
}

// Most text is ASCII: whole runs of it are copied at once, and `pos` moves behind the run.
template <class TFrom, class TTo>
void CopyAscii(std::basic_string_view<TFrom> text, size_t& pos, std::basic_string<TTo>& out) {
  const auto first = text.begin() + static_cast<std::ptrdiff_t>(pos);
  const auto last = std::find_if(first, text.end(),
                                 [](TFrom c) { return static_cast<std::make_unsigned_t<TFrom>>(c) >= 0x80; });
  const auto length = static_cast<size_t>(last - first);
  AppendEach(text.substr(pos, length), out);
  pos += length;
}

}  // namespace

void AppendUtf8(std::u16string_view text, std::string& out) {
  for (size_t pos = 0; true;) {
    CopyAscii(text, pos, out);
    if (pos == text.size()) return;
    const char32_t c = TakeCodePoint(text, pos);
    AppendUtf8CodePoint(IsSurrogate(c) ? kReplacementCharacter : c, out);
  }
}

std::string ToUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  AppendUtf8(text, out);
  return out;
}

std::u16string FromUtf8(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (size_t pos = 0; true;) {
    CopyAscii(text, pos, out);
    if (pos == text.size()) return out;
    const SUtf8Character next = ReadUtf8Character(text.substr(pos));
    AppendUtf16(next.length == 0 ? kReplacementCharacter : next.codePoint, out);
    pos += next.length == 0 ? 1 : next.length;
  }
}

void AppendAscii(std::string_view text, std::u16string& out) {
  AppendEach(text, out);
}

std::u16string FromAscii(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  AppendAscii(text, out);
  return out;
}

namespace {
constexpr char16_t LowerAscii(char16_t c) {
  return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}
constexpr bool IsBlank(char16_t c) {
  return c == u' ' || (c >= u'\t' && c <= u'\r');
}
}  // namespace

bool EqualsIgnoreCase(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); i++) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

int64_t LeadingInteger(std::u16string_view text) {
  size_t pos = 0;
  while (pos < text.size() && IsBlank(text[pos])) pos++;
  const bool isNegative = pos < text.size() && text[pos] == u'-';
  if (pos < text.size() && (text[pos] == u'-' || text[pos] == u'+')) pos++;

  // The magnitude may be one more than the largest positive value.
  const uint64_t limit = static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) + (isNegative ? 1 : 0);
  uint64_t magnitude = 0;
  const size_t sure = pos + std::numeric_limits<int64_t>::digits10;  // so many digits are in range
  for (; pos < text.size() && text[pos] >= u'0' && text[pos] <= u'9'; pos++) {
    const uint64_t digit = static_cast<uint64_t>(text[pos] - u'0');
    magnitude = pos >= sure && magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
  }
  return isNegative ? static_cast<int64_t>(0 - magnitude) : static_cast<int64_t>(magnitude);
}

std::u16string ToGroupedDecimal(uint64_t value) {
  std::u16string text = ToDecimal(value);
  const SDigitGroups groups = ReadDigitGroups();
  const std::u16string separator = GetDigitSeparator();
  size_t at = text.size();
  for (size_t digits = groups.last; digits > 0 && digits < at; digits = groups.others)
    text.insert(at -= digits, separator);
  return text;
}

}  // namespace tolvane
