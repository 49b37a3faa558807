// The properties of a catalogue object (column LvProp of MSysObjects): rule P1, the blob can be read to its
// last byte.
#pragma once

#include <cstdint>
#include <span>

#include "checker/CheckContext.h"

namespace tolvane {

inline constexpr size_t kLongestProperties = size_t{4} << 20;  // longer ones are not looked at

void CheckProperties(SCheckContext& context, std::span<const uint8_t> blob, SPlace place);

}  // namespace tolvane
