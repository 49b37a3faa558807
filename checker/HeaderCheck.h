// Page 0: rules A1 to A4.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "checker/CheckContext.h"

namespace tolvane {

void CheckHeader(SCheckContext& context);

// The bytes of an owner or SID as they were before masking. Jet 3 does not mask them.
std::vector<uint8_t> UnmaskSid(const CCheckedFile& file, std::span<const uint8_t> sid);

}  // namespace tolvane
