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
  switch (column.type) {
    case kTypeBoolean:
      return "Yes/No";
    case kTypeByte:
      return "Byte";
    case kTypeInteger:
      return "Integer";
    case kTypeLong:
      return (column.flags & kColumnAutoNumber) != 0 ? "AutoNumber" : "Long Integer";
    case kTypeCurrency:
      return "Currency";
    case kTypeSingle:
      return "Single";
    case kTypeDouble:
      return "Double";
    case kTypeDate:
      return "Date/Time";
    case kTypeBinary:
      return "Binary";
    case kTypeText:
      return "Text";
    case kTypeOle:
      return "OLE Object";
    case kTypeMemo:
      return "Memo";
    case kTypeGuid:
      return "Replication ID";
    case kTypeDecimal:
      return "Decimal";
    case kTypeComplex:
      return NameOfComplex(column, data);
    case kTypeBigInt:
      return "Large Number";
    case kTypeExtendedDate:
      return "Date/Time Extended";
    default:
      return "Type " + std::to_string(column.type);
  }
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
