#include "format/HeaderPage.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <string_view>

#include "format/Rc4.h"

namespace tolvane {
namespace {

constexpr size_t kMinorVersionAt = 0x15;
constexpr uint8_t kVersionWithMinor = kVersionAce14, kHighestVersion = kVersionAce17;
// The words from the password to the creation date, of whose low bytes the SID key is made.
constexpr size_t kKeyWords = 28, kLowDateWord = 24, kKeyShifts = 24;
static_assert(kLayoutJet4.header.password + 2 * kKeyWords == kLayoutJet4.header.date + sizeof(double));

uint32_t MakeSidKey(const SHeaderLayout& at, std::span<const uint8_t> page) {
  const uint32_t day = CreationDay(at, page);
  std::array<uint16_t, kKeyWords> words{};
  for (size_t i = 0; i < kKeyWords; i++) {
    words[i] = GetLittle<uint16_t>(page, at.password + 2 * i);
    if (2 * i < at.passwordSize) words[i] = static_cast<uint16_t>(words[i] ^ (i % 2 == 0 ? day : day >> 16));
  }
  uint32_t key = words[kLowDateWord] | static_cast<uint32_t>(words[kLowDateWord + 1]) << 16;
  for (size_t i = 0; i < kKeyWords; i++) key ^= static_cast<uint32_t>(words[i] & 0xFF) << (i % kKeyShifts);
  return key;
}

}  // namespace

void MaskHeader(const SHeaderLayout& at, std::span<uint8_t> page) {
  const std::span<uint8_t> masked = page.subspan(std::min(kHeaderMasked, page.size()));
  CRc4(kHeaderMaskKey).Apply(masked.first(std::min<size_t>(at.maskedSize, masked.size())));
}

uint32_t CreationDay(const SHeaderLayout& at, std::span<const uint8_t> page) {
  const double day = std::trunc(std::bit_cast<double>(GetLittle<uint64_t>(page, at.date)));
  return day >= -2147483648.0 && day <= 2147483647.0 ? static_cast<uint32_t>(static_cast<int32_t>(day)) : 0;
}

bool HasPassword(const SHeaderLayout& at, std::span<const uint8_t> page) {
  const uint32_t none = at.date == kAbsent ? 0 : CreationDay(at, page);
  for (size_t i = 0; i < at.passwordSize; i += 4)
    if (GetLittle<uint32_t>(page, at.password + i) != none) return true;
  return false;
}

void MaskSid(const SHeaderLayout& at, std::span<const uint8_t> page, std::span<uint8_t> sid) {
  if (at.date == kAbsent) return;
  std::array<uint8_t, 4> key{};
  PutLittle(std::span<uint8_t>(key), 0, MakeSidKey(at, page));
  CRc4(key).Apply(sid);
}

bool IsHeaderEncrypted(std::span<const uint8_t> page) {
  return GetLittle<uint32_t>(page, kHeaderDatabaseKey) != 0 ||
         GetLittle<uint16_t>(page, kHeaderEncryptionLength) != 0;
}

std::vector<uint8_t> BuildHeaderPage(const SLayout& layout, SHeaderPage& header) {
  std::vector<uint8_t> bytes(layout.pageSize);
  const std::span<uint8_t> page(bytes);
  const SHeaderLayout& at = layout.header;
  if (header.build == 0) header.build = at.usualBuild;
  PutLittle<uint32_t>(page, 0, kHeaderMark);
  std::memcpy(&page[kHeaderName], layout.engineName.data(), layout.engineName.size());
  if (header.version < layout.version) header.version = layout.version;
  page[kHeaderVersion] = header.version;
  page[kMinorVersionAt] = header.version == kVersionWithMinor ? 1 : 0;
  PutLittle(page, kHeaderMapPointers, MakeRowPointer(kGlobalMapPage, kGlobalFreeRow));
  PutLittle(page, kHeaderMapPointers + 4, MakeRowPointer(kGlobalMapPage, kGlobalSecondRow));
  for (uint32_t i = 0; i < 4; i++) PutLittle(page, kHeaderDefinitions + size_t{4} * i, kObjectsPage + i);
  PutLittle(page, kHeaderCodePage, kGeneralCodePage);
  PutLittle(page, at.sortOrder, header.order.language);
  PutLittle(page, at.sortVersion, header.order.version);
  PutLittle(page, at.build, header.build);
  PutLittle(page, at.date, DoubleBits(header.creationDate));
  if (at.date != kAbsent)
    for (size_t i = 0; i < at.passwordSize; i += 4) PutLittle(page, at.password + i, CreationDay(at, page));
  header.sidMask = {};
  MaskSid(at, page, header.sidMask);
  MaskHeader(at, page);
  PutLittle(page, at.constant, kHeaderConstant);
  if (at.format != kAbsent) std::memcpy(&page[at.format], kHeaderFormat.data(), kHeaderFormat.size());
  for (size_t i = 0; i < kCommitSlots; i++)
    PutLittle(page, at.commit + 2 * i, i == 0 ? kFirstCommit : kRestingCommit);
  return bytes;
}

const SLayout& ProbeLayout(std::span<const uint8_t> header) {
  if (header.size() < kLayoutProbe) return kLayoutJet4;
  for (const SLayout* layout : {&kLayoutJet3, &kLayoutJet4})
    if (header[kHeaderVersion] == layout->version) return *layout;
  return header[kHeaderVersion] <= kHighestVersion ? kLayoutAce : kLayoutJet4;
}

EHeaderVerdict ParseHeaderPage(const SLayout& layout, std::span<const uint8_t> page, SHeaderPage& header) {
  if (page.size() < layout.pageSize || GetLittle<uint32_t>(page, 0) != kHeaderMark)
    return EHeaderVerdict::NotADatabase;
  const std::string_view name(reinterpret_cast<const char*>(&page[kHeaderName]), layout.engineName.size());
  if (name != layout.engineName)
    return name == kLayoutAce.engineName || name == kLayoutJet4.engineName ? EHeaderVerdict::OtherVersion
                                                                           : EHeaderVerdict::NotADatabase;
  header.version = page[kHeaderVersion];
  const uint8_t highest = layout.hasComplexColumns ? kHighestVersion : layout.version;
  if (header.version < layout.version || header.version > highest) return EHeaderVerdict::OtherVersion;
  std::vector<uint8_t> plain(page.begin(), page.end());
  MaskHeader(layout.header, plain);
  if (GetLittle<uint32_t>(plain, kHeaderDatabaseKey) != 0) return EHeaderVerdict::Encrypted;
  for (uint32_t i = 0; i < 4; i++)
    if (GetLittle<uint32_t>(plain, kHeaderDefinitions + size_t{4} * i) != kObjectsPage + i)
      return EHeaderVerdict::NotADatabase;
  header.creationDate = std::bit_cast<double>(GetLittle<uint64_t>(plain, layout.header.date));
  header.build = GetLittle<uint16_t>(plain, layout.header.build);
  header.order.language = GetLittle<uint16_t>(plain, layout.header.sortOrder);
  header.order.version = GetLittle<uint8_t>(plain, layout.header.sortVersion);
  header.sidMask = {};
  MaskSid(layout.header, plain, header.sidMask);
  return EHeaderVerdict::Ok;
}

}  // namespace tolvane
