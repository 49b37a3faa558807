// Step 3 of a repair: cuts the data pages of every table into rows and writes the rows' values to the tables'
// data files.
//
// Promises: a row is written whole or not at all (only a disk error can leave a part, at the end of a file,
// and then the table is given up, logged and counted); a page costs a bounded amount of work and output,
// whatever its row offsets say; nothing is thrown.
#pragma once

#include "engine/PageClaims.h"
#include "engine/Source.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"

namespace tolvane {

class CRecordParser {
 public:
  // The rules outlive the parser.
  explicit CRecordParser(const SRecoveryRules& rules) : m_rules(rules) {}

  // Nothing is done with a source that is not open. Pages that a table claims are adopted where they hold
  // rows of it. Returns early when the repairing flag is cleared.
  void ParseRecords(CAccessData& data, CSource& source, CPageClaims& claims) const;

 private:
  const SRecoveryRules& m_rules;
};

}  // namespace tolvane
