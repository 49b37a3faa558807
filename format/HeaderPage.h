// Page 0 (drawn in HeaderLayout.h): written, read back, and its masks: one over the page, one over the owners
// and SIDs in the system tables. Jet 3 files do not hold their creation date, and mask no SIDs.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "format/Definition.h"

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

// Takes the mask off the page, or puts it on; a page that is cut is masked as far as it goes.
void MaskHeader(const SHeaderLayout& at, std::span<uint8_t> page);
// The rest is about a page without its mask.
// Days since 30 December 1899, what the password is XORed with.
uint32_t CreationDay(const SHeaderLayout& at, std::span<const uint8_t> page);
// Takes the mask off an owner or SID, or puts it on.
void MaskSid(const SHeaderLayout& at, std::span<const uint8_t> page, std::span<uint8_t> sid);
// True when programs ask for a password before they open the file. The field is XORed with the creation day.
bool HasPassword(const SHeaderLayout& at, std::span<const uint8_t> page);
// True when the other pages cannot be read without the password.
bool IsHeaderEncrypted(std::span<const uint8_t> page);

std::vector<uint8_t> BuildHeaderPage(const SLayout& layout, SHeaderPage& header);

// The layout that a file's first bytes name. Where they name none that is written here it is Jet 4, and
// ParseHeaderPage says what is wrong.
inline constexpr size_t kLayoutProbe = 0x15;
const SLayout& ProbeLayout(std::span<const uint8_t> header);

enum class EHeaderVerdict : uint8_t { Ok, NotADatabase, OtherVersion, Encrypted };
// Only headers of the layout's versions that belong to an unencrypted file are accepted.
EHeaderVerdict ParseHeaderPage(const SLayout& layout, std::span<const uint8_t> page, SHeaderPage& header);

}  // namespace tolvane
