// The mask over a part of page 0, and the words behind it.
//
//   Jet 3 masks 126 bytes from 0x18 on, Jet 4 two more; no word that is read here lies in those two.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tolvane {

inline constexpr size_t kHeaderMaskEnd = 0x96;

// Masks or unmasks: `bytes` are those from kHeaderMasked on; what reaches beyond the mask stays as it is.
void ApplyHeaderMask(std::span<uint8_t> bytes);

}  // namespace tolvane
