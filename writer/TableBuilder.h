// Creates the definition of one recovered table in the new database. What the database engine refuses is
// tried in another form, so that a bad name, type or index costs itself and not the table's rows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "dao/dao.h"
#include "status/JobContext.h"
#include "writer/FieldPlanner.h"
#include "writer/KeptProperties.h"
#include "writer/SafeName.h"
#include "writer/SavedTable.h"

namespace tolvane {

// Column names that are recovered as bytes, which no Jet 3 database accepts as they stand.
struct SByteNames {
  uint32_t codePage = 0;
  bool isSpeltAtOnce = false;  // without waiting for a refusal
};

// Works on one database; one object for all its tables.
class CTableBuilder {
 public:
  // `version` is the option with which the database was created.
  CTableBuilder(CDaoDatabase& database, const SRecoveryRules& rules, int32_t version, SSaveSummary& summary,
                CJobContext& job, const SByteNames& byteNames)
      : m_database(database),
        m_rules(rules),
        m_version(version),
        m_summary(summary),
        m_job(job),
        m_byteNames(byteNames),
        m_keptProperties(version) {}

  // Sets name, fields and, when the table exists afterwards, isCreated. A table that cannot be created is no
  // failure of the save: all its records count as lost.
  ESaveStep Build(SSavedTable& saved);

 private:
  enum class EIndexes : uint8_t { Create, LeaveOut };
  struct SAttempt {
    CDaoResult result;
    bool isStopped = false;
  };

  SAttempt TryBuild(SSavedTable& saved, EIndexes indexes);
  ESaveStep EndWithoutTable(SSavedTable& saved, const CDaoResult& result);
  CDaoResult AddFields(SSavedTable& saved, CDaoTableDef& tableDef, bool& isStopped);
  CDaoResult AddField(const CAccessColumn& column, SFieldPlan& plan, CDaoTableDef& tableDef);
  CDaoResult AddColumn(SSavedTable& saved, size_t column, CFieldPlanner& planner, CDaoTableDef& tableDef);
  CDaoResult AddComplexColumn(SSavedTable& saved, size_t entry, CDaoTableDef& tableDef);
  CDaoResult AddKeyColumn(SSavedTable& saved, size_t entry, CDaoTableDef& tableDef);
  CDaoResult AddPlanned(SSavedTable& saved, size_t column, SFieldPlan& plan, CDaoTableDef& tableDef);
  CDaoResult RetryField(CDaoResult refusal, const CAccessColumn& column, SFieldPlan& plan,
                        CDaoTableDef& tableDef);
  CDaoResult AddOwnProperties(const CAccessTable& table, CDaoTableDef& tableDef);
  void TellLostProperties(std::u16string_view what, std::u16string_view name);
  CDaoResult AddIndexes(const SSavedTable& saved, CDaoTableDef& tableDef);
  [[nodiscard]] bool IsOfComplexField(const SSavedTable& saved, const CAccessTableIndex& index) const;
  bool DescribeIndex(const SSavedTable& saved, const CAccessTableIndex& index, CDaoIndexInfo& info) const;
  void Note(std::u16string_view what, std::u16string_view name, std::u16string text);
  void KeepNotes(const SSavedTable& saved);

  CDaoDatabase& m_database;
  const SRecoveryRules& m_rules;
  const int32_t m_version;
  SSaveSummary& m_summary;
  CJobContext& m_job;
  const SByteNames m_byteNames;
  CKeptProperties m_keptProperties;
  CNameSet m_tableNames;
  // Of the attempt that runs.
  CNameSet m_fieldNames;
  std::unordered_map<uint16_t, size_t> m_columnByNumber;  // the first one of each number
  std::vector<SValueKind> m_resultTypes;                  // by column
  std::vector<uint16_t> m_positions;                      // by column
  std::vector<std::u16string> m_notes;
  size_t m_fieldCount = 0;
  uint64_t m_columnsLost = 0;
  uint64_t m_columnsChanged = 0;
  uint64_t m_propertiesLost = 0;
  uint64_t m_indexesLost = 0;
  uint64_t m_namesUnfolded = 0;
};

}  // namespace tolvane
