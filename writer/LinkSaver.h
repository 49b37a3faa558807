// Brings links to tables of other files into the new database. Links to tables of servers have a definition
// and come with the tables.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "dao/dao.h"
#include "model/AccessData.h"
#include "status/JobContext.h"
#include "writer/KeptProperties.h"
#include "writer/SafeName.h"
#include "writer/SavedTable.h"

namespace tolvane {

// What links became, by their folded names in the damaged database.
using LinkNames = std::unordered_map<std::u16string, std::u16string>;

class CLinkSaver {
 public:
  // `version` is the option with which the database was created. The others must outlive the saver.
  CLinkSaver(CDaoDatabase& database, int32_t version, SSaveSummary& summary, CJobContext& job)
      : m_database(database), m_summary(summary), m_job(job), m_keptProperties(version) {}

  // A link that is refused is counted.
  ESaveStep Save(const std::vector<SFileLink>& links, LinkNames& names);

 private:
  CDaoResult SaveOne(const SFileLink& link, LinkNames& names);
  CDaoResult TryCreate(const SFileLink& link, const std::u16string& name);
  void Remark(const SFileLink& link, std::u16string_view text);

  CDaoDatabase& m_database;
  SSaveSummary& m_summary;
  CJobContext& m_job;
  CKeptProperties m_keptProperties;
  CNameSet m_names;
};

}  // namespace tolvane
