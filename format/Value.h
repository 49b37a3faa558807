// One decoded value: its type and its bytes. It stays that until somebody looks at it.
//
//   type                 bytes
//   yes/no               1, 0 or 1
//   byte ... date        as stored, little-endian
//   text, memo           UTF-16LE units
//   binary, others       as stored
//   decimal              17: sign (0 or 80), then four words, the most significant first
//   OLE object           a reference to bytes that are kept elsewhere; whoever keeps them knows its form
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "format/Bytes.h"
#include "format/ColumnType.h"

namespace tolvane {

// The bytes belong to whoever made the value, and stay until it makes the next one.
struct SValue {
  uint8_t type = kTypeNone;
  uint8_t scale = 0;      // of a decimal: digits after the point
  bool isNull = true;     // no bytes then; a yes/no is never null
  bool isResult = false;  // of a calculated column; `type` is then the result's own
  std::span<const uint8_t> bytes;
};

constexpr bool IsTextType(uint8_t type) {
  return type == kTypeText || type == kTypeMemo;
}

// UTF-16LE is the memory's own form on every machine that this program runs on.
static_assert(std::endian::native == std::endian::little);

// The units of a text value; `text` keeps its memory.
inline void CopyUnits(std::span<const uint8_t> bytes, std::u16string& text) {
  text.resize(bytes.size() / 2);
  if (!text.empty()) std::memcpy(text.data(), bytes.data(), 2 * text.size());
}
inline std::span<const uint8_t> UnitBytes(std::u16string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), 2 * text.size()};
}

// A decimal's magnitude, the most significant word first; `bytes` in the form above.
inline constexpr size_t kDecimalBytes = 17;
inline constexpr uint8_t kMostDecimalDigits = 28;  // and as many of them behind the point
inline std::array<uint32_t, 4> DecimalWords(std::span<const uint8_t> bytes) {
  return {GetLittle<uint32_t>(bytes, 1), GetLittle<uint32_t>(bytes, 5), GetLittle<uint32_t>(bytes, 9),
          GetLittle<uint32_t>(bytes, 13)};
}

}  // namespace tolvane
