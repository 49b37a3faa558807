// Step 3 of a repair: cuts the data pages of every table into rows and writes the rows' values to the tables'
// data files.
//
// Promises: a row is written whole or not at all (only a disk error can leave a part, at the end of a file,
// and then the table is given up, logged and counted); a page costs a bounded amount of work and output,
// whatever its row offsets say; nothing is thrown.
#pragma once

#include "engine/IndexWitness.h"
#include "engine/PageClaims.h"
#include "engine/Source.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"

namespace tolvane {

class CRecordParser {
 public:
  // Rules and job outlive the parser.
  CRecordParser(const SRecoveryRules& rules, CJobContext& job) : m_rules(rules), m_job(job) {}

  // Nothing is done with a source that is not open. Pages that a table claims are adopted where they hold
  // rows of it. `witness` hears each table, where the definitions are the source's own. Returns early when
  // the job is stopped.
  void ParseRecords(CAccessData& data, CSource& source, CPageClaims& claims,
                    CIndexWitness* witness = nullptr) const;

 private:
  void ShowTable(uint64_t position, uint64_t count) const;

  const SRecoveryRules& m_rules;
  CJobContext& m_job;
};

}  // namespace tolvane
