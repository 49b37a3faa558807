// Writes decoded values to a table's data file, in the form that the rules ask for. As a sink it takes the
// beginning of a long text, piece by piece, in front of the value that holds the rest.
#pragma once

#include <cstdint>
#include <string>

#include "engine/LongValueReader.h"
#include "format/Value.h"
#include "model/RecoveryRules.h"
#include "store/AccessTableDataFile.h"
#include "store/RecordBuffer.h"

namespace tolvane {

class CRecordWriter : public CLongValueSink {
 public:
  // Both outlive the writer.
  CRecordWriter(const SRecoveryRules& rules, CAccessTableDataFile& file) : m_rules(rules), m_file(file) {}

  // A piece of the text that the next value ends. Throws CFileCustException.
  void Take(std::span<const uint8_t> bytes) override;
  // False, with the record of an empty text, when the value has no text. Throws CFileCustException.
  bool Write(const SValue& value);

 private:
  bool WriteText(const SValue& value);

  const SRecoveryRules& m_rules;
  CAccessTableDataFile& m_file;
  std::u16string m_text;
  CRecordBuffer m_record;   // of a value that is not its bytes
  bool m_hasBegun = false;  // a text of which Take had pieces
};

}  // namespace tolvane
