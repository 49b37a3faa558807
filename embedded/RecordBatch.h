// Records of one table put together ahead of being stored, as the bytes of their rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "dao/dao.h"
#include "embedded/RowFields.h"
#include "format/Definition.h"
#include "format/RowEncoder.h"

namespace tolvane {

// Reads nothing of the table but its columns and layout, which stay as they are while the recordset is open.
class CRecordBatch : public CDaoRecordBatch {
 public:
  // Whether records of the table ever stand in a row alone and follow from what is set.
  static bool IsPossible(const STableDefinition& definition);

  // Both outlive the batch. `fields`: by field, the position of its column in the definition.
  CRecordBatch(const SLayout& layout, const STableDefinition& definition, std::span<const size_t> fields);

  void Clear() override;
  void AddNew() override;
  bool SetFieldValue(size_t index, const SValue& value) override;
  bool Update() override;
  [[nodiscard]] std::span<const uint8_t> GetRow(size_t record) const {
    const size_t start = record == 0 ? 0 : m_records[record - 1].end;
    return std::span(m_rows).subspan(start, m_records[record].end - start);
  }
  // Its AutoNumber; 0 where the table has none.
  [[nodiscard]] int32_t GetAutoNumber(size_t record) const { return m_records[record].autoNumber; }

 private:
  struct SRecord {
    size_t end = 0;  // in m_rows
    int32_t autoNumber = 0;
  };

  const STableDefinition& m_definition;
  const std::span<const size_t> m_fields;
  const SColumnDefinition* m_autoNumber = nullptr;
  CRowFields m_values;
  CRowEncoder m_row;
  int32_t m_number = 0;  // of the record being put together
  std::vector<uint8_t> m_rows;
  std::vector<SRecord> m_records;
};

}  // namespace tolvane
