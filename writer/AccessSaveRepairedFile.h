// Writes the recovered tables into a new database through the DAO operations: structure first, then the rows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "writer/dao.h"

namespace tolvane {

// What could not be saved of one table, for the log and the summary.
struct SSaveLoss {
  std::u16string table;
  uint64_t records = 0;  // records that could not be stored
  uint64_t fields = 0;   // single values that could not be stored in a stored record
  std::u16string reason; // the first one
};

struct SSaveSummary {
  uint64_t tablesSaved = 0;
  uint64_t recordsSaved = 0;
  uint64_t fieldsDropped = 0;  // values that the standard rules drop by design (byte and integer ranges)
  uint64_t emptyRowsDropped = 0;
  std::vector<SSaveLoss> losses;
  std::u16string failure;  // why the save as a whole ended early; empty when it did not
};

// Runs on the save thread. CSavingStatus must be saving; clearing it stops the save at the next value.
class CAccessSaveRepairedFile {
 public:
  CAccessSaveRepairedFile(CDaoEngine& engine, const SRecoveryRules& rules = kStandardRules);
  virtual ~CAccessSaveRepairedFile();
  CAccessSaveRepairedFile(const CAccessSaveRepairedFile&) = delete;
  CAccessSaveRepairedFile& operator=(const CAccessSaveRepairedFile&) = delete;

  // Not owned; must outlive the save.
  void SetData(const CAccessData* data) { m_data = data; }
  void SetOutputPath(std::u16string_view path) { m_outputPath = path; }

  // All steps in their order. False when the structure step failed or the save was stopped.
  bool Save();
  bool SaveStructure();
  bool SaveData();
  [[nodiscard]] const SSaveSummary& GetSummary() const { return m_summary; }

 private:
  CDaoEngine& m_engine;
  const SRecoveryRules& m_rules;
  const CAccessData* m_data = nullptr;
  std::u16string m_outputPath;
  SSaveSummary m_summary;
};

}  // namespace tolvane
