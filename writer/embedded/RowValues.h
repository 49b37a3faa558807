// Sets columns of the row that a table store is putting together, by column number.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "writer/embedded/LittleEndian.h"
#include "writer/embedded/TableStore.h"

namespace tolvane {

class CRowValues {
 public:
  // The row has been begun.
  explicit CRowValues(CTableStore& table) : m_table(table) {}

  template <class T>
  void SetNumber(uint16_t column, T value) {
    uint8_t bytes[sizeof(T)];
    PutLittle(std::span<uint8_t>(bytes), 0, value);
    SetBytes(column, bytes);
  }
  void SetBytes(uint16_t column, std::span<const uint8_t> bytes) {
    m_table.GetRow().Set(*m_table.GetDefinition().FindColumn(column), bytes);
  }
  // Plain UTF-16: system tables never compress.
  void SetText(uint16_t column, std::u16string_view text) {
    PutUnits(m_table.GetRow().Reserve(*m_table.GetDefinition().FindColumn(column), 2 * text.size()), text);
  }
  CDaoResult SetMemo(uint16_t column, std::u16string_view text) {
    const std::vector<SColumnDefinition>& columns = m_table.GetDefinition().columns;
    size_t position = 0;
    while (columns[position].number != column) position++;
    return m_table.GetLongValues(position)->SetText(text, m_table.GetRow());
  }

 private:
  CTableStore& m_table;
};

}  // namespace tolvane
