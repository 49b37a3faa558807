// A table of aligned columns for a terminal or a pipe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace tolvane {

// Wrapped: of the last column, shown whole over several lines where it is too wide.
enum class EAlign : uint8_t { Left, Right, Wrapped };

class CTextTable {
 public:
  static constexpr size_t kAnyWidth = 0;
  struct SColumn {
    std::string heading;
    EAlign align = EAlign::Left;
  };

  CTextTable(std::initializer_list<SColumn> columns = {}) : m_columns(columns) {}
  void AddColumn(SColumn column) { m_columns.push_back(std::move(column)); }
  // One cell a column, as ToDisplay makes them.
  void AddRow(std::vector<std::string> cells);
  [[nodiscard]] size_t GetRowCount() const { return m_rows.size(); }

  // Lines of at most `width` columns: the widest cells are shortened first. Where even the narrowest columns
  // do not fit beside each other, every row becomes a block with one line a column. Each line begins with
  // `indent`.
  [[nodiscard]] std::string Draw(size_t width, const std::string& indent = {}) const;

 private:
  [[nodiscard]] std::vector<size_t> MeasureColumns() const;
  // False when the columns cannot be made narrow enough.
  static bool FitColumns(std::vector<size_t>& widths, size_t room);
  [[nodiscard]] std::string DrawBlocks(size_t width, const std::string& indent) const;
  // The same, where a wrapped last column takes the room that the others leave.
  [[nodiscard]] bool FitAll(std::vector<size_t>& widths, size_t room) const;
  void AppendLine(const std::vector<std::string>& cells, const std::vector<size_t>& widths,
                  const std::string& indent, std::string& out) const;

  std::vector<SColumn> m_columns;
  std::vector<std::vector<std::string>> m_rows;
};

}  // namespace tolvane
