// Adds rows to one table. Values are stored as they are set, through buffers that are used again for every
// row.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "embedded/EmbeddedFile.h"
#include "embedded/RecordBatch.h"
#include "embedded/RowFields.h"

namespace tolvane {

class CEmbeddedRecordset : public CDaoRecordset {
 public:
  // `name` is the table's, for messages.
  CEmbeddedRecordset(std::shared_ptr<CEmbeddedFile> file, std::shared_ptr<CTableStore> table,
                     std::u16string_view name);
  ~CEmbeddedRecordset() override;

  CDaoResult AddNew() override;
  CDaoResult SetFieldValue(size_t index, const SValue& value) override;
  CDaoResult SetFieldValue(size_t index, CDaoByteSource& bytes) override;
  CDaoResult Update() override;
  [[nodiscard]] std::unique_ptr<CDaoRecordBatch> MakeBatch() override;
  CDaoResult StoreRecord(const CDaoRecordBatch& batch, size_t record) override;
  [[nodiscard]] uint64_t GetReplacedCount() const override { return m_replaced; }
  [[nodiscard]] uint64_t GetChangedIndexCount() const override { return m_changedIndexes; }
  // Ok carries a text when characters had to be replaced.
  CDaoResult Close() override;

 private:
  [[nodiscard]] bool CanSetField(size_t index) const;
  // Why such a field cannot be set.
  [[nodiscard]] CDaoResult RefuseField() const;
  CDaoResult SetText(const SColumnDefinition& column, std::span<const uint8_t> units);
  CDaoResult SetMemo(size_t index, std::u16string_view text);
  // What a value lost that was set; the refusal of one that was not.
  CDaoResult Note(CDaoResult set, const STextLoss& loss);
  CDaoResult SetBytes(const SColumnDefinition& column, const SValue& value);
  CDaoResult SetCalculated(size_t index, const SValue& value);
  CDaoResult SetDefaults();
  CDaoResult SetComplexNumbers();
  // Fields count in the order of their numbers, in which they were created.
  [[nodiscard]] const SColumnDefinition& ColumnAt(size_t index) const {
    return m_table->GetDefinition().columns[m_positions[index]];
  }
  CDaoResult SetAutoNumber();

  [[nodiscard]] CLongValueWriter& LongValuesAt(size_t index) const {
    return *m_table->GetLongValues(m_positions[index]);
  }

  std::shared_ptr<CEmbeddedFile> m_file;
  std::shared_ptr<CTableStore> m_table;  // null when closed
  std::u16string m_name;
  CRowFields m_fields;
  uint64_t m_replaced = 0;  // characters in stored rows that the format cannot hold
  uint64_t m_replacedInRow = 0;
  uint64_t m_changedIndexes = 0;   // known when closed
  std::u16string m_text;           // the long text being set
  std::vector<uint8_t> m_storage;  // of a calculated value
  const SColumnDefinition* m_autoNumber = nullptr;
  std::vector<const SColumnDefinition*> m_autoGuids;
  std::vector<const SColumnDefinition*> m_complexColumns;
  std::vector<size_t> m_calculated;  // fields
  std::vector<size_t> m_positions;   // of the fields in the definition
  int32_t m_complexValue = 0;        // the present row's number in complex columns; 0: none yet
  int32_t m_autoValue = 0;           // of the present row
  bool m_isAdding = false;
};

}  // namespace tolvane
