#include "cli/TextTable.h"

#include <algorithm>
#include <utility>

#include "cli/DisplayText.h"

namespace tolvane {

namespace {
constexpr size_t kGap = 2;
constexpr size_t kNarrowest = 5;
constexpr size_t kWrapRoom = 26;
}  // namespace

void CTextTable::AddRow(std::vector<std::string> cells) {
  cells.resize(m_columns.size());
  m_rows.push_back(std::move(cells));
}

std::vector<size_t> CTextTable::MeasureColumns() const {
  std::vector<size_t> widths;
  for (const SColumn& column : m_columns) widths.push_back(DisplayWidth(column.heading));
  for (const auto& row : m_rows)
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  return widths;
}

bool CTextTable::FitColumns(std::vector<size_t>& widths, size_t room) {
  size_t total = kGap * (widths.size() - 1);
  size_t widest = kNarrowest;
  size_t least = total;
  for (const size_t width : widths) {
    total += width;
    widest = std::max(widest, width);
    least += std::min(width, kNarrowest);
  }
  if (least > room) return false;
  // Cut all columns down to one limit, the largest that fits.
  const auto totalAt = [&](size_t limit) {
    size_t sum = kGap * (widths.size() - 1);
    for (const size_t width : widths) sum += std::min(width, limit);
    return sum;
  };
  size_t low = kNarrowest;
  size_t high = widest;
  while (low < high) {
    const size_t middle = (low + high + 1) / 2;
    if (totalAt(middle) <= room) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  for (size_t& width : widths) width = std::min(width, low);
  return true;
}

bool CTextTable::FitAll(std::vector<size_t>& widths, size_t room) const {
  if (m_columns.back().align != EAlign::Wrapped) return FitColumns(widths, room);
  const size_t wanted = widths.back(), least = std::min(wanted, kWrapRoom) + kGap;
  widths.pop_back();
  if (room < least || !FitColumns(widths, room - least)) return false;
  size_t used = kGap * widths.size();
  for (const size_t width : widths) used += width;
  widths.push_back(std::min(wanted, room - used));
  return true;
}

void CTextTable::AppendLine(const std::vector<std::string>& cells, const std::vector<size_t>& widths,
                            const std::string& indent, std::string& out) const {
  std::string line = indent;
  for (size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) line.append(kGap, ' ');
    if (m_columns[i].align == EAlign::Wrapped) {
      const size_t used = DisplayWidth(line);
      line += WrapWords(cells[i], used, used + widths[i]);
      continue;
    }
    std::string cell = Shorten(cells[i], widths[i]);
    line += m_columns[i].align == EAlign::Right ? PadLeft(std::move(cell), widths[i])
                                                : PadRight(std::move(cell), widths[i]);
  }
  while (!line.empty() && line.back() == ' ') line.pop_back();
  out += line + "\n";
}

std::string CTextTable::Draw(size_t width, const std::string& indent) const {
  if (m_columns.empty()) return {};
  std::vector<size_t> widths = MeasureColumns();
  const size_t room = width > indent.size() ? width - indent.size() : 0;
  if (width != kAnyWidth && !FitAll(widths, room)) return DrawBlocks(width, indent);
  std::vector<std::string> headings;
  std::vector<std::string> rules;
  for (size_t i = 0; i < m_columns.size(); ++i) {
    headings.push_back(m_columns[i].heading);
    rules.emplace_back(widths[i], '-');
  }
  std::string out;
  AppendLine(headings, widths, indent, out);
  AppendLine(rules, widths, indent, out);
  for (const auto& row : m_rows) AppendLine(row, widths, indent, out);
  return out;
}

std::string CTextTable::DrawBlocks(size_t width, const std::string& indent) const {
  size_t widest = 0;
  for (const SColumn& column : m_columns) widest = std::max(widest, DisplayWidth(column.heading));
  widest = std::min(widest, width / 3);
  const size_t used = indent.size() + widest + kGap;
  const size_t room = width > used + kNarrowest ? width - used : kNarrowest;
  std::string out;
  for (size_t i = 0; i < m_rows.size(); ++i) {
    if (i > 0) out += "\n";
    out += indent + "Row " + std::to_string(i + 1) + "\n";
    for (size_t column = 0; column < m_columns.size(); ++column) {
      const std::string heading = PadRight(Shorten(m_columns[column].heading, widest), widest + kGap);
      const bool isWrapped = m_columns[column].align == EAlign::Wrapped;
      std::string line =
          indent + heading +
          (isWrapped ? WrapWords(m_rows[i][column], used, used + room) : Shorten(m_rows[i][column], room));
      while (!line.empty() && line.back() == ' ') line.pop_back();
      out += line + "\n";
    }
  }
  return out;
}

}  // namespace tolvane
