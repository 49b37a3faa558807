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
         std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit >= 1 && unit <= 0xFF; });
}

// CanCompressText holds for the text.
inline void AppendCompressedText(std::u16string_view text, std::vector<uint8_t>& out) {
  out.insert(out.end(), std::begin(kCompressedMark), std::end(kCompressedMark));
  const size_t at = out.size();
  out.resize(at + text.size());
  std::transform(text.begin(), text.end(), out.begin() + static_cast<std::ptrdiff_t>(at),
                 [](char16_t unit) { return static_cast<uint8_t>(unit); });
}

// Appends UTF-16LE: what is stored, or what it would be without compression. Half a unit at the end of a
// compressed text is dropped.
inline void AppendPlainUtf16(std::span<const uint8_t> stored, std::vector<uint8_t>& out) {
  if (!IsTextCompressed(stored)) {
    out.insert(out.end(), stored.begin(), stored.end());
    return;
  }
  bool isNarrow = true;
  for (size_t i = 2; i < stored.size();) {
    if (stored[i] == 0) {
      isNarrow = !isNarrow;
      i++;
    } else if (isNarrow) {
      out.push_back(stored[i++]);
      out.push_back(0);
    } else if (i + 1 < stored.size()) {
      out.push_back(stored[i]);
      out.push_back(stored[i + 1]);
      i += 2;
    } else {
      break;
    }
  }
}

}  // namespace tolvane
