// Adds rows to a table of an installed engine.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "automation/AutomationObject.h"
#include "automation/EngineState.h"
#include "automation/RefusedRows.h"
#include "dao/dao.h"

namespace tolvane {

// Long values are handed over in pieces of this many bytes.
inline constexpr size_t kChunkBytes = size_t{32} * 1024;

class CAutomationRecordset : public CDaoRecordset {
 public:
  CAutomationRecordset(std::shared_ptr<SEngineState> state, AutomationObject database,
                       AutomationObject recordset, AutomationObject fields, std::u16string_view table);
  ~CAutomationRecordset() override;
  CAutomationRecordset(const CAutomationRecordset&) = delete;
  CAutomationRecordset& operator=(const CAutomationRecordset&) = delete;

  CDaoResult AddNew() override;
  CDaoResult SetFieldValue(size_t index, const SValue& value) override;
  CDaoResult SetFieldValue(size_t index, CDaoByteSource& bytes) override;
  // A row that the engine refuses for what is in it goes to the table of refused rows.
  CDaoResult Update() override;
  [[nodiscard]] bool ReadsTexts() const override { return true; }
  [[nodiscard]] uint64_t GetMovedCount() const override { return m_refused.GetCount(); }
  CDaoResult Close() override;

 private:
  struct SField {
    AutomationObject object;
    int16_t type = 0;
  };

  // Null where it cannot be used; `result` then says why.
  SField* Prepare(size_t index, CDaoResult& result);
  [[nodiscard]] bool IsCalculated(size_t index) const;
  void FixLocale(const SField& field, AutomationValue& value);
  CDaoResult PutChunks(const SField& field, CDaoByteSource& bytes, std::vector<uint8_t> first);
  void CancelRow();

  std::shared_ptr<SEngineState> m_state;
  AutomationObject m_recordset;  // null once closed
  AutomationObject m_fieldList;
  std::vector<SField> m_fields;  // those that were used
  std::vector<size_t> m_calculated;
  std::optional<SCounter> m_counter;
  int64_t m_number = 0;         // the counter's of the new row
  const std::u16string m_name;  // of the table
  CRefusedRows m_refused;
  bool m_isAdding = false;
};

}  // namespace tolvane
