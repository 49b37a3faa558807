// tables: what can be recovered, without saving it.
#include <utility>
#include <vector>

#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/ReportJson.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "writer/RelationReader.h"

namespace tolvane {

namespace {

std::string DescribeSize(const CAccessColumn& column) {
  const bool hasSize = column.type == kTypeText || column.type == kTypeBinary;
  return hasSize ? std::to_string(column.length) : std::string();
}

std::string DrawIndex(const CAccessTable& table, const CAccessTableIndex& index, const SSourceFacts& source) {
  std::string text = ToDisplay(index.name) + " (";
  for (size_t i = 0; i < index.columnCount; ++i) {
    const CAccessColumn* column = table.columns.FindByNumber(index.columns[i].columnNumber);
    text += (i == 0 ? "" : ", ") + (column ? ToDisplay(SpelledName(*column, source)) : std::string("?"));
    if (!index.columns[i].isAscending) text += " descending";
  }
  text += ")";
  if (index.primary != 0) text += " primary";
  if (index.unique != 0) text += " unique";
  if (index.ignoreNulls != 0) text += " ignoring nulls";
  if (index.required != 0) text += " required";
  return text;
}

std::string DrawTable(const CAccessTable& table, const CAccessData& data, const SArguments& arguments,
                      const SPageStyle& style) {
  const SSourceFacts& source = data.source;
  CTextTable columns{{"Column"}, {"Type"}, {"Size", EAlign::Right}};
  for (const size_t position : ListShownColumns(table, data.GetRules(), arguments.withSystemTables)) {
    const CAccessColumn& column = *table.columns.GetAt(position);
    columns.AddRow({ToDisplay(SpelledName(column, source)), TypeName(column, data), DescribeSize(column)});
  }
  std::string text = Heading(ToDisplay(table.name), style);
  text += "  " + Counted(table.header.rowCount, "row") + ", definition on page " +
          std::to_string(table.GetPage(source.pageSize)) + "\n" + columns.Draw(style.width, "  ");
  for (const CAccessTableIndex& index : table.indexes)
    text += "  Index " + DrawIndex(table, index, source) + "\n";
  return text;
}

// "Orders (Customer) -> Customers (ID), deletes cascade"
std::string DrawRelation(const SRecoveredRelation& relation) {
  std::string text =
      ToDisplay(relation.DescribeSide(false)) + " -> " + ToDisplay(relation.DescribeSide(true));
  if (const std::u16string rules = relation.DescribeRules(); !rules.empty()) text += ", " + ToDisplay(rules);
  if (!relation.problem.empty()) text += ": " + ToDisplay(relation.problem);
  return text;
}

std::string DrawRelations(const std::vector<SRecoveredRelation>& relations, const SPageStyle& style) {
  std::string text;
  for (const SRecoveredRelation& relation : relations)
    text += "  " + (relation.name.empty() ? std::string("(name lost)") : ToDisplay(relation.name)) + ": " +
            DrawRelation(relation) + "\n";
  return text.empty() ? text : "\n" + Heading("Relationships", style) + text;
}

// Those of the database engine's own tables are shown with these tables.
std::vector<SRecoveredRelation> ListRelations(const CAccessData& data, const SArguments& arguments) {
  std::vector<SRecoveredRelation> relations;
  // The tables are worth showing without them.
  uint32_t rowsRead = 0;
  if (!ReadRelations(data, nullptr, relations, rowsRead)) return {};
  if (!arguments.withSystemTables)
    std::erase_if(relations, [](const SRecoveredRelation& relation) { return relation.IsSystem(); });
  return relations;
}

}  // namespace

SCommandEnd RunTables(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  const CAccessData& data = session.GetData();
  const bool isTold = arguments.isJson && !arguments.isBrief;
  const Json verdict = isTold ? DescribeVerdict(session.GetReport().Collect()) : Json();
  if (isTold && IsInterrupted()) return StoppedByUser();
  const EExitStatus status = session.GetReport().Write(DecideStatus(data, nullptr));
  const auto rows = CountTableRows(data.GetLedger());
  Json tables = Json::array();
  const SPageStyle style = OutputStyle();
  std::string text = DrawSource(data, arguments, style);
  for (const auto& table : data.GetTables()) {
    if (!HasContent(*table) || (IsSystemTable(*table) && !arguments.withSystemTables)) continue;
    if (arguments.isJson) {
      const auto found = rows.find(table->GetDefinitionOffset());
      tables.push_back(
          DescribeTable(*table, data, arguments, found == rows.end() ? STableRows{} : found->second));
    } else {
      text += "\n" + DrawTable(*table, data, arguments, style);
    }
  }
  const std::vector<SRecoveredRelation> relations = ListRelations(data, arguments);
  if (!arguments.isJson) return EndRecovery(session, text + DrawRelations(relations, style), status);
  Json result{};
  if (isTold) result["verdict"] = verdict;
  result["tables"] = std::move(tables);
  result["relationships"] = Json::list(relations, DescribeRelation);
  return EndRecovery(session, result, status);
}

}  // namespace tolvane
