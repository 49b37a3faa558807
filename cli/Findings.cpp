#include "cli/Findings.h"

#include <algorithm>
#include <iterator>

#include "cli/DisplayText.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kSystemPrefix = u"MSys";
constexpr std::u16string_view kPagePrefix = u"page:";

const CAccessTable* FindByPage(const CAccessData& data, std::u16string_view page) {
  for (const auto& table : data.GetTables())
    if (table->GetPageText(data.source.pageSize) == page) return table.get();
  return nullptr;
}

}  // namespace

bool IsSystemTable(const CAccessTable& table) {
  return table.name.starts_with(kSystemPrefix);
}

bool HasContent(const CAccessTable& table) {
  return !table.name.empty() && table.columns.GetCount() > 0;
}

std::string TypeName(const CAccessColumn& column) {
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
      return "Multi-value";
    case kTypeBigInt:
      return "Large Number";
    case kTypeExtendedDate:
      return "Date/Time Extended";
    default:
      return "Type " + std::to_string(column.type);
  }
}

std::string FormatName(const SSourceFacts& facts) {
  if (facts.isJet3) return "Access 97 (Jet 3)";
  switch (facts.versionByte) {
    case 0:
      return "format not readable in the header; pages like Jet 4";
    case 1:
      return "Access 2000-2003 (Jet 4)";
    case 2:
      return "Access 2007 (ACE 12)";
    case 3:
      return "Access 2010 (ACE 14)";
    case 4:
    case 5:
    case 6:
      return "Access 2013 or later (ACE)";
    default:
      return "unknown version " + std::to_string(facts.versionByte) + ", read like Jet 4";
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

const std::vector<SDamageWords>& GetDamageWords() {
  static const std::vector<SDamageWords> kWords{
      {EDamage::UnreadablePage, "unreadablePage", "page that the system cannot read",
       "pages that the system cannot read"},
      {EDamage::PartialPage, "partialPage", "byte behind the last whole page",
       "bytes behind the last whole page"},
      {EDamage::OrphanDataPage, "orphanDataPage", "page of rows whose table is not known",
       "pages of rows whose table is not known"},
      {EDamage::BrokenDefinition, "brokenDefinition", "broken table definition", "broken table definitions"},
      {EDamage::LostTable, "lostTable", "table in the catalogue whose definition is gone",
       "tables in the catalogue whose definitions are gone"},
      {EDamage::UnnamedTable, "unnamedTable", "table whose name is lost", "tables whose names are lost"},
      {EDamage::RejectedRow, "rejectedRow", "row that cannot be true", "rows that cannot be true"},
      {EDamage::BrokenOverflow, "brokenOverflow", "moved row that is not where it should be",
       "moved rows that are not where they should be"},
      {EDamage::BrokenPage, "brokenPage", "page of rows with an impossible head",
       "pages of rows with impossible heads"},
      {EDamage::MissingRows, "missingRows", "row missing, by the count in the table's definition",
       "rows missing, by the counts in the tables' definitions"},
      {EDamage::BrokenValue, "brokenValue", "value outside its row", "values outside their rows"},
      {EDamage::BrokenLongValue, "brokenLongValue", "memo or OLE object that ends early",
       "memos or OLE objects that end early"},
      {EDamage::SkippedTable, "skippedTable", "table skipped for want of space for its rows",
       "tables skipped for want of space for their rows"},
  };
  return kWords;
}

std::string FormatPlace(const CAccessData& data, EDamage kind, const CDamageLedger::SPlace& place) {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (place.definition != CDamageLedger::kNoTable) {
    const CAccessTable* table = data.GetTables().FindTable(place.definition);
    if (table && !table->name.empty()) add("table " + ToDisplay(table->name));
  }
  if (kind == EDamage::MissingRows) {
    add(Counted(place.amount, "row"));
  } else {
    add("page " + std::to_string(place.page));
    if (place.row >= 0) add("row " + std::to_string(place.row));
  }
  return text;
}

std::vector<SColumnPlace> FindUnknownColumns(const CAccessData& data) {
  constexpr uint8_t kUnknown[] = {kTypeNone, kTypeUnknown13, 14, 17};
  std::vector<SColumnPlace> found;
  for (const auto& table : data.GetTables()) {
    if (IsSystemTable(*table) || table->header.rowCount == 0) continue;
    for (const CAccessColumn& column : table->columns)
      if (column.type > kTypeComplex || std::count(std::begin(kUnknown), std::end(kUnknown), column.type) > 0)
        found.push_back({table.get(), &column});
  }
  return found;
}

bool IsRecoveryWhole(const CAccessData& data) {
  return data.GetLedger().IsClean() && FindUnknownColumns(data).empty();
}

bool IsNothingRecovered(const CAccessData& data) {
  uint64_t rows = 0;
  for (const auto& table : data.GetTables()) {
    if (HasContent(*table) && !IsSystemTable(*table)) return false;
    rows += table->header.rowCount;
  }
  // A database without a table of the user's is a healthy one when its own tables are there.
  return rows == 0 || data.GetLedger().GetCount(EDamage::LostTable) > 0;
}

bool HasSaveLosses(const SSaveSummary& summary) {
  return !summary.losses.empty() || summary.fieldsDropped > 0 || summary.columnsLost > 0 ||
         summary.indexesLost > 0 || summary.queriesLost > 0 || summary.queriesSkipped > 0;
}

EExitStatus DecideStatus(const CAccessData& data, const SSaveSummary* saved) {
  if (IsNothingRecovered(data)) return EExitStatus::Nothing;
  if (saved && !saved->failure.empty()) return EExitStatus::Failed;
  const bool isWhole = IsRecoveryWhole(data) && !(saved && HasSaveLosses(*saved));
  return isWhole ? EExitStatus::Done : EExitStatus::Incomplete;
}

}  // namespace tolvane
