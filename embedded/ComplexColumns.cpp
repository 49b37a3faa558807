#include "embedded/ComplexColumns.h"

#include <algorithm>
#include <utility>

#include "embedded/ObjectName.h"
#include "platform/Hex.h"

namespace tolvane {
namespace {

constexpr std::u16string_view kModified = u"Modified_F9B5E312-4155-4c59-9AAE-391C1B295827";
constexpr size_t kIndexNameColumn = 31;  // characters of the column's name in that of its index
constexpr STextOrder kNoOrder{0, 0};

// Of a new GUID.
std::u16string MakeDigits(CIdentity& identity) {
  std::u16string digits;
  AppendHex(identity.MakeGuid().bytes, kUpperHex, digits);
  return digits;
}

SColumnDefinition MakeFlatColumn(std::u16string name, uint8_t type, STextOrder order) {
  SColumnDefinition column;
  column.name = std::move(name);
  column.type = type;
  column.flags = kColumnUpdatable;
  column.length = LengthOfType(type);
  column.order = order;
  return column;
}

std::vector<SColumnDefinition> MakeHistoryColumns(STextOrder order, std::u16string_view memo) {
  return {MakeFlatColumn(std::u16string(memo), kTypeMemo, order),
          MakeFlatColumn(std::u16string(kModified), kTypeDate, kNoOrder)};
}

std::vector<SColumnDefinition> MakeValueColumns(const SLayout& layout, STextOrder order, EComplexKind kind) {
  std::vector<SColumnDefinition> columns = MakeComplexColumns(kind);
  std::ranges::sort(columns,
                    [&](const auto& a, const auto& b) { return IsNameBefore(layout, a.name, b.name); });
  for (SColumnDefinition& column : columns) {
    const bool isText = column.type == kTypeText || column.type == kTypeMemo;
    if (isText) column.order = order;
    if (isText && kind != kComplexOfFiles) column.extendedFlags = kColumnCompressed;
  }
  return columns;
}

// All display numbers are 0, so names decide the order.
void SortByName(const SLayout& layout, STableDefinition& definition) {
  const auto byName = [&](const auto& a, const auto& b) { return IsNameBefore(layout, a.name, b.name); };
  std::ranges::sort(definition.columns, byName);
  std::ranges::sort(definition.logicalIndexes, byName);
}

}  // namespace

SColumnDefinition MakeComplexColumn(std::u16string_view name, bool isHistory) {
  SColumnDefinition column = MakeFlatColumn(std::u16string(name), kTypeComplex, {});
  column.flags = kColumnFixed | kColumnUpdatable | kColumnAutoNumber;
  if (isHistory) column.extendedFlags = kColumnOfHistory;
  return column;
}

std::u16string MakeHistoryName(CIdentity& identity) {
  const std::u16string digits = MakeDigits(identity);
  std::u16string name = u"VersionHistory_";
  for (size_t i = 0; i < digits.size(); i++) {
    if (i == 8 || i == 12 || i == 16 || i == 20) name += u'-';
    name += digits[i];
  }
  return name;
}

std::u16string MakeComplexIndexName(CIdentity& identity, std::u16string_view column) {
  return std::u16string(column.substr(0, kIndexNameColumn)) + u'_' + MakeDigits(identity);
}

SNamedDefinition MakeFlatTable(CIdentity& identity, const SLayout& layout, STextOrder order,
                               const SNewComplexColumn& complex, std::u16string_view table) {
  SNamedDefinition flat;
  flat.name = CutName(u"f_" + MakeDigits(identity) + u'_' + complex.column);
  STableDefinition& definition = flat.definition;
  definition.columns = complex.IsHistory() ? MakeHistoryColumns(order, complex.memo)
                                           : MakeValueColumns(layout, order, complex.kind);
  if (!complex.IsHistory() && complex.kind == kComplexOfDecimals) {
    definition.columns.front().precision = complex.precision;
    definition.columns.front().scale = complex.scale;
  }
  const auto rowNumber = static_cast<uint16_t>(definition.columns.size());
  const auto key = static_cast<uint16_t>(rowNumber + 1);
  const bool isFile = !complex.IsHistory() && complex.kind == kComplexOfFiles;
  const uint16_t unique = isFile ? 2 : 0;  // FileName or Value
  flat.valueColumn = definition.columns.front().name;
  SColumnDefinition& counter = definition.columns.emplace_back(
      MakeFlatColumn(FlatRowIdName(table, complex.column), kTypeLong, kNoOrder));
  counter.flags |= kColumnAutoNumber;
  counter.extendedFlags = kColumnFlatRowId;
  SColumnDefinition& foreign =
      definition.columns.emplace_back(MakeFlatColumn(FlatKeyName(complex.column), kTypeLong, kNoOrder));
  foreign.extendedFlags = kColumnFlatKey;
  const std::u16string keyName = foreign.name;
  definition.LayOutColumns();
  definition.AddIndex(u"MSysComplexPKIndex",
                      {.columns = {{rowNumber, true}}, .flags = kIndexUnique | kIndexRequired},
                      kIndexKindPrimary);
  definition.AddIndex(keyName, {.columns = {{key, true}}, .flags = kIndexRequired});
  if (!complex.IsHistory())
    definition.AddIndex(u"IdxFKPrimaryScalar",
                        {.columns = {{key, true}, {unique, true}}, .flags = kIndexUnique | kIndexRequired});
  SortByName(layout, definition);
  return flat;
}

SNamedDefinition MakeHistoryKind(CIdentity& identity, const SLayout& layout, STextOrder order,
                                 std::u16string_view memo) {
  SNamedDefinition kind;
  kind.name = u"MSysComplexTypeVH_" + MakeDigits(identity);
  kind.definition.columns = MakeHistoryColumns(order, memo);
  kind.definition.LayOutColumns();
  SortByName(layout, kind.definition);
  return kind;
}

}  // namespace tolvane
