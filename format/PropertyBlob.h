// The properties of an object and of its columns, as the column LvProp of MSysObjects holds them.
//
// clang-format off
//   blob:   Jet 4 "MR2", Jet 3 "KKD", NUL | blocks
//   block:  0 u32 length, these six bytes included | 4 u16 kind | 6 body
//     kind 80     names:  u16 length, name ...
//     kind 0, 1   owner:  u32 length of this head, these four bytes included | u16 length of the name | name
//                 entry:  0 u16 length, these two bytes included | 2 u8 1 = of the engine's own set | 3 u8 type
//                         4 u16 which of the names | 6 u16 length | 8 value
// clang-format on
//
// The names come first. Kind 0 is the object itself, without a name; kind 1 a column. Names, texts and memos
// are UTF-16LE, in Jet 3 bytes of the code page; other values are as rows hold them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/Property.h"

namespace tolvane {

// Of a name, which is kept as stored.
inline std::span<const uint8_t> AsBytes(std::string_view name) {
  return {reinterpret_cast<const uint8_t*>(name.data()), name.size()};
}

struct SStoredProperty {
  std::string name;  // bytes as stored
  uint8_t flags = 0;
  uint8_t type = 0;
  std::vector<uint8_t> value;
};
inline constexpr size_t kLongestProperty = 0xFFFF - 8;  // bytes of a value
// Bytes of a property's name that is read: entries share their names, and each property gets one of its own.
inline constexpr size_t kLongestPropertyName = 512;
// Blobs have some kilobytes; a length of nonsense must not fill the memory.
inline constexpr size_t kLongestPropertyBlob = size_t{16} << 20;

struct SPropertyOwner {
  uint16_t kind = 0;
  std::string name;  // bytes as stored
  std::vector<SStoredProperty> properties;
};
inline constexpr uint16_t kPropertiesOfObject = 0, kPropertiesOfColumn = 1;

// Whether these bytes begin like a blob.
bool HasPropertyMark(bool isJet3, std::span<const uint8_t> bytes);
// Takes what is whole into `owners`: a broken block or entry costs itself as long as its length leads on.
// False when anything is broken.
bool DecodePropertyBlob(bool isJet3, std::span<const uint8_t> blob, std::vector<SPropertyOwner>& owners);

// No value may be longer than kLongestProperty, no name than 0xFFFF. Equal names are stored once.
std::vector<uint8_t> EncodePropertyBlob(bool isJet3, std::span<const SPropertyOwner> owners);

}  // namespace tolvane
