// The parsers of the two page formats: the steps of one repair run, in the slots that the driver calls.
//
// Both formats go through the same steps; they differ in their layout table and in that only Jet 4 and later
// have complex columns. A parser lives for one run, on one thread. A step that cannot open its file does
// nothing; every step leaves early once the repair is stopped.
#pragma once

#include <string>

#include "engine/JetLayout.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"

namespace tolvane {

class CAccessProcessFile {
 public:
  CAccessProcessFile() = default;
  CAccessProcessFile(const CAccessProcessFile&) = delete;
  CAccessProcessFile& operator=(const CAccessProcessFile&) = delete;

  // After step 4: what hides behind the complex columns.
  virtual void ParseComplexColumns(CAccessData& data);
  // After step 1: removes candidates that only continue another table's definition.
  virtual void DropContinuationDefinitions(CAccessData& data);
  // The file that step 1 reads.
  virtual void SetScanPath(std::u16string path);
  virtual void ParseTableNames(CAccessData& data);  // step 4
  virtual void ParseRecords(CAccessData& data);     // step 3
  // Decodes the candidates' columns and indexes.
  virtual void ParseTableDefinitions(CAccessData& data);
  virtual void SortColumns(CAccessData& data);
  virtual void ScanDataPages(CAccessData& data);         // step 2
  virtual void ScanTableDefinitions(CAccessData& data);  // step 1
  // The damaged file.
  virtual void SetSourcePath(std::u16string path);
  virtual ~CAccessProcessFile() = default;
};

// The steps as both formats have them.
class CAccessPageParser : public CAccessProcessFile {
 public:
  // Both arguments outlive the parser.
  CAccessPageParser(const SJetLayout& layout, const SRecoveryRules& rules);

  void DropContinuationDefinitions(CAccessData& data) override;
  void SetScanPath(std::u16string path) override { m_scanPath = std::move(path); }
  void ParseTableNames(CAccessData& data) override;
  void ParseRecords(CAccessData& data) override;
  void ParseTableDefinitions(CAccessData& data) override;
  void SortColumns(CAccessData& data) override;
  void ScanDataPages(CAccessData& data) override;
  void ScanTableDefinitions(CAccessData& data) override;
  void SetSourcePath(std::u16string path) override { m_sourcePath = std::move(path); }

 protected:
  [[nodiscard]] const SJetLayout& GetLayout() const { return m_layout; }

 private:
  void CountMissingRows(CAccessData& data) const;

  const SJetLayout& m_layout;
  const SRecoveryRules& m_rules;
  std::u16string m_scanPath;
  std::u16string m_sourcePath;
};

class CAccessProcessFileJet3 : public CAccessPageParser {
 public:
  explicit CAccessProcessFileJet3(const SRecoveryRules& rules) : CAccessPageParser(kJet3Layout, rules) {}
};

class CAccessProcessFileJet4 : public CAccessPageParser {
 public:
  explicit CAccessProcessFileJet4(const SRecoveryRules& rules) : CAccessPageParser(kJet4Layout, rules) {}
  void ParseComplexColumns(CAccessData& data) override;
};

}  // namespace tolvane
