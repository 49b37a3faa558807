// The entry into the file engine: one call repairs one damaged file.
//
// What a run promises: the source is opened for reading only; nothing is thrown and nothing shown; every loop
// is bounded by the file's length; the same input gives the same output; damage costs the page, row or value
// that it hit and is counted in the result's ledger. Status text, log lines, progress and the stop request
// pass through the job that the run belongs to.
#pragma once

#include <memory>
#include <string>

#include "engine/Source.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"

namespace tolvane {

class CAccessProcessFile;

class CAccessRepair {
 public:
  // Rules and job must outlive the object; the result carries a copy of the rules.
  CAccessRepair(const SRecoveryRules& rules, CJobContext& job);
  ~CAccessRepair();

  // Blocks until the run ends. `scanPath` is the file that holds the definitions: the source itself or a
  // healthy database of the same structure. The job must be repairing; stopping it stops the run, which then
  // leaves no result. The second text is not used.
  void Repair(std::u16string sourcePath, std::u16string unused, std::u16string scanPath);
  // The same for files that are open already: the damaged one and the one that holds the definitions, which
  // may be the same object. A template is read in the page format of the damaged file.
  void Repair(CSource& source, CSource& definitions);

  // Null before the first run and after a stopped one. Owned here until taken.
  [[nodiscard]] CAccessData* GetData() const { return m_data.get(); }
  std::unique_ptr<CAccessData> TakeData() { return std::move(m_data); }

 private:
  void Start(CSource& source, CSource& definitions);
  void FileSwapped(const PagePairs& pairs);
  // Steps 1 and 2, and the rest. False when the run was stopped.
  bool ReadDefinitions();
  bool ReadTables();

  const SRecoveryRules& m_rules;
  CJobContext& m_job;
  std::unique_ptr<CAccessData> m_data;
  std::unique_ptr<CAccessProcessFile> m_parser;
};

}  // namespace tolvane
