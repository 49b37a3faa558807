// The result of one repair run: the recovered tables, the saved-query objects and what was lost on the way.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/AccessTable.h"
#include "model/DamageLedger.h"
#include "model/RecoveryRules.h"
#include "query/QuerySysObject.h"
#include "query/TList.h"

namespace tolvane {

// What the header told about the damaged file.
struct SSourceFacts {
  bool isJet3 = false;
  uint32_t pageSize = 4096;
  uint8_t versionByte = 0;
  uint32_t codePage = 1252;  // of Jet 3 texts
  // Of texts: the language, and its version in the top byte; 0 where that is not known.
  uint32_t sortOrder = 0;
  bool hasPassword = false;
  uint64_t start = 0;       // bytes in front of the first page
  uint64_t length = 0;      // bytes from there on
  uint64_t pageCount = 0;   // whole pages
  uint64_t movedPages = 0;  // that stand elsewhere than their number says
  // Where further databases start in the file, in bytes from its first one.
  std::vector<uint64_t> otherStarts{};
};

// An object of the catalogue that no repair brings back.
enum class EOtherObject : uint8_t { Form, Report, Macro, Module, LinkedTable, OdbcTable };
struct SOtherObject {
  EOtherObject kind;
  std::u16string name;
};

// A link to a table of another file, which has no definition here.
struct SFileLink {
  std::u16string name;
  STableLink link;
  std::vector<SProperty> properties;
};

// A document of the database that consists of properties: "MSysDb" (the database itself), "SummaryInfo",
// "UserDefined".
struct SDatabaseDocument {
  std::u16string name;
  std::vector<SProperty> properties;
};

// Destroying it deletes the tables' data files and the OLE side files.
class CAccessData {
 public:
  // The rules that the run goes by are copied. `workFolder` holds the run's files, with its separator at the
  // end.
  CAccessData(const SRecoveryRules& rules, std::u16string workFolder)
      : m_rules(rules),
        m_workFolder(std::move(workFolder)),
        m_tables(m_workFolder),
        m_ledger(rules.tellReasons) {}
  virtual ~CAccessData();

  [[nodiscard]] const SRecoveryRules& GetRules() const { return m_rules; }
  [[nodiscard]] CAccessTableList& GetTables() { return m_tables; }
  [[nodiscard]] const CAccessTableList& GetTables() const { return m_tables; }
  [[nodiscard]] CTList<CQuerySysObject>& GetQueryObjects() { return m_queryObjects; }
  [[nodiscard]] const CTList<CQuerySysObject>& GetQueryObjects() const { return m_queryObjects; }
  [[nodiscard]] CDamageLedger& GetLedger() { return m_ledger; }
  [[nodiscard]] const CDamageLedger& GetLedger() const { return m_ledger; }

  [[nodiscard]] const std::u16string& GetWorkFolder() const { return m_workFolder; }

  // Objects that are no tables, queries or relationships of the user's, as the catalogue lists them; each
  // name of a kind once.
  [[nodiscard]] const std::vector<SOtherObject>& GetOtherObjects() const { return m_otherObjects; }
  void NoteOtherObject(EOtherObject kind, std::u16string_view name);

  // Of tables in the catalogue whose definitions are gone, by the page that these stood on.
  [[nodiscard]] const std::map<uint64_t, std::u16string>& GetLostTables() const { return m_lostTables; }
  void NoteLostTable(uint64_t page, std::u16string_view name);

  std::u16string sourcePath;  // of the damaged file
  SSourceFacts source;
  // Of the catalogue, where the rules ask for them.
  std::vector<SFileLink> fileLinks;
  std::vector<SDatabaseDocument> documents;

 private:
  const SRecoveryRules m_rules;
  const std::u16string m_workFolder;
  CAccessTableList m_tables;
  CTList<CQuerySysObject> m_queryObjects;
  CDamageLedger m_ledger;
  std::vector<SOtherObject> m_otherObjects;
  std::set<std::pair<EOtherObject, std::u16string>> m_knownObjects;
  std::map<uint64_t, std::u16string> m_lostTables;
};

}  // namespace tolvane
