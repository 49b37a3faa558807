#include "engine/RecordWriter.h"

#include "render/StandardText.h"
#include "store/ValueRecord.h"

namespace tolvane {

void CRecordWriter::Take(std::span<const uint8_t> bytes) {
  if (!m_hasBegun) m_file.BeginRecord();
  m_hasBegun = true;
  m_file.AppendToRecord(bytes);
}

bool CRecordWriter::Write(const SValue& value) {
  if (m_hasBegun) {
    m_hasBegun = false;
    m_file.AppendToRecord(value.bytes);
    m_file.EndRecord();
    return true;
  }
  if (m_rules.recordsHoldTexts) return WriteText(value);
  if (!value.isNull && !value.isResult) {
    m_file.WriteRecord(value.bytes);
    return true;
  }
  m_record.Clear();
  AppendValue(value, m_record);
  m_file.WriteRecords(m_record.GetBytes(0, m_record.GetSize()));
  return true;
}

bool CRecordWriter::WriteText(const SValue& value) {
  // A text's bytes are its record.
  if (!value.isNull && (IsTextType(value.type) || value.type == kTypeOle)) {
    m_file.WriteRecord(
        value.bytes.first(std::min(value.bytes.size(), 2 * CAccessTableDataFile::kMaximumUnits)));
    return true;
  }
  const bool hasText = MakeStandardText(value, m_rules, m_text);
  m_file.WriteValue(m_text);
  return hasText;
}

}  // namespace tolvane
