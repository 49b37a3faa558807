#include "writer/handoff/AccdbColInfo.h"

#include <algorithm>
#include <limits>

#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr size_t kColumnLengthOffset = 0;
constexpr size_t kNameLengthOffset = 4;
constexpr size_t kColumnNameOffset = 8;
constexpr size_t kSizeOffset = kColumnNameOffset + TextAreaBytes(CAccdbColInfo::kNameUnits);
constexpr size_t kTypeOffset = kSizeOffset + 4;
constexpr size_t kFlagsOffset = kTypeOffset + 4;
constexpr size_t kHasComplexOffset = kFlagsOffset + 1;
constexpr size_t kDescriptorOffset = kHasComplexOffset + 1;
static_assert(kDescriptorOffset + CAccdbColInfo::kDescriptorBytes == CAccdbColInfo::kItemBytes);

constexpr size_t kComplexNameLengthOffset = 0;
constexpr size_t kComplexNameOffset = 4;
constexpr size_t kComplexNameUnits = 256;
constexpr size_t kComplexNumbersOffset = kComplexNameOffset + TextAreaBytes(kComplexNameUnits);
static_assert(kComplexNumbersOffset + 4 * 4 == CAccdbColInfo::kDescriptorBytes);

uint32_t LengthOf(std::u16string_view text) {
  return static_cast<uint32_t>(UpToZero(text).size());
}

// The number that a text spells, 0 when it spells none.
uint32_t NumberOf(std::u16string_view text) {
  using Limits = std::numeric_limits<int32_t>;
  const int64_t number = std::clamp<int64_t>(LeadingInteger(text), Limits::min(), Limits::max());
  return static_cast<uint32_t>(static_cast<int32_t>(number));
}

void EncodeDescriptor(const CMSysComplexColumnsData& data, CAccdbImage image) {
  image.Put32(kComplexNameLengthOffset, LengthOf(data.columnName));
  image.PutText(kComplexNameOffset, kComplexNameUnits, data.columnName);
  size_t offset = kComplexNumbersOffset;
  for (const std::u16string* text :
       {&data.complexType, &data.flatTable, &data.conceptualTable, &data.complexId}) {
    image.Put32(offset, NumberOf(*text));
    offset += 4;
  }
}

}  // namespace

std::u16string CAccdbColInfo::FindProblem() const {
  if (!FitsArea(name, kNameUnits)) return u"a column name is longer than 255 characters";
  if (complexData && !FitsArea(complexData->columnName, kComplexNameUnits))
    return u"the name of a multi-valued column is longer than 255 characters";
  return {};
}

void CAccdbColInfo::Encode(CAccdbImage item) const {
  item.Put32(kColumnLengthOffset, kItemBytes);
  item.Put32(kNameLengthOffset, LengthOf(name));
  item.PutText(kColumnNameOffset, kNameUnits, name);
  item.Put32(kSizeOffset, size);
  item.Put32(kTypeOffset, type);
  item.Put8(kFlagsOffset, flags);
  item.Put8(kHasComplexOffset, complexData ? 1 : 0);
  if (complexData) EncodeDescriptor(*complexData, item.Part(kDescriptorOffset, kDescriptorBytes));
}

}  // namespace tolvane
