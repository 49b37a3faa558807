// The records of the preview, filled by the preview's thread and read by the window that draws them.
//
// Of a row only the place in the table's data file is kept, eight bytes; its cells are read when somebody
// looks at them. Where cells depend on the rows before, they lie one after the other in a file of the work
// folder, of which a few blocks are in memory. So a table of a million rows, or one with huge memos, costs
// little memory, and any row is there at once. Thread-safe: one writer, one reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/AccessData.h"
#include "render/LocalText.h"
#include "store/ObjectPlace.h"
#include "store/PreviewList.h"

namespace tolvane {

class CRecordStore : public CPreviewList {
 public:
  struct SColumn {
    std::u16string heading;
    int32_t width = 0;  // in pixels at 96 DPI
    bool isNumber = false;
  };

  CRecordStore();
  ~CRecordStore() override;

  // CPreviewList: called by the preview's thread. Cells of an item are set in ascending order before the next
  // item is inserted.
  void InsertColumn(size_t index, std::u16string_view heading, int32_t width) override;
  void InsertItem(size_t index) override;
  void SetItemText(size_t item, size_t column, std::u16string_view text) override;
  void SetItemPlace(size_t item, uint64_t place) override;
  [[nodiscard]] bool ReadsCells() const override;

  // Before the preview's thread starts: the table whose rows come, and the result that it is of. Both must
  // stay until the next Clear; without them there are no whole cells, and headings are not spelt for people.
  void SetTable(const CAccessTable& table, const CAccessData& data);

  // Called by the window. Columns are complete as soon as there is one item or the preview has finished.
  [[nodiscard]] std::vector<SColumn> GetColumns() const;
  // Items whose cells are all there and those whose last cells still come.
  [[nodiscard]] size_t GetItemCount() const override;
  // How dates and numbers are shown from now on, where the rules keep them as values.
  void SetLocalText(CLocalText local);
  // What the list shows; `maxUnits` shortens it further.
  [[nodiscard]] std::u16string GetCell(size_t item, size_t column, size_t maxUnits = SIZE_MAX) const;
  // The same, but of a memo that the list shows in part all of it, read from the table's data file.
  [[nodiscard]] std::u16string GetWholeCell(size_t item, size_t column, size_t maxUnits = SIZE_MAX) const;
  // The same for other programs: dates and numbers as every region writes them.
  [[nodiscard]] std::u16string GetPlainCell(size_t item, size_t column, size_t maxUnits = SIZE_MAX) const;
  // Appends the item's first plain cells, separated by tabs; tabs and line breaks inside become blanks.
  void AppendLine(size_t item, size_t columns, std::u16string& line) const;
  // The text as the table's data file holds it, which the preview may show otherwise.
  [[nodiscard]] std::u16string GetStoredText(size_t item, size_t column) const;
  // Where the bytes of an OLE object are; without a path where there is none.
  [[nodiscard]] SObjectPlace GetObjectPlace(size_t item, size_t column) const;
  // Removes all rows, then all columns. Not while the preview's thread runs.
  void Clear();
  // Changes with every Clear.
  [[nodiscard]] uint32_t GetGeneration() const;
  // Why there are no more rows than these although the table has more, in the system's words; empty when all
  // came.
  [[nodiscard]] std::u16string GetProblem() const;

  struct SPlace {
    size_t item = 0;
    size_t column = 0;
  };
  // Rows that were read so far; 0 where cells are kept.
  [[nodiscard]] uint64_t GetRowsRead() const;

  // The next cell after `from` (or, without it, from the first cell) that holds `text`, ignoring case, memos
  // in full, dates and numbers as shown or plain; wraps round, and looks at the rest of the first item again
  // at the end. Looks at no more than `maxItems` items, so that a window stays alive: `from` of the next call
  // is then `lookedTo`, the last cell that was looked at. Whoever calls counts the items: after
  // GetItemCount() + 1 of them there is no such cell.
  [[nodiscard]] std::optional<SPlace> Find(std::u16string_view text, std::optional<SPlace> from,
                                           size_t maxItems, SPlace& lookedTo) const;

 private:
  class CState;
  std::unique_ptr<CState> m_state;
};

// Appends a text as one cell of one line: its tabs and line breaks would begin new ones.
void AppendInOneLine(std::u16string& line, std::u16string_view text);

}  // namespace tolvane
