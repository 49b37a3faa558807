// Sets columns of the row that a table store is putting together, by column number.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "embedded/StoredText.h"
#include "embedded/TableStore.h"
#include "format/Bytes.h"

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
  // System tables never compress.
  void SetText(uint16_t column, std::u16string_view text) {
    std::vector<uint8_t> bytes;
    m_loss.Add(AppendStoredText(m_table.GetLayout().text, text, ETextForm::PlainIfPossible, bytes));
    SetBytes(column, bytes);
  }
  CDaoResult SetMemo(uint16_t column, std::u16string_view text) {
    STextLoss loss;
    CDaoResult result = LongValues(column).SetText(text, m_table.GetRow(), loss);
    m_loss.Add(loss);
    return result;
  }
  CDaoResult SetLongBytes(uint16_t column, std::span<const uint8_t> bytes) {
    return LongValues(column).SetBytes(bytes, m_table.GetRow());
  }
  // Of all texts.
  [[nodiscard]] const STextLoss& GetLoss() const { return m_loss; }

 private:
  CLongValueWriter& LongValues(uint16_t column) {
    const std::vector<SColumnDefinition>& columns = m_table.GetDefinition().columns;
    size_t position = 0;
    while (columns[position].number != column) position++;
    return *m_table.GetLongValues(position);
  }

  CTableStore& m_table;
  STextLoss m_loss;
};

}  // namespace tolvane
