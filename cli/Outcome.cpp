#include "cli/Outcome.h"

#include "model/FlatTable.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kPagePrefix = u"page:";

const CAccessTable* FindByPage(const CAccessData& data, std::u16string_view page) {
  for (const auto& table : data.GetTables())
    if (table->GetPageText(data.source.pageSize) == page) return table.get();
  return nullptr;
}

std::string NameOfComplex(const CAccessColumn& column, const CAccessData& data) {
  if (!data.GetRules().complexValuesAreData) return "Multi-value";
  if (IsVersionHistory(column)) return "Version history";
  const auto flat = FindFlatTable(data.GetTables(), column, data.source.pageSize);
  return flat && flat->kind == EFlatKind::Files ? "Attachments" : "Multi-value";
}

}  // namespace

std::string TypeName(const CAccessColumn& column, const CAccessData& data) {
  static constexpr std::pair<uint8_t, const char*> kNames[] = {
      {kTypeBoolean, "Yes/No"},      {kTypeByte, "Byte"},
      {kTypeInteger, "Integer"},     {kTypeLong, "Long Integer"},
      {kTypeCurrency, "Currency"},   {kTypeSingle, "Single"},
      {kTypeDouble, "Double"},       {kTypeDate, "Date/Time"},
      {kTypeBinary, "Binary"},       {kTypeText, "Text"},
      {kTypeOle, "OLE Object"},      {kTypeMemo, "Memo"},
      {kTypeGuid, "Replication ID"}, {kTypeDecimal, "Decimal"},
      {kTypeBigInt, "Large Number"}, {kTypeExtendedDate, "Date/Time Extended"}};
  if (column.type == kTypeComplex) return NameOfComplex(column, data);
  if (column.IsCounter()) return "AutoNumber";
  for (const auto& [type, name] : kNames)
    if (type == column.type) return name;
  return "Type " + std::to_string(column.type);
}

const CAccessTable* FindTable(const CAccessData& data, std::u16string_view wanted) {
  const CAccessTable* similar = nullptr;
  for (const auto& table : data.GetTables()) {
    if (table->name == wanted) return table.get();
    if (!similar && EqualsIgnoreCase(table->name, wanted)) similar = table.get();
  }
  if (!similar && wanted.starts_with(kPagePrefix)) return FindByPage(data, wanted.substr(kPagePrefix.size()));
  return similar;
}

EExitStatus DecideStatus(const CAccessData& data, const SSaveSummary* saved) {
  if (IsNothingRecovered(data)) return EExitStatus::Nothing;
  if (saved && !saved->failure.empty()) return EExitStatus::Failed;
  const bool isWhole = IsRecoveryWhole(data) && !(saved && HasSaveLosses(*saved));
  return isWhole ? EExitStatus::Done : EExitStatus::Incomplete;
}

EExitStatus DecideRepairStatus(const CAccessData& data, const SSaveSummary* saved) {
  const EExitStatus status = DecideStatus(data, saved);
  return status == EExitStatus::Done && !ListOmittedObjects(data, 0).empty() ? EExitStatus::Incomplete
                                                                             : status;
}

}  // namespace tolvane
