// File names are bytes here: those that are not UTF-8 travel as lone low surrogates.
#include "platform/Text.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {
constexpr char32_t kByteEscape = 0xDC00;
constexpr bool IsEscapedByte(char32_t c) {
  return c >= kByteEscape + 0x80 && c <= kByteEscape + 0xFF;
}
}  // namespace

std::string ToNativePath(std::u16string_view path) {
  std::string out;
  out.reserve(path.size());
  for (size_t pos = 0; pos < path.size();) {
    const char32_t c = TakeCodePoint(path, pos);
    if (IsEscapedByte(c)) {
      out += static_cast<char>(c - kByteEscape);
    } else {
      AppendUtf8CodePoint(IsSurrogate(c) ? kReplacementCharacter : c, out);
    }
  }
  return out;
}

std::u16string FromNativePath(std::string_view path) {
  std::u16string out;
  out.reserve(path.size());
  for (size_t pos = 0; pos < path.size();) {
    const SUtf8Character next = ReadUtf8Character(path.substr(pos));
    const auto byte = static_cast<unsigned char>(path[pos]);
    AppendUtf16(next.length == 0 ? kByteEscape + byte : next.codePoint, out);
    pos += next.length == 0 ? 1 : next.length;
  }
  return out;
}

std::u16string GetDigitSeparator() {
  return u",";
}

}  // namespace tolvane
