#include "cli/DisplayText.h"

#include <algorithm>
#include <array>

#include "app/VisibleText.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

struct SRange {
  char32_t first;
  char32_t last;
};

// Rough, as terminals are.
constexpr std::array<SRange, 10> kWide{{{0x1100, 0x115F},
                                        {0x2E80, 0x303E},
                                        {0x3041, 0xA4CF},
                                        {0xAC00, 0xD7A3},
                                        {0xF900, 0xFAFF},
                                        {0xFE30, 0xFE6F},
                                        {0xFF00, 0xFF60},
                                        {0xFFE0, 0xFFE6},
                                        {0x1F300, 0x1FAFF},
                                        {0x20000, 0x3FFFD}}};
constexpr std::array<SRange, 7> kCombining{{{0x0300, 0x036F},
                                            {0x0483, 0x0489},
                                            {0x0591, 0x05BD},
                                            {0x064B, 0x065F},
                                            {0x200B, 0x200D},
                                            {0x20D0, 0x20FF},
                                            {0xFE00, 0xFE0F}}};

template <size_t N>
bool IsIn(const std::array<SRange, N>& ranges, char32_t code) {
  return std::ranges::any_of(
      ranges, [code](const SRange& range) { return code >= range.first && code <= range.last; });
}

size_t WidthOf(char32_t code) {
  if (code < 0x300) return 1;
  if (IsIn(kCombining, code)) return 0;
  return IsIn(kWide, code) ? 2 : 1;
}

// The character at `at`, which moves on. The text is valid UTF-8.
char32_t NextCode(std::string_view text, size_t& at) {
  const auto lead = static_cast<unsigned char>(text[at++]);
  char32_t code = lead < 0x80 ? lead : lead < 0xE0 ? lead & 0x1Fu : lead < 0xF0 ? lead & 0x0Fu : lead & 0x07u;
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80)
    code = code << 6 | (static_cast<unsigned char>(text[at++]) & 0x3Fu);
  return code;
}

}  // namespace

std::string ToDisplay(std::u16string_view text) {
  return ToUtf8(ToVisible(text));
}

size_t DisplayWidth(std::string_view text) {
  size_t width = 0;
  for (size_t at = 0; at < text.size();) width += WidthOf(NextCode(text, at));
  return width;
}

std::string Shorten(std::string_view text, size_t width) {
  if (DisplayWidth(text) <= width) return std::string(text);
  if (width == 0) return {};
  size_t used = 0;
  size_t end = 0;
  for (size_t at = 0; at < text.size();) {
    used += WidthOf(NextCode(text, at));
    if (used > width - 1) break;
    end = at;
  }
  return std::string(text.substr(0, end)) + "\u2026";
}

std::string PadRight(std::string text, size_t width) {
  const size_t used = DisplayWidth(text);
  if (used < width) text.append(width - used, ' ');
  return text;
}

std::string PadLeft(std::string text, size_t width) {
  const size_t used = DisplayWidth(text);
  if (used < width) text.insert(0, width - used, ' ');
  return text;
}

std::string FormatSize(uint64_t bytes) {
  constexpr std::array<const char*, 4> kUnits{" kB", " MB", " GB", " TB"};
  if (bytes < 1000) return Counted(bytes, "byte");
  size_t unit = 0;
  uint64_t tenths = bytes / 100;
  for (; tenths >= 10'000 && unit + 1 < kUnits.size(); ++unit) tenths /= 1000;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + kUnits[unit];
}

std::string Counted(uint64_t count, std::string_view noun) {
  return ToUtf8(tolvane::Counted(count, FromAscii(noun)));
}

std::string WrapWords(std::string_view text, size_t indent, size_t width) {
  constexpr size_t kLeastRoom = 24;
  if (width == 0) return std::string(text);
  const size_t room = std::max(width, indent + kLeastRoom) - indent;
  std::string wrapped;
  size_t used = 0;
  while (!text.empty()) {
    const std::string_view word = CutPart(text, ' ');
    const size_t wide = DisplayWidth(word);
    if (used > 0 && used + 1 + wide > room) {
      wrapped += "\n" + std::string(indent, ' ');
      used = 0;
    } else if (used > 0) {
      wrapped += ' ';
      ++used;
    }
    wrapped += word;
    used += wide;
  }
  return wrapped;
}

}  // namespace tolvane
