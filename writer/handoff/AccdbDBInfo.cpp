#include "writer/handoff/AccdbDBInfo.h"

#include "writer/handoff/AccdbImage.h"

namespace tolvane {

namespace {

constexpr size_t kNumberOffset = TextAreaBytes(CAccdbDBInfo::kPathUnits);
constexpr size_t kReservedBytes = 2040;
static_assert(kNumberOffset + 4 + kReservedBytes == CAccdbDBInfo::kRecordBytes);

}  // namespace

std::vector<uint8_t> CAccdbDBInfo::Encode() const {
  std::vector<uint8_t> bytes(kRecordBytes);
  CAccdbImage image(bytes);
  image.PutText(0, kPathUnits, path);
  image.Put32(kNumberOffset, static_cast<uint32_t>(number));
  return bytes;
}

}  // namespace tolvane
