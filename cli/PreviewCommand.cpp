// preview: the first rows of one table, as the preview list shows them.

#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "engine/AccessTableDataFileParser.h"
#include "platform/Text.h"
#include "status/Status.h"

namespace tolvane {

namespace {

// Keeps the first rows and ends the loader after them.
class CFirstRows : public CPreviewList {
 public:
  CFirstRows(uint64_t maximum, CPreviewThreadStatus& preview) : m_maximum(maximum), m_preview(preview) {}

  void InsertColumn(size_t, std::u16string_view, int32_t) override { ++columnCount; }
  [[nodiscard]] size_t GetItemCount() const override { return rows.size(); }
  void InsertItem(size_t) override {
    if (rows.size() >= m_maximum) {
      m_isFull = true;
      m_preview.SetAbort(1);
      return;
    }
    rows.emplace_back(columnCount);
  }
  void SetItemText(size_t item, size_t column, std::u16string_view text) override {
    if (!m_isFull && item < rows.size() && column < columnCount) rows[item][column].text = text;
  }
  void SetItemNull(size_t item, size_t column, std::u16string_view text) override {
    SetItemText(item, column, text);
    if (!m_isFull && item < rows.size() && column < columnCount) rows[item][column].isNull = true;
  }

  struct SCell {
    std::u16string text;
    bool isNull = false;
  };
  size_t columnCount = 0;
  std::vector<std::vector<SCell>> rows;

 private:
  uint64_t m_maximum;
  CPreviewThreadStatus& m_preview;
  bool m_isFull = false;
};

bool IsNumber(const CAccessColumn& column) {
  return (column.type >= kTypeByte && column.type <= kTypeDouble) || column.type == kTypeDecimal;
}

std::string DrawRows(const CFirstRows& shown, const CAccessTable& table, const SSourceFacts& source,
                     const std::vector<size_t>& columns, const SPageStyle& style) {
  CTextTable drawn;
  for (const size_t i : columns) {
    const CAccessColumn& column = *table.columns.GetAt(i);
    drawn.AddColumn(
        {ToDisplay(SpelledName(column, source)), IsNumber(column) ? EAlign::Right : EAlign::Left});
  }
  for (const auto& row : shown.rows) {
    std::vector<std::string> cells;
    cells.reserve(columns.size());
    for (const size_t i : columns) cells.push_back(ToDisplay(row[i].text));
    drawn.AddRow(std::move(cells));
  }
  std::string text = drawn.Draw(style.width);
  const uint64_t all = table.header.rowCount;
  if (all > shown.rows.size())
    return text + "(" + std::to_string(shown.rows.size()) + " of " + Counted(all, "row") + ")\n";
  return text + "(" + Counted(shown.rows.size(), "row") + ")\n";
}

Json DescribeRows(const CFirstRows& shown, const std::vector<size_t>& columns) {
  return Json::list(shown.rows, [&columns](const auto& row) {
    return Json::list(columns,
                      [&row](size_t i) { return row[i].isNull ? Json() : Json(ToUtf8(row[i].text)); });
  });
}

}  // namespace

SCommandEnd RunPreview(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  const CAccessData& data = session.GetData();
  const CAccessTable* table = FindTable(data, arguments.table);
  if (!table || !HasContent(*table)) return NoSuchTable(arguments);

  CPreviewThreadStatus& preview = session.GetJob().GetContext().preview;
  preview.SetAbort(IsInterrupted() ? 1 : 0);
  CFirstRows shown(arguments.rows, preview);
  CAccessTableDataFileParser parser(data.GetRules(), session.GetJob().GetContext());
  parser.SetPreviewTables(&data.GetTables(), data.source.pageSize);
  std::u16string problem;
  session.RunWatched([&] { parser.FillPreview(table, &shown); }, problem);
  if (IsInterrupted()) return StoppedByUser();
  if (!problem.empty()) return SFailure{EExitStatus::Failed, problem};

  const EExitStatus status = DecideStatus(data, nullptr);
  std::vector<size_t> columns = ListShownColumns(*table, data.GetRules(), arguments.withSystemTables);
  std::erase_if(columns, [&shown](size_t column) { return column >= shown.columnCount; });
  if (!arguments.isJson)
    return EndRecovery(session, DrawRows(shown, *table, data.source, columns, OutputStyle()), status);
  return EndRecovery(
      session,
      Json{{"table", DescribeTable(*table, data, arguments)}, {"rows", DescribeRows(shown, columns)}},
      status);
}

}  // namespace tolvane
