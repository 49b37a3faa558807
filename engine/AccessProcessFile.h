// The parser of the pages: the steps of one repair run, in the slots that the driver calls.
//
// Both page formats go through the same steps by their layout table; only Jet 4 and later have complex
// columns. A parser lives for one run, on one thread. A step does nothing with a source that is not open, and
// every step leaves early once the repair is stopped.
#pragma once

#include <vector>

#include "engine/PageClaims.h"
#include "engine/PageNotes.h"
#include "engine/PageTwins.h"
#include "engine/Source.h"
#include "engine/TemplateMatch.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"

namespace tolvane {

class CAccessProcessFile {
 public:
  virtual ~CAccessProcessFile() = default;

  // The damaged file, and the file that holds the definitions: the same object, or a template. Both are set
  // before the first step and outlive the parser.
  void SetSourcePath(CSource& source) { m_source = &source; }
  void SetScanPath(CSource& definitions) { m_definitions = &definitions; }

  void ScanTableDefinitions(CAccessData& data);  // step 1
  // After step 1: removes candidates that only continue another table's definition.
  void DropContinuationDefinitions(CAccessData& data);
  void ScanDataPages(CAccessData& data);  // step 2
  // Decodes the candidates' columns and indexes.
  void ParseTableDefinitions(CAccessData& data);
  void SortColumns(CAccessData& data);
  void ParseRecords(CAccessData& data);     // step 3
  void ParseTableNames(CAccessData& data);  // step 4
  // After step 4: what hides behind the complex columns.
  virtual void ParseComplexColumns(CAccessData& data) = 0;

 protected:
  // Rules and job outlive the parser.
  CAccessProcessFile(const SRecoveryRules& rules, CJobContext& job) : m_job(job), m_rules(rules) {}
  [[nodiscard]] const SLayout& GetLayout() const { return m_source->GetLayout(); }

  CJobContext& m_job;

 private:
  const SRecoveryRules& m_rules;
  CSource* m_source = nullptr;
  CSource* m_definitions = nullptr;
  std::vector<SHomelessPage> m_homeless;
  PageNotes m_notes;  // between steps 1 and 2
  CPageTwins m_twins;
  CTemplateMatch m_match;
};

class CAccessProcessFileJet3 : public CAccessProcessFile {
 public:
  CAccessProcessFileJet3(const SRecoveryRules& rules, CJobContext& job) : CAccessProcessFile(rules, job) {}
  void ParseComplexColumns(CAccessData& /*data*/) override {}
};

class CAccessProcessFileJet4 : public CAccessProcessFile {
 public:
  CAccessProcessFileJet4(const SRecoveryRules& rules, CJobContext& job) : CAccessProcessFile(rules, job) {}
  void ParseComplexColumns(CAccessData& data) override;

 private:
  void ReadComplexColumns(CAccessData& data) const;
};

}  // namespace tolvane
