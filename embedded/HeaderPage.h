// Page 0: builds it, reads it back, and derives from it the mask of the owners and SIDs in the system tables.
//
//   00  00 01 00 00 | 04 engine name, NUL | 14 u8 version | 15 u8 1 in version 3
//   18  masked:  18 u32 pointers of the two global maps | 20 u32[4] system definitions | 3C u16 code page
//                3E u32 page key (0: plain)
//         Jet 4: 42 40 bytes password, XORed with the creation day | 6A u16 build | 6E u16 sort order | 71 u8
//         its version
//                72 double creation date
//         Jet 3: 3A u16 sort order | 42 20 bytes password | 56 u16 build
//   98  Jet 4: u32 1620 | 9C "4.0", NUL
//   E00 (Jet 3: 600) commit counters of 256 user slots
//
// Jet 3 files do not hold their creation date, and mask no SIDs.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "embedded/TableDefinition.h"

namespace tolvane {

// Bytes that are XORed over a SID, as many as the longest has; each SID starts with the first.
using SSidMask = std::array<uint8_t, 102>;

struct SHeaderPage {
  uint8_t version = 0;      // of the format; 0 in other than Jet 3 files: the lowest of the layout
  STextOrder order;         // of texts, unless a column says otherwise
  double creationDate = 0;  // days since 30 December 1899
  uint16_t build = 0;       // of the engine that made the file; 0: the one that such files usually name
  SSidMask sidMask{};       // follows from the rest
};

std::vector<uint8_t> BuildHeaderPage(const SLayout& layout, SHeaderPage& header);

// The layout that a file's first bytes name. Where they name none that is written here it is Jet 4, and
// ParseHeaderPage says what is wrong.
inline constexpr size_t kLayoutProbe = 0x15;
const SLayout& ProbeLayout(std::span<const uint8_t> header);

enum class EHeaderVerdict : uint8_t { Ok, NotADatabase, OtherVersion, Encrypted };
// Only headers of the layout's versions that belong to an unencrypted file are accepted.
EHeaderVerdict ParseHeaderPage(const SLayout& layout, std::span<const uint8_t> page, SHeaderPage& header);

}  // namespace tolvane
