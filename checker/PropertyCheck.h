// The properties of a catalogue object (column LvProp of MSysObjects): rule P1, the blob can be read to its
// last byte.
//
//   "MR2\0" (Jet 3 "KKD\0"), then blocks: u32 length of the block | u16 kind
//     kind 80  names: u16 bytes, text
//     others   u32 length of the head | u16 bytes, owner's name | entries: u16 length, u8 flags, u8 type,
//              u16 number of the name, u16 bytes, value
#pragma once

#include <cstdint>
#include <span>

#include "checker/CheckContext.h"

namespace tolvane {

inline constexpr size_t kLongestProperties = size_t{4} << 20;  // longer ones are not looked at

void CheckProperties(SCheckContext& context, std::span<const uint8_t> blob, SPlace place);

}  // namespace tolvane
