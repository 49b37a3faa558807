// One row of a table under check, cut into its columns.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "checker/CheckedTable.h"
#include "format/RowFrame.h"

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

  // Whether the row says that it has a value in the column, for rows of a table that is not at hand.
  static bool HasValue(const SLayout& layout, std::span<const uint8_t> row, uint16_t number);

 private:
  bool CheckOffsets(size_t fixedEnd, std::u16string& problem) const;

  const SCheckedTable& m_table;
  const size_t m_width;  // bytes of counts and offsets
  const SRowShape m_shape;
  bool m_hasAllColumns = true;        // none was ever deleted
  std::vector<uint16_t> m_fixedEnds;  // by column number: end of the fixed part that columns up to it need
  CRowFrame m_frame;
};

}  // namespace tolvane
