// Turns the values of one row into the key bytes of an index entry. Keys compare as plain bytes in the order
// of the index. A key is the parts of its columns one after the other, each a flag byte and, unless null, a
// value:
//
//                  ascending   descending
//   null           00          FF
//   any value      7F value    80 value (complemented where the type's rule says so)
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Layout.h"

namespace tolvane {

struct SIndexKeyFormat {
  EIndexVersion version = EIndexVersion::Jet4;
  // Text collation of the column; keys are known for language 0x0409, versions 0 and 1, in Jet 3 with code
  // page 1252.
  uint16_t sortOrder = 0x0409;
  uint8_t sortVersion = 0;
  uint16_t codePage = 1252;
};

// Bytes of a stored memo that hold all characters of its key, even where every one of a compressed text
// switches between one and two bytes.
inline constexpr size_t kIndexedMemoBytes = 640;

// Appends one column's part; `type` is the column type as table definitions store it (1 boolean ... 16
// numeric). Values arrive as a row stores them: numbers little-endian, a boolean as one byte 0 or 1, text as
// plain UTF-16LE (Jet 3: bytes of the code page), a memo as its text; nullopt is null. False, with `key`
// untouched, when no key is known for the value: the index must then be left out.
bool AppendIndexKey(const SIndexKeyFormat& format, uint8_t type, bool ascending,
                    std::optional<std::span<const uint8_t>> storageBytes, std::vector<uint8_t>& key);

inline constexpr uint8_t kKeyOfValue = 0x7F, kKeySignBit = 0x80;

// The part of a long that is not null, as AppendIndexKey makes it: most indexes have no other.
inline std::array<uint8_t, 5> MakeLongKey(std::span<const uint8_t, 4> storageBytes, bool ascending) {
  const auto mask = static_cast<uint8_t>(ascending ? 0x00 : 0xFF);
  const auto part = [mask](int byte) { return static_cast<uint8_t>(byte ^ mask); };
  return {part(kKeyOfValue), part(storageBytes[3] ^ kKeySignBit), part(storageBytes[2]),
          part(storageBytes[1]), part(storageBytes[0])};
}

}  // namespace tolvane
