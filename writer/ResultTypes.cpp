#include "writer/ResultTypes.h"

#include <algorithm>

#include "format/Value.h"
#include "store/RowReader.h"

namespace tolvane {

namespace {

// Results of two types in one column: a text holds both.
uint8_t CommonType(uint8_t a, uint8_t b) {
  if (a == kTypeNone || a == b) return b;
  return a == kTypeMemo || b == kTypeMemo ? kTypeMemo : kTypeText;
}

}  // namespace

std::vector<SValueKind> FindResultTypes(const CAccessTable& table) {
  std::vector<SValueKind> kinds(table.columns.GetCount());
  const auto isResult = [](const CAccessColumn& column) { return IsCalculated(column.extendedFlags); };
  if (std::none_of(table.columns.begin(), table.columns.end(), isResult)) return kinds;
  CTableRowReader reader(kinds.size());
  if (!reader.Open(table.GetDataFilePath())) return kinds;
  std::vector<uint8_t> head(kResultHead);
  while (reader.BeginRow()) {
    uint32_t count = 0;
    for (size_t i = 0; i < kinds.size() && reader.BeginRecord(count); ++i) {
      CValueStream& stream = reader.GetStream();
      const uint64_t end = stream.GetPosition() + count;
      if (count > kResultHead && isResult(*table.columns.GetAt(i)) && stream.ReadRecord(kResultHead, head)) {
        kinds[i].type = CommonType(kinds[i].type, head[0]);
        kinds[i].scale = std::max(kinds[i].scale, head[1]);
      }
      stream.MoveTo(end);
    }
  }
  return kinds;
}

}  // namespace tolvane
