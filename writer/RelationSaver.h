// The relationships step of a save. What is recovered is read in its place between the saved queries and the
// rows; the relations are created when the rows are there, because only rows that satisfy a relation let it
// be enforced. Another one is created all the same, but not enforced.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "dao/dao.h"
#include "model/AccessData.h"
#include "writer/LinkSaver.h"
#include "writer/RelationReader.h"
#include "writer/SafeName.h"
#include "writer/SavedTable.h"

namespace tolvane {

class CRelationSaver {
 public:
  // All must outlive the saver.
  CRelationSaver(const CAccessData& data, SSaveSummary& summary, CJobContext& job)
      : m_data(data), m_summary(summary), m_job(job) {}

  // False when the rows cannot be read or the save was stopped; then there is nothing to create.
  bool Read();
  // Into the tables as they were saved, under their new names. What the database engine refuses is counted.
  ESaveStep Create(CDaoDatabase& database, const std::vector<SSavedTable>& tables, const LinkNames& links);

 private:
  struct SEnd {
    std::u16string_view name;            // in the new database
    const SSavedTable* table = nullptr;  // null for a link, whose columns are not known
  };
  using Tables = std::unordered_map<std::u16string, SEnd>;  // by folded recovered name

  // Empty on success, else what is missing.
  static std::u16string Describe(const SRecoveredRelation& relation, const Tables& tables,
                                 CDaoRelationInfo& info);
  CDaoResult TryCreate(CDaoDatabase& database, CDaoRelationInfo& info, std::u16string& weakness);
  ESaveStep CreateOne(CDaoDatabase& database, const SRecoveredRelation& relation, const Tables& tables);
  void TellChange(const SRecoveredRelation& relation, const std::u16string& name, const std::u16string& text);
  bool MayEnforce(const CDaoRelationInfo& info);
  void Lose(const SRecoveredRelation& relation, std::u16string_view reason);
  void Note(std::u16string text);

  const CAccessData& m_data;
  SSaveSummary& m_summary;
  CJobContext& m_job;
  std::vector<SRecoveredRelation> m_relations;
  CNameSet m_names;
  uint64_t m_notes = 0;
  std::unordered_map<std::u16string, int> m_enforced;  // relations of a table that were to be enforced
};

}  // namespace tolvane
