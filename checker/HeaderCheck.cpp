#include "checker/HeaderCheck.h"

#include "format/HeaderPage.h"

namespace tolvane {
namespace {

// Without a password every dword of the area is the day; with one the area looks arbitrary, but a password
// ends with zero units, which show the day again.
bool IsPasswordAreaSound(std::span<const uint8_t> header) {
  const uint32_t day = CreationDay(kLayoutJet4.header, header);
  for (size_t i = 0; i < kLayoutJet4.header.passwordSize; i += 4)
    if (GetLittle<uint32_t>(header, kLayoutJet4.header.password + i) == day) return true;
  return false;
}

}  // namespace

void CheckHeader(SCheckContext& context) {
  const CCheckedFile& file = context.file;
  const std::span<const uint8_t> header = file.GetHeader();
  const SPlace place{kHeaderPage};
  if (file.GetLength() % file.GetLayout().pageSize != 0)
    context.findings.Error("A1", {}, u"the length of ", file.GetLength(),
                           u" bytes is not a whole number of pages");
  if (file.GetLength() > kMaxFileLength)
    context.findings.Error("A1", {},
                           u"the file is longer than the format allows; the rest was not looked at");
  if (GetLittle<uint32_t>(header, 0) != kHeaderMark)
    context.findings.Error("A2", place, u"the page does not begin with 00 01 00 00");
  for (uint32_t i = 0; i < 4; i++)
    if (GetLittle<uint32_t>(header, kHeaderDefinitions + size_t{4} * i) != kObjectsPage + i)
      context.findings.Error("A3", place, u"the definition of system table ", i + 1, u" is not at page ",
                             kObjectsPage + i);
  for (uint32_t i = 0; i < 2; i++)
    if (GetLittle<uint32_t>(header, kHeaderMapPointers + size_t{4} * i) != MakeRowPointer(kGlobalMapPage, i))
      context.findings.Error("A3", place, u"global map ", i + 1, u" is not row ", i, u" of page 1");
  if (file.IsJet3()) return;
  if (GetLittle<uint32_t>(header, kLayoutJet4.header.constant) != kHeaderConstant)
    context.findings.Error("A2", place, u"the constant 1620 is missing");
  if (!IsPasswordAreaSound(header))
    context.findings.Error("A4", place, u"the password area is not masked with the day of creation");
}

std::vector<uint8_t> UnmaskSid(const CCheckedFile& file, std::span<const uint8_t> sid) {
  std::vector<uint8_t> plain(sid.begin(), sid.end());
  MaskSid(file.GetLayout().header, file.GetHeader(), plain);
  return plain;
}

}  // namespace tolvane
