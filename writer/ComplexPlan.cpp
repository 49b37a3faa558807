#include "writer/ComplexPlan.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "dao/ComplexFields.h"
#include "model/MSysComplexColumnsData.h"
#include "platform/Text.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

// Of values of the type that a flat table's column has; 0 for types that no complex field takes.
int16_t FieldTypeOfValues(uint8_t type) {
  const SComplexFieldType* const found = FindComplexField(&SComplexFieldType::type, type);
  return found != nullptr && type != kTypeNone ? found->field : int16_t{0};
}

// Where the values are lost, MSysComplexColumns still tells what they were.
int16_t FieldTypeOfKind(const CAccessColumn& column) {
  if (column.GetComplexData() == nullptr) return 0;
  const auto kind = static_cast<EComplexKind>(LeadingInteger(column.GetComplexData()->complexType));
  const SComplexFieldType* const found = FindComplexField(&SComplexFieldType::kind, kind);
  return found != nullptr ? found->field : int16_t{0};
}

// The memo that a flat table's is named after, or the only one.
size_t FindMemo(const CAccessTable& table, std::u16string_view name) {
  size_t only = SFlatTable::kNoColumn, memos = 0;
  for (size_t i = 0; i < table.columns.GetCount(); ++i) {
    const CAccessColumn& column = *table.columns.GetAt(i);
    if (column.type != kTypeMemo || IsCalculated(column.extendedFlags)) continue;
    if (column.GetName() == name) return i;
    only = i;
    ++memos;
  }
  return memos == 1 ? only : SFlatTable::kNoColumn;
}

void ChooseVersions(const CAccessTable& table, std::u16string_view memo, SComplexField& complex) {
  complex.flat.kind = EFlatKind::Versions;
  complex.memo = FindMemo(table, memo);
  // The engine is told of the memo before it may have to change its name.
  const bool isSafe =
      complex.memo != SFlatTable::kNoColumn && IsSafeName(table.columns.GetAt(complex.memo)->GetName());
  if (isSafe) complex.type = kDaoVersions;
}

void ChooseType(const CAccessTable& table, SComplexField& complex) {
  const CAccessColumn& item = *complex.flat.table->columns.GetAt(complex.flat.item);
  switch (complex.flat.kind) {
    case EFlatKind::Files:
      complex.type = kDaoAttachment;
      break;
    case EFlatKind::Values:
      complex.type = FieldTypeOfValues(item.type);
      break;
    case EFlatKind::Versions:
      ChooseVersions(table, item.GetName(), complex);
      break;
  }
}

// What the table says, unless it cannot be true.
int32_t LastKeyOf(const CAccessTable& table, int32_t highest) {
  constexpr uint32_t kMost = std::numeric_limits<int32_t>::max() / 2;
  const uint32_t told = table.header.lastComplexKey;
  return told > kMost ? highest : std::max(highest, static_cast<int32_t>(told));
}

}  // namespace

std::vector<SComplexField> PlanComplexFields(const CAccessData& data, const CAccessTable& table,
                                             bool hasFields) {
  std::vector<SComplexField> planned;
  for (size_t i = 0; i < table.columns.GetCount(); ++i) {
    const CAccessColumn& column = *table.columns.GetAt(i);
    if (column.type != kTypeComplex) continue;
    SComplexField& complex = planned.emplace_back();
    complex.column = i;
    if (const auto flat = FindFlatTable(data.GetTables(), column, data.source.pageSize)) {
      complex.flat = *flat;
      complex.values = std::make_unique<CComplexValues>(table, i, *flat, data.GetRules());
      ChooseType(table, complex);
    } else {
      complex.type = FieldTypeOfKind(column);
      if ((column.extendedFlags & kColumnOfHistory) != 0) ChooseVersions(table, {}, complex);
    }
    const auto isTaken = [&](const SComplexField& other) {
      return &other != &complex && complex.type == kDaoVersions && other.type == kDaoVersions &&
             other.memo == complex.memo;
    };
    if (!hasFields || std::ranges::any_of(planned, isTaken)) complex.type = 0;
    complex.lastKey = LastKeyOf(table, complex.HasValues() ? complex.values->GetHighestKey() : 0);
  }
  return planned;
}

std::u16string NameOf(const SComplexField& complex, const CAccessTable& table) {
  if (complex.IsOfVersions() && complex.HasValues())
    return std::u16string(complex.flat.table->columns.GetAt(complex.flat.item)->GetName());
  return std::u16string(table.columns.GetAt(complex.column)->GetName());
}

std::u16string KeyNameOf(const SComplexField& complex, const CAccessTable& table) {
  return NameOf(complex, table) + u"_Key";
}

size_t ComplexFieldIndex(const SFlatTable& flat, size_t column) {
  const size_t parts = flat.kind == EFlatKind::Files ? kFileParts : flat.kind == EFlatKind::Versions ? 2 : 1;
  if (column == flat.number) return parts;
  if (column == flat.key) return parts + 1;
  if (flat.kind == EFlatKind::Files) return FilePartOf(*flat.table->columns.GetAt(column)).value_or(0);
  return column == flat.item ? 0 : 1;
}

const CAccessColumn* ItemColumnOf(const SComplexField& complex) {
  if (!complex.HasValues() || complex.IsOfVersions()) return nullptr;
  const CAccessColumnList& columns = complex.flat.table->columns;
  if (complex.flat.kind == EFlatKind::Values) return columns.GetAt(complex.flat.item);
  for (const CAccessColumn& column : columns)
    if (FilePartOf(column) == kFilePartData) return &column;
  return nullptr;
}

std::vector<uint16_t> FindPositions(const CAccessColumnList& columns,
                                    const std::vector<SComplexField>& fields) {
  std::vector<size_t> order(columns.GetCount());
  std::iota(order.begin(), order.end(), size_t{0});
  std::ranges::stable_sort(order, [&columns](size_t a, size_t b) {
    return columns.GetAt(a)->displayNumber < columns.GetAt(b)->displayNumber;
  });
  uint16_t step = 1, next = 0;
  std::vector<bool> isHidden(order.size());
  for (const SComplexField& complex : fields) {
    if (complex.type == 0) step = 2;
    isHidden[complex.column] = complex.type != 0 && complex.IsOfVersions();
  }
  std::vector<uint16_t> positions(order.size());
  for (const size_t column : order) {
    positions[column] = next;
    if (!isHidden[column]) next = static_cast<uint16_t>(next + step);
  }
  return positions;
}

}  // namespace tolvane
