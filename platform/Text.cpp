#include "platform/Text.h"

#include <limits>
#include <type_traits>

#include "platform/TextUnits.h"

namespace tolvane {

namespace {

// Most text is ASCII: whole runs of it are copied at once, and `pos` moves behind the run.
template <class TFrom, class TTo>
void CopyAscii(std::basic_string_view<TFrom> text, size_t& pos, std::basic_string<TTo>& out) {
  size_t end = pos;
  while (end < text.size() && static_cast<std::make_unsigned_t<TFrom>>(text[end]) < 0x80) end++;
  const size_t start = out.size();
  out.resize(start + end - pos);
  for (size_t i = start; pos < end; pos++, i++) out[i] = static_cast<TTo>(text[pos]);
}

}  // namespace

void AppendUtf8(std::u16string_view text, std::string& out) {
  out.reserve(out.size() + text.size());
  for (size_t pos = 0; true;) {
    CopyAscii(text, pos, out);
    if (pos == text.size()) return;
    const char32_t c = TakeCodePoint(text, pos);
    AppendUtf8CodePoint(IsSurrogate(c) ? kReplacementCharacter : c, out);
  }
}

std::string ToUtf8(std::u16string_view text) {
  std::string out;
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

std::u16string FromAscii(std::string_view text) {
  std::u16string out(text.size(), u'\0');
  for (size_t i = 0; i < text.size(); i++) out[i] = static_cast<unsigned char>(text[i]);
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
  for (; pos < text.size() && text[pos] >= u'0' && text[pos] <= u'9'; pos++) {
    const uint64_t digit = static_cast<uint64_t>(text[pos] - u'0');
    magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
  }
  return isNegative ? static_cast<int64_t>(0 - magnitude) : static_cast<int64_t>(magnitude);
}

std::u16string ToGroupedDecimal(uint64_t value) {
  const std::u16string digits = ToDecimal(value);
  const std::u16string separator = GetDigitSeparator();
  std::u16string grouped;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) grouped += separator;
    grouped += digits[i];
  }
  return grouped;
}

}  // namespace tolvane
