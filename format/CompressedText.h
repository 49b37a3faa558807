// Texts of Jet 4 values.
//
//   UTF-16LE, or FF FE and the compressed form: one byte a unit (U+0001 to U+00FF) until a zero byte, which
//   switches to two bytes a unit and, at the place of a unit's low byte, back again
//
// Names in definitions, property blobs and the password are never compressed. Jet 3 has bytes of a code page.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

inline constexpr uint8_t kCompressedMark[] = {0xFF, 0xFE};
inline constexpr size_t kShortestCompressed = 3;  // units; shorter texts stay plain

inline bool IsTextCompressed(std::span<const uint8_t> stored) {
  return stored.size() >= 2 && stored[0] == kCompressedMark[0] && stored[1] == kCompressedMark[1];
}

// The engines compress a text only as a whole.
inline bool CanCompressText(std::u16string_view text) {
  return text.size() >= kShortestCompressed &&
         std::ranges::all_of(text, [](char16_t unit) { return unit >= 1 && unit <= 0xFF; });
}

// CanCompressText holds for the text.
inline void AppendCompressedText(std::u16string_view text, std::vector<uint8_t>& out) {
  out.insert(out.end(), std::begin(kCompressedMark), std::end(kCompressedMark));
  const size_t at = out.size();
  out.resize(at + text.size());
  std::ranges::transform(text, out.begin() + static_cast<std::ptrdiff_t>(at),
                         [](char16_t unit) { return static_cast<uint8_t>(unit); });
}

// A plain text that begins with this unit would read as a compressed one.
inline constexpr char16_t kByteOrderMark = 0xFEFF;

// Whether the compressed form has all units of a text, given the low byte of each: a zero one is a switch.
inline bool CanSwitchText(std::u16string_view text) {
  return std::ranges::all_of(text, [](char16_t unit) { return (unit & 0xFF) != 0; });
}

// What switches to two bytes a unit at the start of a text; plain units may follow.
inline constexpr uint8_t kWideTextHead[] = {kCompressedMark[0], kCompressedMark[1], 0};

// Reads a stored text whose bytes come in pieces that end anywhere, even inside a character. An odd byte at
// the end is dropped.
class CTextUnpacker {
 public:
  // Units are appended to `out`, which must stay.
  void Begin(std::u16string& out);
  void Append(std::span<const uint8_t> bytes);

 private:
  enum class EState : uint8_t { Start, Plain, Narrow, Wide };

  // Each answers the bytes that it leaves.
  [[nodiscard]] std::span<const uint8_t> TakeFirstUnit(std::span<const uint8_t> bytes);
  [[nodiscard]] std::span<const uint8_t> TakePlain(std::span<const uint8_t> bytes);
  [[nodiscard]] std::span<const uint8_t> TakeNarrow(std::span<const uint8_t> bytes);
  [[nodiscard]] std::span<const uint8_t> TakeWide(std::span<const uint8_t> bytes);

  EState m_state = EState::Start;
  bool m_hasLow = false;  // m_low is a unit's low byte, waiting for the next piece
  uint8_t m_low = 0;
  std::u16string* m_out = nullptr;
};

std::u16string UnpackText(std::span<const uint8_t> stored);
// Appends UTF-16LE: what is stored, or what it would be without compression.
void AppendPlainUtf16(std::span<const uint8_t> stored, std::vector<uint8_t>& out);

}  // namespace tolvane
