// tables: what can be recovered, without saving it.
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Findings.h"
#include "cli/JsonOutput.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"

namespace tolvane {

namespace {

std::string DescribeSize(const CAccessColumn& column) {
  const bool hasSize = column.type == kTypeText || column.type == kTypeBinary;
  return hasSize ? std::to_string(column.length) : std::string();
}

std::string DrawIndex(const CAccessTable& table, const CAccessTableIndex& index) {
  std::string text = ToDisplay(index.name) + " (";
  for (size_t i = 0; i < index.columnCount; ++i) {
    const CAccessColumn* column = table.columns.FindByNumber(index.columns[i].columnNumber);
    text += (i == 0 ? "" : ", ") + (column ? ToDisplay(column->GetName()) : std::string("?"));
    if (!index.columns[i].isAscending) text += " descending";
  }
  text += ")";
  if (index.primary != 0) text += " primary";
  if (index.unique != 0) text += " unique";
  if (index.ignoreNulls != 0) text += " ignoring nulls";
  if (index.required != 0) text += " required";
  return text;
}

std::string DrawTable(const CAccessTable& table, uint32_t pageSize, const SPageStyle& style) {
  CTextTable columns;
  columns.AddColumn("Column");
  columns.AddColumn("Type");
  columns.AddColumn("Size", EAlign::Right);
  for (const CAccessColumn& column : table.columns)
    columns.AddRow({ToDisplay(column.GetName()), TypeName(column), DescribeSize(column)});
  std::string text = Heading(ToDisplay(table.name), style);
  text += "  " + Counted(table.header.rowCount, "row") + ", definition on page " +
          std::to_string(table.GetPage(pageSize)) + "\n" + columns.Draw(style.width, "  ");
  for (const CAccessTableIndex& index : table.indexes) text += "  Index " + DrawIndex(table, index) + "\n";
  return text;
}

}  // namespace

SCommandEnd RunTables(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  const CAccessData& data = session.GetData();
  const EExitStatus status = DecideStatus(data, nullptr);
  Json tables = Json::array();
  const SPageStyle style = OutputStyle();
  std::string text = DrawSource(data, arguments, style);
  for (const auto& table : data.GetTables()) {
    if (!HasContent(*table) || (IsSystemTable(*table) && !arguments.withSystemTables)) continue;
    if (arguments.isJson) {
      tables.push_back(DescribeTable(*table, data.source.pageSize));
    } else {
      text += "\n" + DrawTable(*table, data.source.pageSize, style);
    }
  }
  if (!arguments.isJson) {
    if (auto failure = Print(text)) return *failure;
    MentionDamage(session);
    return status;
  }
  Json result = MakeResult(arguments, status);
  result["source"] = DescribeSource(data, arguments);
  result["tables"] = std::move(tables);
  result["damage"] = DescribeDamage(data);
  if (!PrintJson(result)) return OutputLost();
  return status;
}

}  // namespace tolvane
