#include "writer/ResultTypes.h"

#include <algorithm>
#include <array>
#include <span>

#include "format/Value.h"
#include "render/NumberText.h"
#include "render/ObjectProperties.h"
#include "store/RowReader.h"

namespace tolvane {

namespace {

// Results of two types in one column: a text holds both.
uint8_t CommonType(uint8_t a, uint8_t b) {
  if (a == kTypeNone || a == b) return b;
  return a == kTypeMemo || b == kTypeMemo ? kTypeMemo : kTypeText;
}

// Of a result's record: what tells all of a decimal.
constexpr uint32_t kLongestHead = kResultHead + kDecimalBytes;

// 0 for what is no decimal.
size_t CountWholeDigits(std::span<const uint8_t> head) {
  if (head[0] != kTypeDecimal || head.size() < kLongestHead) return 0;
  std::array<uint32_t, 4> words = DecimalWords(head.subspan(kResultHead));
  size_t digits = 0;
  for (; words != std::array<uint32_t, 4>{}; ++digits) DivideByTen(words);
  return digits - std::min<size_t>(digits, head[1]);
}

bool IsKnownResult(uint8_t type) {
  return type == kTypeText || type == kTypeMemo || (LengthOfType(type) != 0 && type <= kTypeDecimal);
}

// Of the types that share a length, which one it is; 0: no such type.
size_t SharedLengthOf(uint8_t type) {
  const bool isShared = type == kTypeLong || type == kTypeSingle || type == kTypeCurrency ||
                        type == kTypeDouble || type == kTypeDate;
  return isShared ? LengthOfType(type) : 0;
}

}  // namespace

uint8_t StatedResultType(const CAccessColumn& column) {
  const SProperty* const stated = FindProperty(column.properties, kResultType);
  if (stated == nullptr || stated->type != kTypeByte || stated->value.size() != 1) return kTypeNone;
  return IsKnownResult(stated->value[0]) ? stated->value[0] : uint8_t{kTypeNone};
}

void TakeResultAs(uint8_t type, SValue& value) {
  if (!value.isResult || value.isNull || SharedLengthOf(type) == 0) return;
  if (SharedLengthOf(type) == SharedLengthOf(value.type)) value.type = type;
}

std::vector<SValueKind> FindResultTypes(const CAccessTable& table) {
  std::vector<SValueKind> kinds(table.columns.GetCount());
  std::vector<bool> isAsked(kinds.size());  // what the results themselves tell counts
  for (size_t i = 0; i < kinds.size(); ++i) {
    const CAccessColumn& column = *table.columns.GetAt(i);
    if (!IsCalculated(column.extendedFlags)) continue;
    kinds[i].type = StatedResultType(column);
    isAsked[i] = kinds[i].type == kTypeNone || kinds[i].type == kTypeDecimal;
  }
  if (std::ranges::find(isAsked, true) == isAsked.end()) return kinds;
  CTableRowReader reader(kinds.size());
  if (!reader.Open(table.GetRecords())) return kinds;
  std::vector<size_t> wholeDigits(kinds.size());  // in front of the points of decimals
  std::vector<uint8_t> head;
  while (reader.BeginRow()) {
    uint32_t count = 0;
    for (size_t i = 0; i < kinds.size() && reader.BeginRecord(count); ++i) {
      CValueStream& stream = reader.GetStream();
      const uint64_t end = stream.GetPosition() + count;
      if (count > kResultHead && isAsked[i] && stream.ReadRecord(std::min(count, kLongestHead), head)) {
        if (StatedResultType(*table.columns.GetAt(i)) == kTypeNone)
          kinds[i].type = CommonType(kinds[i].type, head[0]);
        kinds[i].scale = std::max(kinds[i].scale, head[1]);
        wholeDigits[i] = std::max(wholeDigits[i], CountWholeDigits(head));
      }
      stream.MoveTo(end);
    }
  }
  // All decimals of a plain column have one scale.
  for (size_t i = 0; i < kinds.size(); ++i)
    if (kinds[i].type == kTypeDecimal && wholeDigits[i] + kinds[i].scale > kMostDecimalDigits)
      kinds[i].type = kTypeText;
  return kinds;
}

}  // namespace tolvane
