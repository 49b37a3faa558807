#include "app/Losses.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "format/HeaderLayout.h"
#include "platform/Text.h"
#include "writer/SafeName.h"

namespace tolvane {

const CAccessTable* FindTable(const CAccessData& data, const CDamageLedger::SPlace& place) {
  return place.definition == CDamageLedger::kNoTable ? nullptr : data.GetTables().FindTable(place.definition);
}

const CAccessColumn* FindColumn(const CAccessTable* table, const CDamageLedger::SPlace& place) {
  if (!table || place.column < 0 || static_cast<size_t>(place.column) >= table->columns.GetCount())
    return nullptr;
  return table->columns.GetAt(static_cast<size_t>(place.column));
}

std::u16string_view NameOfLost(const CAccessData& data, EDamage kind, const CDamageLedger::SPlace& place) {
  if (kind != EDamage::LostTable || !data.GetRules().tellReasons) return {};
  const auto found = data.GetLostTables().find(place.page);
  return found != data.GetLostTables().end() ? std::u16string_view(found->second) : std::u16string_view();
}

namespace {

std::u16string FormatPlace(const CAccessData& data, EDamage kind, const CDamageLedger::SPlace& place,
                           NumberText number) {
  std::u16string text;
  const auto add = [&text](const std::u16string& part) { text += (text.empty() ? u"" : u", ") + part; };
  const CAccessTable* table = FindTable(data, place);
  if (table && !table->name.empty()) add(u"table " + table->name);
  if (const std::u16string lost(NameOfLost(data, kind, place)); !lost.empty()) add(u"table " + lost);
  if (kind == EDamage::MissingRows || kind == EDamage::SurplusRows) {
    const bool isTold = place.promised > 0 && data.GetRules().tellReasons;
    add(Counted(place.amount, u"row", number) + (isTold ? u" of " + number(place.promised) : u""));
  } else if (kind == EDamage::LooseValue) {
    add(Counted(place.amount, u"value", number));
  } else {
    add(u"page " + ToDecimal(place.page));
    if (place.row >= 0) add(u"row " + ToDecimal(place.row));
  }
  if (const CAccessColumn* column = FindColumn(table, place))
    add(u"column " + SpelledName(*column, data.source));
  if (place.reason) text += u" (" + FromAscii(place.reason) + u")";
  return text;
}

// Whether no table of the user's is hit, which people cannot tell from names that they never see.
bool IsOnlyOfAccess(const CAccessData& data, EDamage kind) {
  const auto& places = data.GetLedger().GetPlaces(kind);
  return data.GetRules().tellReasons && !places.empty() && data.GetLedger().CountDropped(kind) == 0 &&
         std::ranges::all_of(places, [&data](const CDamageLedger::SPlace& place) {
           const CAccessTable* const table = FindTable(data, place);
           return table && IsSystemTable(*table);
         });
}

std::u16string FormatPlaces(const CAccessData& data, EDamage kind, size_t placesShown, NumberText number) {
  if (kind == EDamage::LeadingBytes) return {};  // the words say where
  const auto& places = data.GetLedger().GetPlaces(kind);
  std::u16string text;
  for (size_t i = 0; i < places.size() && i < placesShown; ++i)
    text += (i == 0 ? u"" : u"; ") + FormatPlace(data, kind, places[i], number);
  if (places.size() > placesShown) text += u"; ...";
  return text;
}

}  // namespace

bool HasContent(const CAccessTable& table) {
  return !table.name.empty() && table.columns.GetCount() > 0;
}

std::string FormatName(const SSourceFacts& facts) {
  if (facts.isJet3) return "Access 97 (Jet 3)";
  switch (facts.versionByte) {
    case 0:
      return "format not readable in the header; pages like Jet 4";
    case kVersionJet4:
      return "Access 2000-2003 (Jet 4)";
    case kVersionAce12:
      return "Access 2007 (ACE 12)";
    case kVersionAce14:
      return "Access 2010 (ACE 14)";
    case kVersionAce15:
    case kVersionAce16:
    case kVersionAce17:
      return "Access 2013 or later (ACE)";
    default:
      return "unknown version " + std::to_string(facts.versionByte) + ", read like Jet 4";
  }
}

const std::vector<SDamageWords>& GetDamageWords() {
  static const std::vector<SDamageWords> kWords{
      {EDamage::UnreadablePage, "unreadablePage", "page that the system cannot read",
       "pages that the system cannot read"},
      {EDamage::LostPage, "lostPage", "page that the file lacks", "pages that the file lacks"},
      {EDamage::LeadingBytes, "leadingBytes", "foreign byte in front of the database",
       "foreign bytes in front of the database"},
      {EDamage::PartialPage, "partialPage", "byte behind the last whole page",
       "bytes behind the last whole page"},
      {EDamage::OrphanDataPage, "orphanDataPage", "page of rows whose table is not known",
       "pages of rows whose table is not known"},
      {EDamage::BrokenDefinition, "brokenDefinition", "broken table definition", "broken table definitions"},
      {EDamage::LostTable, "lostTable", "table in the catalogue whose definition is gone",
       "tables in the catalogue whose definitions are gone"},
      {EDamage::UnnamedTable, "unnamedTable", "table whose name is lost", "tables whose names are lost"},
      {EDamage::RestoredName, "restoredName", "table whose name comes from outside the catalogue",
       "tables whose names come from outside the catalogue"},
      {EDamage::MistakableTable, "mistakableTable",
       "table left out because its page is usually a system table's",
       "tables left out because their pages are usually system tables'"},
      {EDamage::RejectedRow, "rejectedRow", "row that cannot be true", "rows that cannot be true"},
      {EDamage::BrokenOverflow, "brokenOverflow", "moved row that is not where it should be",
       "moved rows that are not where they should be"},
      {EDamage::BrokenPage, "brokenPage", "page of rows with an impossible head",
       "pages of rows with impossible heads"},
      {EDamage::TornPage, "tornPage", "torn or stale page of rows", "torn or stale pages of rows"},
      {EDamage::UnknownPage, "unknownPage", "page of unknown type", "pages of unknown type"},
      {EDamage::MissingRows, "missingRows", "row missing, by the count in the table's definition",
       "rows missing, by the counts in the tables' definitions"},
      {EDamage::SurplusRows, "surplusRows", "row more than the count in the table's definition",
       "rows more than the counts in the tables' definitions"},
      {EDamage::MovedPages, "movedPages", "page found away from its place",
       "pages found away from their places"},
      {EDamage::ChangedSource, "changedSource",
       "change of the file while it was read: what follows may be of two states; repair a copy",
       "changes of the file while it was read: what follows may be of two states; repair a copy"},
      {EDamage::OtherDatabase, "otherDatabase", "further database in the file, which was not read",
       "further databases in the file, which were not read"},
      {EDamage::UnfitTemplate, "unfitTemplate",
       "page of rows that belongs to no table of the template: is it a database of the same structure?",
       "pages of rows that belong to no table of the template: is it a database of the same structure?"},
      {EDamage::BrokenValue, "brokenValue", "value outside its row", "values outside their rows"},
      {EDamage::BrokenLongValue, "brokenLongValue", "memo or OLE object that ends early",
       "memos or OLE objects that end early"},
      {EDamage::LooseValue, "looseValue", "value of a multi-value or attachment column that fits no record",
       "values of multi-value or attachment columns that fit no record"},
      {EDamage::BrokenProperties, "brokenProperties", "object some of whose properties cannot be read",
       "objects some of whose properties cannot be read"},
      {EDamage::SkippedTable, "skippedTable", "table skipped for want of space for its rows",
       "tables skipped for want of space for their rows"},
  };
  return kWords;
}

std::vector<SColumnPlace> FindUnknownColumns(const CAccessData& data) {
  constexpr uint8_t kUnknown[] = {kTypeNone, kTypeUnknown13, 14, 17};
  // Records of texts have none for the types that came after the complex ones.
  const uint8_t lastKnown = data.GetRules().recordsHoldTexts ? kTypeComplex : kTypeExtendedDate;
  std::vector<SColumnPlace> found;
  for (const auto& table : data.GetTables()) {
    if (IsSystemTable(*table) || table->header.rowCount == 0) continue;
    for (const CAccessColumn& column : table->columns)
      if (column.type > lastKnown || std::count(std::begin(kUnknown), std::end(kUnknown), column.type) > 0)
        found.push_back({table.get(), &column});
  }
  return found;
}

std::unordered_map<uint64_t, STableRows> CountTableRows(const CDamageLedger& ledger) {
  std::unordered_map<uint64_t, STableRows> rows;
  const auto addUp = [&ledger](EDamage kind, const auto& take) {
    for (const CDamageLedger::SPlace& place : ledger.GetPlaces(kind))
      if (place.definition != CDamageLedger::kNoTable) take(place);
  };
  for (const EDamage kind : {EDamage::RejectedRow, EDamage::BrokenOverflow})
    addUp(kind, [&rows](const auto& place) { rows[place.definition].lost += place.amount; });
  // What was rejected is missing, too.
  addUp(EDamage::MissingRows, [&rows](const auto& place) {
    uint64_t& lost = rows[place.definition].lost;
    lost = std::max(lost, place.amount);
  });
  addUp(EDamage::SurplusRows,
        [&rows](const auto& place) { rows[place.definition].doubtful += place.amount; });
  // Several values of one row make one doubtful row.
  std::unordered_map<uint64_t, std::set<std::pair<uint64_t, int32_t>>> damaged;
  for (const EDamage kind : {EDamage::BrokenValue, EDamage::BrokenLongValue})
    addUp(kind, [&damaged](const auto& place) { damaged[place.definition].emplace(place.page, place.row); });
  for (const auto& [definition, places] : damaged) rows[definition].doubtful += places.size();
  return rows;
}

bool IsRecoveryWhole(const CAccessData& data) {
  return data.GetLedger().IsClean() && FindUnknownColumns(data).empty();
}

bool IsNothingRecovered(const CAccessData& data) {
  const bool doUserTablesDecide = data.GetRules().userTablesDecide;
  // The tables are the template's alone.
  if (doUserTablesDecide && data.GetLedger().GetCount(EDamage::UnfitTemplate) > 0) return true;
  uint64_t rows = 0;
  const bool isNothingOfTheUsers = doUserTablesDecide && !data.GetLedger().IsClean();
  for (const auto& table : data.GetTables()) {
    if (HasContent(*table) && !IsSystemTable(*table)) return false;
    rows += table->header.rowCount;
  }
  // A database without a table of the user's is a healthy one when its own tables are there.
  return rows == 0 || isNothingOfTheUsers || data.GetLedger().GetCount(EDamage::LostTable) > 0;
}

namespace {

struct SSaveLossWords {
  uint64_t SSaveSummary::*count;
  std::u16string_view singular, plural;
};
constexpr std::u16string_view kOutOfRange = u"values outside the range that is saved (bytes above 127)";
constexpr SSaveLossWords kSaveLosses[] = {
    {&SSaveSummary::recordsMoved, u"record that the engine refused, now in a table of refused ones",
     u"records that the engine refused, now in tables of refused ones"},
    {&SSaveSummary::fieldsDropped, kOutOfRange, kOutOfRange},
    {&SSaveSummary::charactersReplaced, u"character that Access 97 files do not hold was replaced by \"?\"",
     u"characters that Access 97 files do not hold were replaced by \"?\""},
    {&SSaveSummary::columnsLost, u"column", u"columns"},
    {&SSaveSummary::tablesChanged, u"table as it was; the remarks say why",
     u"tables as they were; the remarks say why"},
    {&SSaveSummary::columnsChanged, u"column as it was; the remarks say why",
     u"columns as they were; the remarks say why"},
    {&SSaveSummary::indexesLost, u"index", u"indexes"},
    {&SSaveSummary::indexesWeakened, u"index as it was; the remarks say why",
     u"indexes as they were; the remarks say why"},
    {&SSaveSummary::queriesLost, u"query", u"queries"},
    {&SSaveSummary::queriesChanged, u"query as it was; the remarks say why",
     u"queries as they were; the remarks say why"},
    {&SSaveSummary::queriesSkipped, u"query of a kind that cannot be rebuilt",
     u"queries of kinds that cannot be rebuilt"},
    {&SSaveSummary::relationsLost, u"relationship", u"relationships"},
    {&SSaveSummary::propertiesLost, u"property of a table, column or the database; the remarks say which",
     u"properties of tables, columns or the database; the remarks say which"},
    {&SSaveSummary::linksLost, u"link to a table elsewhere", u"links to tables elsewhere"},
    {&SSaveSummary::settingsChanged, u"setting of the database as it was; the remarks say why",
     u"settings of the database as they were; the remarks say why"},
    {&SSaveSummary::relationsChanged, u"relationship as it was; the remarks say why",
     u"relationships as they were; the remarks say why"},
    {&SSaveSummary::relationsWeakened, u"relationship as an enforced one", u"relationships as enforced ones"},
    {&SSaveSummary::systemRowsLost, u"row of the saved queries or relationships: it could not be read back",
     u"rows of the saved queries or relationships: they could not be read back"},
};

}  // namespace

bool HasSaveLosses(const SSaveSummary& summary) {
  return !summary.losses.empty() ||
         std::ranges::any_of(kSaveLosses, [&](const auto& words) { return summary.*words.count > 0; });
}

std::vector<SLossLine> ListDamage(const CAccessData& data, size_t placesShown, NumberText number) {
  std::vector<SLossLine> found;
  for (const SDamageWords& words : GetDamageWords())
    if (const uint64_t count = data.GetLedger().GetCount(words.kind); count > 0)
      found.push_back({count,
                       FromAscii(count == 1 ? words.singular : words.plural) +
                           (IsOnlyOfAccess(data, words.kind) ? u"; only in tables of Access' own" : u""),
                       FormatPlaces(data, words.kind, placesShown, number)});
  for (const SColumnPlace& place : FindUnknownColumns(data))
    found.push_back({place.table->header.rowCount,
                     u"values of the unknown type " + ToDecimal(place.column->type) + u": table " +
                         place.table->name + u", column " + SpelledName(*place.column, data.source),
                     {}});
  return found;
}

namespace {

struct SOtherObjectWords {
  EOtherObject kind;
  const char* name;  // for programs
  std::u16string_view singular, plural;
};
constexpr SOtherObjectWords kOtherObjects[] = {
    {EOtherObject::Form, "form", u"form", u"forms"},
    {EOtherObject::Report, "report", u"report", u"reports"},
    {EOtherObject::Macro, "macro", u"macro", u"macros"},
    {EOtherObject::Module, "module", u"module", u"modules"},
    {EOtherObject::LinkedTable, "linkedTable", u"link to a table of another database",
     u"links to tables of other databases"},
    {EOtherObject::OdbcTable, "odbcTable", u"link to a table of a server", u"links to tables of servers"},
};

}  // namespace

const char* NameOf(EOtherObject kind) {
  return std::ranges::find(kOtherObjects, kind, &SOtherObjectWords::kind)->name;
}

std::vector<SLossLine> ListOmittedObjects(const CAccessData& data, size_t namesShown) {
  std::vector<SLossLine> lines;
  if (!data.GetRules().tellOmittedObjects) return lines;
  for (const SOtherObjectWords& words : kOtherObjects) {
    SLossLine line;
    for (const SOtherObject& object : data.GetOtherObjects()) {
      if (object.kind != words.kind) continue;
      if (++line.count <= namesShown) line.places += (line.places.empty() ? u"" : u", ") + object.name;
    }
    if (line.count == 0) continue;
    if (line.count > namesShown) line.places += u", ...";
    line.words = line.count == 1 ? words.singular : words.plural;
    lines.push_back(std::move(line));
  }
  return lines;
}

void ForEachDamage(const CAccessData& data, const std::function<void(const std::u16string&)>& tell) {
  const size_t told = data.GetRules().damagePlacesTold;
  for (const SDamageWords& words : GetDamageWords()) {
    const auto& places = data.GetLedger().GetPlaces(words.kind);
    const std::u16string what = FromAscii(words.singular) + u": ";
    for (size_t i = 0; i < places.size() && i < told; ++i)
      tell(what + FormatPlace(data, words.kind, places[i], ToDecimal<uint64_t>));
    if (const uint64_t rest = data.GetLedger().CountDropped(words.kind); rest > 0 && told > places.size())
      tell(what + ToDecimal(rest) + u" more places that are not listed");
  }
}

std::vector<SLossLine> ListSaveLosses(const SSaveSummary& summary) {
  std::vector<SLossLine> found;
  const auto add = [&found](uint64_t count, std::u16string_view singular, std::u16string_view plural,
                            const std::u16string& rest = {}) {
    if (count > 0) found.push_back({count, std::u16string(count == 1 ? singular : plural) + rest, {}});
  };
  for (const SSaveLoss& loss : summary.losses) {
    const std::u16string of = u" of table " + loss.table + u": " + loss.reason;
    add(loss.records, u"record", u"records", of);
    add(loss.fields, u"value", u"values", of);
  }
  for (const SSaveLossWords& words : kSaveLosses) add(summary.*words.count, words.singular, words.plural);
  return found;
}

}  // namespace tolvane
