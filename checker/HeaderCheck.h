// Page 0: rules A1 to A4. And the mask of owners and SIDs, which follows from its fields.
//
//   00  00 01 00 00 | 04 engine name, NUL | 14 version
//   18  masked:  18 u32[2] row pointers of the global maps | 20 u32[4] system definitions | 3E u32 page key
//                42 40 bytes password, XORed with the creation day | 6A u16 build | 6E u32 sort order
//                72 double creation date
//   98  u32 1620 (Jet 4 on) | 299 u16 length of an encryption description (ACE)
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "checker/CheckContext.h"

namespace tolvane {

// Takes the mask off (or puts it on).
void UnmaskHeader(std::span<uint8_t> page, size_t maskedSize);
bool IsHeaderEncrypted(std::span<const uint8_t> header);

void CheckHeader(SCheckContext& context);

// The bytes of an owner or SID as they were before masking. Jet 3 does not mask them.
std::vector<uint8_t> UnmaskSid(const CCheckedFile& file, std::span<const uint8_t> sid);

}  // namespace tolvane
