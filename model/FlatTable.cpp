#include "model/FlatTable.h"

#include <algorithm>
#include <array>

#include "model/MSysComplexColumnsData.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::array<std::u16string_view, kFileParts> kFilePartNames{
    u"FileData", u"FileFlags", u"FileName", u"FileTimeStamp", u"FileType", u"FileURL"};
constexpr std::u16string_view kVersionDate = u"Modified_F9B5E312-4155-4c59-9AAE-391C1B295827";

bool HasMark(const CAccessColumn& column, uint8_t mark) {
  return column.type == kTypeLong && (column.extendedFlags & mark) != 0;
}

}  // namespace

std::optional<size_t> FilePartOf(const CAccessColumn& column) {
  const auto* const found = std::ranges::find(kFilePartNames, column.GetName());
  if (found == kFilePartNames.end()) return std::nullopt;
  return static_cast<size_t>(found - kFilePartNames.begin());
}

bool IsVersionHistory(const CAccessColumn& column) {
  return column.type == kTypeComplex && (column.extendedFlags & kColumnOfHistory) != 0;
}

std::vector<size_t> ListShownColumns(const CAccessTable& table, const SRecoveryRules& rules,
                                     bool withHidden) {
  std::vector<size_t> shown;
  for (size_t i = 0; i < table.columns.GetCount(); ++i)
    if (withHidden || !rules.complexValuesAreData || !IsVersionHistory(*table.columns.GetAt(i)))
      shown.push_back(i);
  return shown;
}

bool IsVersionDate(const CAccessColumn& column) {
  return column.GetName() == kVersionDate && column.type == kTypeDate;
}

bool IsVersionPattern(const CAccessTable& table) {
  return table.columns.GetCount() == 2 && table.header.rowCount == 0 && table.indexes.GetCount() == 0 &&
         std::ranges::any_of(table.columns, IsVersionDate);
}

std::optional<SFlatTable> DescribeFlatTable(const CAccessTable& table) {
  constexpr size_t kMostColumns = kFileParts + 2;
  if (table.columns.GetCount() > kMostColumns) return std::nullopt;
  SFlatTable flat{.table = &table};
  size_t others = 0;
  for (size_t i = 0; i < table.columns.GetCount(); ++i) {
    const CAccessColumn& column = *table.columns.GetAt(i);
    const std::optional<size_t> part =
        (column.extendedFlags & kColumnOfFile) != 0 ? FilePartOf(column) : std::nullopt;
    if (HasMark(column, kColumnFlatKey)) {
      flat.key = i;
    } else if (HasMark(column, kColumnFlatRowId)) {
      flat.number = i;
    } else if (part) {
      flat.kind = EFlatKind::Files;
      if (*part == kFilePartName) flat.item = i;
    } else if (IsVersionDate(column)) {
      flat.kind = EFlatKind::Versions;
    } else {
      flat.item = i;
      ++others;
    }
  }
  const bool isWhole = flat.key != SFlatTable::kNoColumn && flat.number != SFlatTable::kNoColumn &&
                       flat.item != SFlatTable::kNoColumn;
  return isWhole && others == (flat.kind == EFlatKind::Files ? 0u : 1u) ? std::optional(flat) : std::nullopt;
}

std::optional<SFlatTable> FindFlatTable(const CAccessTableList& tables, const CAccessColumn& column,
                                        uint32_t pageSize) {
  if (column.type != kTypeComplex || column.GetComplexData() == nullptr) return std::nullopt;
  const int64_t page = LeadingInteger(column.GetComplexData()->flatTable);
  if (page <= 0 || page > UINT32_MAX) return std::nullopt;
  const CAccessTable* const table = tables.FindTable(static_cast<uint64_t>(page) * pageSize);
  return table == nullptr ? std::nullopt : DescribeFlatTable(*table);
}

}  // namespace tolvane
