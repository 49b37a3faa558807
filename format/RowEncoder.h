// One row while it is being put together, and its bytes. Reused from row to row; once it has grown to the
// widest row, setting values and writing rows allocate nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Definition.h"

namespace tolvane {

class CRowEncoder {
 public:
  // Both must outlive the encoder.
  CRowEncoder(const SLayout& layout, const STableDefinition& definition);

  // A new row: every column null, every boolean false.
  void Begin();
  // `bytes` in storage form: as long as the column for a fixed one.
  void Set(const SColumnDefinition& column, std::span<const uint8_t> bytes);
  // Variable columns only. The room for the value's bytes, to be filled before the next call.
  std::span<uint8_t> Reserve(const SColumnDefinition& column, size_t size);
  // Variable columns only: what was set; empty when nothing was.
  [[nodiscard]] std::span<const uint8_t> Get(const SColumnDefinition& column) const;
  void SetBoolean(const SColumnDefinition& column, bool value);
  [[nodiscard]] bool IsSet(const SColumnDefinition& column) const {
    return (m_mask[column.number / 8] >> (column.number % 8) & 1) != 0;
  }
  [[nodiscard]] size_t GetRowSize() const;
  [[nodiscard]] bool IsTooLong() const { return GetRowSize() > m_layout.row.longest; }
  // `row` has GetRowSize() bytes.
  void Write(std::span<uint8_t> row) const;

 private:
  struct SPiece {
    uint32_t offset = 0, size = 0;
  };
  // `at` is where the variable values begin.
  void WriteVariable(std::span<uint8_t> row, size_t at) const;
  void MarkSet(const SColumnDefinition& column) {
    m_mask[column.number / 8] = static_cast<uint8_t>(m_mask[column.number / 8] | 1u << (column.number % 8));
  }

  const SLayout& m_layout;
  const STableDefinition& m_definition;
  std::vector<uint8_t> m_fixed;
  std::vector<uint8_t> m_mask;
  std::vector<SPiece> m_variable;  // by variable index: where the value lies in m_bytes
  std::vector<uint8_t> m_bytes;
  size_t m_variableSize = 0;  // of all values together
};

// The stored bytes of one column in a row of this definition; nullopt is null. A boolean is one byte, 0 or 1.
// False when the row is not a sound row.
bool ReadRowColumn(const SLayout& layout, const STableDefinition& definition, std::span<const uint8_t> row,
                   const SColumnDefinition& column, std::optional<std::span<const uint8_t>>& value);

}  // namespace tolvane
