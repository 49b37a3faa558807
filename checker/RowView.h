// One row, cut into its columns.
//
//   Jet 4:  u16 columns | fixed part | variable data | u16 end of data, offsets of the last ... first column
//           | u16 variable columns | null mask
//   Jet 3:  the same with bytes; offsets modulo 256, and between them and the count the jump bytes: for every
//   256
//           bytes of row length the index of the first offset behind that mark, FF for none
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "checker/CheckedTable.h"

namespace tolvane {

class CRowView {
 public:
  // Both must outlive the view.
  CRowView(const SLayout& layout, const SCheckedTable& table);

  // Takes over a row, whose bytes must outlive the view's use. False, with `problem`, when it is no row of
  // the table.
  bool Frame(std::span<const uint8_t> row, std::u16string& problem);

  // The stored bytes; nullopt is null. A boolean is one byte, 0 or 1.
  [[nodiscard]] std::optional<std::span<const uint8_t>> Get(const SCheckedColumn& column) const;
  [[nodiscard]] std::optional<std::span<const uint8_t>> Get(uint16_t number) const;

  [[nodiscard]] const SCheckedTable& GetTable() const { return m_table; }

  // Whether the row says that it has a value in the column, for rows of a table that is not at hand.
  static bool HasValue(const SLayout& layout, std::span<const uint8_t> row, uint16_t number);

 private:
  [[nodiscard]] bool IsPresent(uint16_t number) const {
    return number < m_columns && (m_row[m_maskAt + number / 8] >> (number % 8) & 1) != 0;
  }
  [[nodiscard]] size_t NumberAt(size_t at) const {
    return m_width == 1 ? m_row[at] : GetLittle<uint16_t>(m_row, at);
  }
  bool ReadOffsets(std::u16string& problem);
  bool CheckOffsets(size_t offsetsAt, std::u16string& problem) const;

  const SCheckedTable& m_table;
  const size_t m_width;               // bytes of counts and offsets
  const size_t m_jumpEvery;           // row bytes for each jump byte; 0 in Jet 4
  size_t m_fixedSize = 0;             // of all columns together
  bool m_hasAllColumns = true;        // none was ever deleted
  std::vector<uint16_t> m_fixedEnds;  // by column number: end of the fixed part that columns up to it need

  std::span<const uint8_t> m_row;
  size_t m_columns = 0, m_maskAt = 0, m_fixedEnd = 0, m_variables = 0;
  std::vector<uint32_t> m_offsets;  // m_variables + 1
};

}  // namespace tolvane
