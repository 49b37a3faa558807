#include "writer/ResultTypes.h"

#include <algorithm>

#include "format/Value.h"
#include "render/ObjectProperties.h"
#include "store/RowReader.h"

namespace tolvane {

namespace {

// Results of two types in one column: a text holds both.
uint8_t CommonType(uint8_t a, uint8_t b) {
  if (a == kTypeNone || a == b) return b;
  return a == kTypeMemo || b == kTypeMemo ? kTypeMemo : kTypeText;
}

bool IsKnownResult(uint8_t type) {
  return type == kTypeText || type == kTypeMemo || (LengthOfType(type) != 0 && type <= kTypeDecimal);
}

// Of the types that share a length, which one it is; 0: no such type.
size_t SharedLengthOf(uint8_t type) {
  switch (type) {
    case kTypeLong:
    case kTypeSingle:
      return 4;
    case kTypeCurrency:
    case kTypeDouble:
    case kTypeDate:
      return 8;
    default:
      return 0;
  }
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
  if (std::find(isAsked.begin(), isAsked.end(), true) == isAsked.end()) return kinds;
  CTableRowReader reader(kinds.size());
  if (!reader.Open(table.GetDataFilePath())) return kinds;
  std::vector<uint8_t> head(kResultHead);
  while (reader.BeginRow()) {
    uint32_t count = 0;
    for (size_t i = 0; i < kinds.size() && reader.BeginRecord(count); ++i) {
      CValueStream& stream = reader.GetStream();
      const uint64_t end = stream.GetPosition() + count;
      if (count > kResultHead && isAsked[i] && stream.ReadRecord(kResultHead, head)) {
        if (StatedResultType(*table.columns.GetAt(i)) == kTypeNone)
          kinds[i].type = CommonType(kinds[i].type, head[0]);
        kinds[i].scale = std::max(kinds[i].scale, head[1]);
      }
      stream.MoveTo(end);
    }
  }
  return kinds;
}

}  // namespace tolvane
