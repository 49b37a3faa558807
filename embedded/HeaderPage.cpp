#include "embedded/HeaderPage.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <string_view>

#include "embedded/Rc4.h"

namespace tolvane {
namespace {

constexpr size_t kNameAt = 0x04, kVersionAt = 0x14, kMinorVersionAt = 0x15;
constexpr size_t kOrderVersionBehind = 3;  // behind the sort order of Jet 4
constexpr uint8_t kVersionWithMinor = 3, kHighestVersion = 6;
constexpr size_t kMaskedAt = 0x18;
constexpr size_t kMapPointersAt = 0x18, kDefinitionsAt = 0x20, kPageKeyAt = 0x3E;
constexpr size_t kKeyWords = 28;  // words from the password to the date, from which the SID key is made
constexpr size_t kCommitSlots = 256;
constexpr uint32_t kConstant = 0x654;
constexpr uint32_t kHeaderMark = 0x100;  // page type 0, then 01 00 00
constexpr std::string_view kFormatName = "4.0";
constexpr std::array<uint8_t, 4> kHeaderKey{0xC7, 0xDA, 0x39, 0x6B};
constexpr uint16_t kFirstCommit = 0x0101, kRestingCommit = 0x0100;

uint32_t DayOf(double date) {
  const double day = std::floor(date);
  return day >= 0 && day <= 4294967295.0 ? static_cast<uint32_t>(day) : 0;
}

// The SID key mixes the low bytes of the 28 words from the (empty) password to the creation date.
SSidMask MakeSidMask(const SHeaderLayout& at, std::span<const uint8_t> plainPage, uint32_t day) {
  if (at.date == kAbsent) return {};
  std::array<uint16_t, kKeyWords> words{};
  for (size_t i = 0; i < kKeyWords; i++) {
    words[i] = GetLittle<uint16_t>(plainPage, at.password + 2 * i);
    if (2 * i < at.passwordSize) words[i] = static_cast<uint16_t>(words[i] ^ (i % 2 == 0 ? day : day >> 16));
  }
  uint32_t key = words[24] | static_cast<uint32_t>(words[25]) << 16;
  for (size_t i = 0; i < kKeyWords; i++) key ^= static_cast<uint32_t>(words[i] & 0xFF) << (i % 24);
  std::array<uint8_t, 4> keyBytes{};
  PutLittle<uint32_t>(keyBytes, 0, key);
  SSidMask mask{};
  CRc4(keyBytes).Apply(mask);
  return mask;
}

void PutCreationDate(const SHeaderLayout& at, std::span<uint8_t> page, SHeaderPage& header) {
  const uint32_t day = DayOf(header.creationDate);
  for (size_t i = 0; i < at.passwordSize; i += 4) PutLittle(page, at.password + i, day);
  PutLittle(page, at.date, DoubleBits(header.creationDate));
  header.sidMask = MakeSidMask(at, page, day);
}

}  // namespace

std::vector<uint8_t> BuildHeaderPage(const SEmbeddedLayout& layout, SHeaderPage& header) {
  std::vector<uint8_t> bytes(layout.pageSize);
  const std::span<uint8_t> page(bytes);
  const SHeaderLayout& at = layout.header;
  if (header.build == 0) header.build = at.usualBuild;
  PutLittle<uint32_t>(page, 0, kHeaderMark);
  std::memcpy(&page[kNameAt], layout.engineName.data(), layout.engineName.size());
  if (header.version < layout.version) header.version = layout.version;
  page[kVersionAt] = header.version;
  page[kMinorVersionAt] = header.version == kVersionWithMinor ? 1 : 0;
  PutLittle(page, kMapPointersAt, MakeRowPointer(kGlobalMapPage, kGlobalFreeRow));
  PutLittle(page, kMapPointersAt + 4, MakeRowPointer(kGlobalMapPage, kGlobalSecondRow));
  for (uint32_t i = 0; i < 4; i++) PutLittle(page, kDefinitionsAt + size_t{4} * i, kObjectsPage + i);
  PutLittle(page, at.codePage, kCodePage);
  PutLittle(page, at.sortOrder, header.order.language);
  if (at.date != kAbsent) page[at.sortOrder + kOrderVersionBehind] = header.order.version;
  PutLittle(page, at.build, header.build);
  if (at.date != kAbsent) PutCreationDate(at, page, header);
  CRc4(kHeaderKey).Apply(page.subspan(kMaskedAt, at.maskedSize));
  PutLittle(page, at.constant, kConstant);
  if (at.format != kAbsent) std::memcpy(&page[at.format], kFormatName.data(), kFormatName.size());
  for (size_t i = 0; i < kCommitSlots; i++)
    PutLittle(page, at.commit + 2 * i, i == 0 ? kFirstCommit : kRestingCommit);
  return bytes;
}

const SEmbeddedLayout& ProbeLayout(std::span<const uint8_t> header) {
  if (header.size() < kLayoutProbe) return kLayoutJet4;
  for (const SEmbeddedLayout* layout : {&kLayoutJet3, &kLayoutJet4})
    if (header[kVersionAt] == layout->version) return *layout;
  return header[kVersionAt] <= kHighestVersion ? kLayoutAce : kLayoutJet4;
}

EHeaderVerdict ParseHeaderPage(const SEmbeddedLayout& layout, std::span<const uint8_t> page,
                               SHeaderPage& header) {
  if (page.size() < layout.pageSize || GetLittle<uint32_t>(page, 0) != kHeaderMark)
    return EHeaderVerdict::NotADatabase;
  const std::string_view name(reinterpret_cast<const char*>(&page[kNameAt]), layout.engineName.size());
  if (name != layout.engineName)
    return name == kLayoutAce.engineName || name == kLayoutJet4.engineName ? EHeaderVerdict::OtherVersion
                                                                           : EHeaderVerdict::NotADatabase;
  header.version = page[kVersionAt];
  const uint8_t highest = layout.hasComplexColumns ? kHighestVersion : layout.version;
  if (header.version < layout.version || header.version > highest) return EHeaderVerdict::OtherVersion;
  std::vector<uint8_t> plain(page.begin(), page.end());
  CRc4(kHeaderKey).Apply(std::span(plain).subspan(kMaskedAt, layout.header.maskedSize));
  if (GetLittle<uint32_t>(plain, kPageKeyAt) != 0) return EHeaderVerdict::Encrypted;
  for (uint32_t i = 0; i < 4; i++)
    if (GetLittle<uint32_t>(plain, kDefinitionsAt + size_t{4} * i) != kObjectsPage + i)
      return EHeaderVerdict::NotADatabase;
  header.creationDate = std::bit_cast<double>(GetLittle<uint64_t>(plain, layout.header.date));
  header.build = GetLittle<uint16_t>(plain, layout.header.build);
  header.order.language = GetLittle<uint16_t>(plain, layout.header.sortOrder);
  if (layout.header.date != kAbsent)
    header.order.version = plain[layout.header.sortOrder + kOrderVersionBehind];
  header.sidMask = MakeSidMask(layout.header, plain, DayOf(header.creationDate));
  return EHeaderVerdict::Ok;
}

}  // namespace tolvane
