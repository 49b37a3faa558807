// Where things are on page 0.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tolvane {

// clang-format off
//   00  00 01 00 00 | 04 engine name, NUL | 14 u8 version
//   18  masked:  18 u32 pointers of the two global maps | 20 u32[4] definition pages of the system tables
//                3C u16 code page | 3E u32 database key (0: the other pages are plain)
//         Jet 4: 42 40 bytes password, XORed with the creation day | 6A u16 build | 6E u16 sort order
//                71 u8 its version | 72 double creation date
//         Jet 3: 3A u16 sort order | 42 20 bytes password | 56 u16 build
//   98  Jet 4: u32 1620 | 9C "4.0", NUL
//  299  ACE, encrypted: u16 length of the description that follows
//  E00  (Jet 3: 600) commit counters of 256 user slots
// clang-format on
struct SHeaderLayout {
  uint16_t maskedSize;
  uint16_t sortOrder;
  uint16_t sortVersion;
  uint16_t password, passwordSize;
  uint16_t build, usualBuild;  // of the engine that made such files
  uint16_t date;
  uint16_t constant;
  uint16_t format;
  uint16_t commit;
};
inline constexpr uint32_t kHeaderMark = 0x100;  // page type 0, then 01 00 00
inline constexpr size_t kHeaderName = 0x04;
inline constexpr std::string_view kEngineNameJet{"Standard Jet DB\0", 16},
    kEngineNameAce{"Standard ACE DB\0", 16};
// What the files of both engines begin with.
inline constexpr std::string_view kHeaderText{"\0\1\0\0Standard ", 13};
static_assert(kEngineNameJet.starts_with(kHeaderText.substr(4)) &&
              kEngineNameAce.starts_with(kHeaderText.substr(4)));
inline constexpr size_t kHeaderVersion = 0x14;
inline constexpr size_t kHeaderMasked = 0x18;
inline constexpr size_t kHeaderMapPointers = 0x18;
inline constexpr size_t kHeaderDefinitions = 0x20;
inline constexpr size_t kHeaderCodePage = 0x3C;
inline constexpr size_t kHeaderDatabaseKey = 0x3E;
inline constexpr size_t kHeaderEncryptionLength = 0x299;
inline constexpr uint32_t kHeaderConstant = 1620;
inline constexpr std::string_view kHeaderFormat = "4.0";
// Masks with the RC4 stream of this key.
inline constexpr std::array<uint8_t, 4> kHeaderMaskKey{0xC7, 0xDA, 0x39, 0x6B};

inline constexpr size_t kCommitSlots = 256;
inline constexpr uint16_t kFirstCommit = 0x0101, kRestingCommit = 0x0100;

// The version byte.
inline constexpr uint8_t kVersionJet3 = 0, kVersionJet4 = 1, kVersionAce12 = 2, kVersionAce14 = 3,
                         kVersionAce15 = 4, kVersionAce16 = 5, kVersionAce17 = 6;

}  // namespace tolvane
