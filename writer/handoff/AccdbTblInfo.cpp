#include "writer/handoff/AccdbTblInfo.h"

#include <limits>
#include <span>

namespace tolvane {

namespace {

constexpr size_t kTableLengthOffset = 0;
constexpr size_t kTableNameOffset = 8;
constexpr size_t kPathOffset = 1032;
constexpr size_t kRowCountOffset = 3080;
constexpr size_t kColumnsLengthOffset = 3088;
constexpr size_t kTableColumnsOffset = 3096;
// Behind the place of the columns' blob, which takes twice its length.
constexpr size_t kIndexesLengthOffset = 3096;
constexpr size_t kIndexesOffset = 3104;
// T without the blobs: the fixed part as its lengths are counted, which is half of what it takes.
constexpr size_t kFixedBytes = 1552;
static_assert(kIndexesOffset == 2 * kFixedBytes);

}  // namespace

std::u16string CAccdbTblInfo::FindProblem() const {
  if (!FitsArea(name, kNameUnits)) return u"its name is longer than 255 characters";
  if (!FitsArea(dataFilePath, kPathUnits)) return u"the path of its data file is longer than 511 characters";
  if (GetRecordLength() > std::numeric_limits<int32_t>::max() / 2) return u"its definition is too large";
  for (const CAccdbColInfo& column : columns)
    if (std::u16string problem = column.FindProblem(); !problem.empty()) return problem;
  for (const CAccdbIndexInfo& index : indexes)
    if (std::u16string problem = index.FindProblem(); !problem.empty()) return problem;
  return {};
}

size_t CAccdbTblInfo::GetRecordLength() const {
  return columns.GetBlobLength() + kFixedBytes + indexes.GetBlobLength();
}

std::vector<uint8_t> CAccdbTblInfo::EncodeImage() const {
  const size_t columnsLength = columns.GetBlobLength();
  const size_t indexesLength = indexes.GetBlobLength();
  std::vector<uint8_t> bytes(2 * GetRecordLength());
  CAccdbImage image(bytes);
  image.Put32(kTableLengthOffset, static_cast<uint32_t>(GetRecordLength()));
  image.PutText(kTableNameOffset, kNameUnits, name);
  image.PutText(kPathOffset, kPathUnits, dataFilePath);
  image.Put32(kRowCountOffset, rowCount);
  image.Put32(kColumnsLengthOffset, static_cast<uint32_t>(columnsLength));
  const std::vector<uint8_t> columnsImage = columns.EncodeImage();
  image.PutBytes(kTableColumnsOffset, std::span(columnsImage).first(columnsLength));
  image.Put32(kIndexesLengthOffset + 2 * columnsLength, static_cast<uint32_t>(indexesLength));
  const std::vector<uint8_t> indexesImage = indexes.EncodeImage();
  image.PutBytes(kIndexesOffset + 2 * columnsLength, std::span(indexesImage).first(indexesLength));
  return bytes;
}

}  // namespace tolvane
