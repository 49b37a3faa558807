#include "cli/JsonOutput.h"

#include "cli/Outcome.h"
#include "dao/dao.h"
#include "format/SystemObjects.h"
#include "platform/Terminal.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

const char* NameOf(EExitStatus status) {
  for (const SExitStatusWords& words : kExitStatuses)
    if (words.status == status) return words.name;
  return "";
}

Json DescribeColumn(const CAccessColumn& column, const CAccessData& data) {
  return {{"name", ToUtf8(SpelledName(column, data.source))},
          {"type", TypeName(column, data)},
          {"typeCode", column.type},
          {"size", column.length},
          {"number", column.number}};
}

Json DescribeIndex(const CAccessTable& table, const CAccessTableIndex& index, const SSourceFacts& source) {
  Json columns = Json::array();
  for (size_t i = 0; i < index.columnCount; ++i) {
    const CAccessColumn* column = table.columns.FindByNumber(index.columns[i].columnNumber);
    columns.push_back({{"name", column ? ToUtf8(SpelledName(*column, source)) : std::string()},
                       {"descending", !index.columns[i].isAscending}});
  }
  return {{"name", ToUtf8(index.name)},
          {"columns", std::move(columns)},
          {"primary", index.primary != 0},
          {"unique", index.unique != 0},
          {"ignoreNulls", index.ignoreNulls != 0},
          {"required", index.required != 0}};
}

}  // namespace

Json MakeResult(const SArguments& arguments, EExitStatus status) {
  return {{"schema", kJsonSchema},
          {"command", tolvane::NameOf(arguments.command)},
          {"status", NameOf(status)},
          {"exitStatus", static_cast<int>(status)}};
}

Json MakeFailure(const SArguments& arguments, const SFailure& failure) {
  Json result = MakeResult(arguments, failure.status);
  result["error"] = ToUtf8(failure.message);
  return result;
}

Json DescribeSource(const CAccessData& data, const SArguments& arguments) {
  const SSourceFacts& facts = data.source;
  Json source = {{"path", ToUtf8(arguments.source)},
                 {"format", FormatName(facts)},
                 {"versionByte", facts.versionByte},
                 {"pageSize", facts.pageSize},
                 {"pages", facts.pageCount},
                 {"bytes", facts.length},
                 {"start", facts.start},
                 {"codePage", facts.codePage},
                 {"sortOrder", facts.sortOrder}};
  if (!arguments.templatePath.empty()) source["template"] = ToUtf8(arguments.templatePath);
  return source;
}

Json DescribeTable(const CAccessTable& table, const CAccessData& data, const SArguments& arguments) {
  const SSourceFacts& source = data.source;
  Json columns =
      Json::list(ListShownColumns(table, data.GetRules(), arguments.withSystemTables),
                 [&](size_t column) { return DescribeColumn(*table.columns.GetAt(column), data); });
  Json indexes =
      Json::list(table.indexes, [&](const auto& index) { return DescribeIndex(table, index, source); });
  Json described = {
      {"name", ToUtf8(table.name)},       {"isNameLost", table.nameSource == ENameSource::Generated},
      {"isSystem", IsSystemTable(table)}, {"page", table.GetPage(source.pageSize)},
      {"rows", table.header.rowCount},    {"promisedRows", table.promisedRows},
      {"columns", std::move(columns)},    {"indexes", std::move(indexes)}};
  if (table.leftoverValues > 0) described["leftoverValues"] = table.leftoverValues;
  return described;
}

Json DescribeTable(const CAccessTable& table, const CAccessData& data, const SArguments& arguments,
                   const STableRows& rows) {
  Json described = DescribeTable(table, data, arguments);
  described["lostRows"] = rows.lost;
  described["doubtfulRows"] = rows.doubtful;
  return described;
}

Json DescribeRelation(const SRecoveredRelation& relation) {
  const auto has = [&relation](int32_t bit) { return (relation.attributes & bit) != 0; };
  const auto list = [&relation](std::u16string SRelationPair::*column) {
    return Json::list(relation.pairs, [column](const SRelationPair& pair) { return ToUtf8(pair.*column); });
  };
  Json described = {{"name", ToUtf8(relation.name)},
                    {"table", ToUtf8(relation.table)},
                    {"columns", list(&SRelationPair::column)},
                    {"referencedTable", ToUtf8(relation.referencedTable)},
                    {"referencedColumns", list(&SRelationPair::referencedColumn)},
                    {"isEnforced", !has(kRelationDontEnforce)},
                    {"isOneToOne", has(kRelationUnique)},
                    {"cascadesUpdates", has(kRelationUpdateCascade)},
                    {"cascadesDeletes", has(kRelationDeleteCascade)},
                    {"join", has(kRelationLeft)    ? "left"
                             : has(kRelationRight) ? "right"
                                                   : "inner"}};
  if (!relation.problem.empty()) described["problem"] = ToUtf8(relation.problem);
  return described;
}

Json DescribeQuery(const SListedQuery& query) {
  return {{"name", query.name.empty() ? Json() : Json(ToUtf8(query.name))},
          {"kind", query.kind},
          {"hidden", query.isHidden},
          {"whole", query.isWhole},
          {"sql", query.sql.empty() ? Json() : Json(ToUtf8(query.sql))},
          {"reason", query.reason.empty() ? Json() : Json(ToUtf8(query.reason))}};
}

namespace {

Json DescribePlace(const CAccessData& data, EDamage kind, const CDamageLedger::SPlace& place) {
  Json described = {{"page", place.page}};
  const CAccessTable* table = FindTable(data, place);
  if (table) described["table"] = ToUtf8(table->name);
  if (const auto lost = NameOfLost(data, kind, place); !lost.empty()) described["table"] = ToUtf8(lost);
  if (place.row >= 0) described["row"] = place.row;
  if (const CAccessColumn* column = FindColumn(table, place))
    described["column"] = ToUtf8(SpelledName(*column, data.source));
  if (place.reason) described["reason"] = place.reason;
  described["amount"] = place.amount;
  if (place.promised > 0 && data.GetRules().tellReasons) described["promised"] = place.promised;
  return described;
}

}  // namespace

Json DescribeOmitted(const CAccessData& data) {
  if (!data.GetRules().tellOmittedObjects) return Json::array();
  return Json::list(data.GetOtherObjects(), [](const SOtherObject& object) {
    return Json{{"kind", NameOf(object.kind)}, {"name", ToUtf8(object.name)}};
  });
}

Json DescribeLinks(const CAccessData& data) {
  Json links = Json::array();
  const auto add = [&links](const std::u16string& name, const STableLink& link) {
    links.push_back({{"name", ToUtf8(name)},
                     {"kind", NameOf(link.isOdbc ? EOtherObject::OdbcTable : EOtherObject::LinkedTable)},
                     {"table", ToUtf8(link.source)},
                     {"database", ToUtf8(link.database)}});
  };
  for (const auto& table : data.GetTables())
    if (table->link) add(table->name, *table->link);
  for (const SFileLink& link : data.fileLinks) add(link.name, link.link);
  return links;
}

Json DescribeDamage(const CAccessData& data) {
  Json damage = Json::array();
  for (const SDamageWords& words : GetDamageWords()) {
    const uint64_t count = data.GetLedger().GetCount(words.kind);
    if (count == 0) continue;
    Json places = Json::array();
    const auto& met = data.GetLedger().GetPlaces(words.kind);
    for (size_t i = 0; i < met.size() && i < data.GetRules().damagePlacesTold; ++i)
      places.push_back(DescribePlace(data, words.kind, met[i]));
    Json kind = {
        {"kind", words.name}, {"count", count}, {"meaning", words.plural}, {"places", std::move(places)}};
    if (const uint64_t dropped = data.GetLedger().CountDropped(words.kind);
        dropped > 0 && data.GetRules().damagePlacesTold > met.size())
      kind["placesNotListed"] = dropped;
    damage.push_back(std::move(kind));
  }
  const std::vector<SColumnPlace> unknown = FindUnknownColumns(data);
  if (unknown.empty()) return damage;
  uint64_t count = 0;
  Json places = Json::array();
  for (const SColumnPlace& place : unknown) {
    count += place.table->header.rowCount;
    places.push_back({{"table", ToUtf8(place.table->name)},
                      {"column", ToUtf8(SpelledName(*place.column, data.source))},
                      {"typeCode", place.column->type},
                      {"amount", place.table->header.rowCount}});
  }
  damage.push_back({{"kind", "unknownType"},
                    {"count", count},
                    {"meaning", "values of types that are not known"},
                    {"places", std::move(places)}});
  return damage;
}

Json DescribeSaving(const SSaveSummary& summary) {
  Json losses = Json::list(summary.losses, [](const SSaveLoss& loss) {
    return Json{{"table", ToUtf8(loss.table)},
                {"records", loss.records},
                {"values", loss.fields},
                {"reason", ToUtf8(loss.reason)}};
  });
  Json saved = {{"tables", summary.tablesSaved},
                {"records", summary.recordsSaved},
                {"valuesOutOfRange", summary.fieldsDropped},
                {"charactersReplaced", summary.charactersReplaced},
                {"emptyRows", summary.emptyRowsDropped},
                {"queries", summary.queriesSaved},
                {"queriesLost", summary.queriesLost},
                {"queriesChanged", summary.queriesChanged},
                {"queriesSkipped", summary.queriesSkipped},
                {"relationships", summary.relationsSaved},
                {"relationshipsNoLongerEnforced", summary.relationsWeakened},
                {"relationshipsLost", summary.relationsLost},
                {"relationshipsChanged", summary.relationsChanged},
                {"systemRowsLost", summary.systemRowsLost},
                {"tablesChanged", summary.tablesChanged},
                {"columnsLost", summary.columnsLost},
                {"columnsChanged", summary.columnsChanged},
                {"propertiesLost", summary.propertiesLost},
                {"links", summary.linksSaved},
                {"linksLost", summary.linksLost},
                {"settingsChanged", summary.settingsChanged},
                {"indexesLost", summary.indexesLost},
                {"indexesWeakened", summary.indexesWeakened},
                {"losses", std::move(losses)},
                {"notes", Json::list(summary.notes)}};
  if (summary.valuesSaved > 0) saved["complexValues"] = summary.valuesSaved;
  if (summary.recordsMoved > 0) saved["recordsMoved"] = summary.recordsMoved;
  AddEngineErrors(summary, saved);
  return saved;
}

void AddEngineErrors(const SSaveSummary& summary, Json& result) {
  for (const CDaoEngineError& error : summary.engineErrors) {
    Json described = {{"number", error.number},
                      {"description", ToUtf8(error.description)},
                      {"call", ToUtf8(error.call)},
                      {"count", error.count}};
    result["engineErrors"].push_back(std::move(described));
  }
}

bool PrintJson(const Json& result) {
  return WriteStream(EStream::Output, result.Dump() + "\n");
}

}  // namespace tolvane
