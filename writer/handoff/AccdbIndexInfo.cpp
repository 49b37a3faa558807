#include "writer/handoff/AccdbIndexInfo.h"

namespace tolvane {

namespace {

constexpr size_t kIndexLengthOffset = 0;
constexpr size_t kIndexNameOffset = 4;
constexpr size_t kPrimaryOffset = kIndexNameOffset + TextAreaBytes(CAccdbIndexInfo::kNameUnits);
constexpr size_t kCountOffset = kPrimaryOffset + 1;
constexpr size_t kIndexColumnsOffset = kCountOffset + 4;
constexpr size_t kColumnBytes = 5;
constexpr size_t kAscendingOffset = 4;  // in a column's five bytes
static_assert(kIndexColumnsOffset + CAccdbIndexInfo::kMaximumColumns * kColumnBytes ==
              CAccdbIndexInfo::kItemBytes);

}  // namespace

std::u16string CAccdbIndexInfo::FindProblem() const {
  if (!FitsArea(name, kNameUnits)) return u"an index name is longer than 255 characters";
  if (columns.size() > kMaximumColumns) return u"an index has more than 128 columns";
  return {};
}

void CAccdbIndexInfo::Encode(CAccdbImage item) const {
  item.Put32(kIndexLengthOffset, kItemBytes);
  item.PutText(kIndexNameOffset, kNameUnits, name);
  item.Put8(kPrimaryOffset, isPrimary);
  item.Put32(kCountOffset, static_cast<uint32_t>(columns.size()));
  size_t offset = kIndexColumnsOffset;
  for (const CAccdbIndexedCol& column : columns) {
    item.Put32(offset, static_cast<uint32_t>(column.columnNumber));
    item.Put8(offset + kAscendingOffset, column.isAscending);
    offset += kColumnBytes;
  }
}

}  // namespace tolvane
