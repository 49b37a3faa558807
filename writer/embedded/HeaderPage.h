// Page 0: builds it, reads it back, and derives from it the mask of the owners and SIDs in the system tables.
//
//   00  00 01 00 00 | 04 engine name, NUL | 14 u32 version
//   18  masked:  18 u32 pointers of the two global maps | 20 u32[4] system definitions | 3C u16 code page
//                3E u32 page key (0: plain) | 42 40 bytes password, XORed with the creation day | 6A u16
//                build 6E u32 sort order | 72 double creation date
//   98  u32 1620 | 9C "4.0", NUL | E00 commit counters of 256 user slots
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "writer/embedded/EmbeddedLayout.h"

namespace tolvane {

// Bytes that are XORed over a SID; each SID starts with the first.
using SSidMask = std::array<uint8_t, 16>;

struct SHeaderPage {
  double creationDate = 0;  // days since 30 December 1899
  uint16_t build = 4518;    // of the engine that made the file
  SSidMask sidMask{};       // follows from the rest
};

std::vector<uint8_t> BuildHeaderPage(const SEmbeddedLayout& layout, SHeaderPage& header);

enum class EHeaderVerdict : uint8_t { Ok, NotADatabase, OtherVersion, Encrypted };
// Only headers of the layout's version that belong to an unencrypted file are accepted.
EHeaderVerdict ParseHeaderPage(const SEmbeddedLayout& layout, std::span<const uint8_t> page,
                               SHeaderPage& header);

}  // namespace tolvane
