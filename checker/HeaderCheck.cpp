#include "checker/HeaderCheck.h"

#include <array>
#include <bit>
#include <cmath>

#include "format/Rc4.h"

namespace tolvane {
namespace {

// The 28 words from the password to the creation date make the key of the SIDs.
constexpr size_t kKeyWords = 28, kPasswordWords = 20, kLowDateWord = 24, kKeyShifts = 24;

uint32_t CreationDay(std::span<const uint8_t> header) {
  const double date = std::bit_cast<double>(GetLittle<uint64_t>(header, kLayoutJet4.header.date));
  const double day = std::trunc(date);
  return day >= -2147483648.0 && day <= 2147483647.0 ? static_cast<uint32_t>(static_cast<int32_t>(day)) : 0;
}

uint32_t MakeSidKey(std::span<const uint8_t> header) {
  const uint32_t day = CreationDay(header);
  std::array<uint16_t, kKeyWords> words{};
  for (size_t i = 0; i < kKeyWords; i++) {
    words[i] = GetLittle<uint16_t>(header, kLayoutJet4.header.password + 2 * i);
    if (i < kPasswordWords) words[i] = static_cast<uint16_t>(words[i] ^ (i % 2 == 0 ? day : day >> 16));
  }
  uint32_t key = words[kLowDateWord] | static_cast<uint32_t>(words[kLowDateWord + 1]) << 16;
  for (size_t i = 0; i < kKeyWords; i++) key ^= static_cast<uint32_t>(words[i] & 0xFF) << (i % kKeyShifts);
  return key;
}

// Without a password every dword of the area is the day; with one the area looks arbitrary, but a password
// ends with zero units, which show the day again.
bool IsPasswordAreaSound(std::span<const uint8_t> header) {
  const uint32_t day = CreationDay(header);
  for (size_t i = 0; i < kLayoutJet4.header.passwordSize; i += 4)
    if (GetLittle<uint32_t>(header, kLayoutJet4.header.password + i) == day) return true;
  return false;
}

}  // namespace

void UnmaskHeader(std::span<uint8_t> page, size_t maskedSize) {
  CRc4(kHeaderMaskKey).Apply(page.subspan(kHeaderMasked, maskedSize));
}

bool IsHeaderEncrypted(std::span<const uint8_t> header) {
  return GetLittle<uint32_t>(header, kHeaderDatabaseKey) != 0 ||
         GetLittle<uint16_t>(header, kHeaderEncryptionLength) != 0;
}

void CheckHeader(SCheckContext& context) {
  const CCheckedFile& file = context.file;
  const std::span<const uint8_t> header = file.GetHeader();
  const SPlace place{kHeaderPage};
  if (file.GetLength() % file.GetLayout().pageSize != 0)
    context.findings.Error(
        "A1", {}, Say(u"the length of ", file.GetLength(), u" bytes is not a whole number of pages"));
  if (file.GetLength() > kMaxFileLength)
    context.findings.Error("A1", {},
                           u"the file is longer than the format allows; the rest was not looked at");
  if (GetLittle<uint32_t>(header, 0) != kHeaderMark)
    context.findings.Error("A2", place, u"the page does not begin with 00 01 00 00");
  for (uint32_t i = 0; i < 4; i++)
    if (GetLittle<uint32_t>(header, kHeaderDefinitions + size_t{4} * i) != kObjectsPage + i)
      context.findings.Error(
          "A3", place, Say(u"the definition of system table ", i + 1, u" is not at page ", kObjectsPage + i));
  for (uint32_t i = 0; i < 2; i++)
    if (GetLittle<uint32_t>(header, kHeaderMapPointers + size_t{4} * i) != MakeRowPointer(kGlobalMapPage, i))
      context.findings.Error("A3", place, Say(u"global map ", i + 1, u" is not row ", i, u" of page 1"));
  if (file.IsJet3()) return;
  if (GetLittle<uint32_t>(header, kLayoutJet4.header.constant) != kHeaderConstant)
    context.findings.Error("A2", place, u"the constant 1620 is missing");
  if (!IsPasswordAreaSound(header))
    context.findings.Error("A4", place, u"the password area is not masked with the day of creation");
}

std::vector<uint8_t> UnmaskSid(const CCheckedFile& file, std::span<const uint8_t> sid) {
  std::vector<uint8_t> plain(sid.begin(), sid.end());
  if (file.IsJet3()) return plain;
  std::array<uint8_t, 4> key{};
  PutLittle(std::span<uint8_t>(key), 0, MakeSidKey(file.GetHeader()));
  CRc4(key).Apply(plain);
  return plain;
}

}  // namespace tolvane
