// The queries step of a save: rebuilds the saved queries from the recovered MSysQueries rows and creates them
// in the new database. A query that the database engine refuses costs itself and is counted.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "model/AccessData.h"
#include "platform/Identity.h"
#include "query/Query.h"
#include "query/QueryAttributes.h"
#include "query/QuerySysObject.h"
#include "query/TList.h"
#include "render/RecordText.h"
#include "status/JobContext.h"
#include "store/ValueStream.h"
#include "writer/RecoveredQuery.h"
#include "writer/SafeName.h"
#include "writer/SavedTable.h"

namespace tolvane {

// "Query_" and four hexadecimal groups of a GUID: its first three fields and the sum of its last eight bytes.
std::u16string MakeQueryName(const std::array<uint8_t, 16>& guid);

class CQuerySaver {
 public:
  // All must outlive the saver.
  CQuerySaver(CDaoEngine& engine, const CAccessData& data, std::u16string_view outputPath,
              SSaveSummary& summary, CJobContext& job, CIdentity& identity)
      : m_engine(engine),
        m_data(data),
        m_outputPath(outputPath),
        m_summary(summary),
        m_job(job),
        m_identity(identity) {}

  // False when the rows cannot be read, the database cannot be opened or the save was stopped.
  bool Save();
  // The same queries without a database, for lists: grouped, named and ready to be asked for their SQL.
  static bool ReadQueries(const CAccessData& data, CTList<CQuery>& queries);
  // Queries that the catalogue names and of which no row came back. They live as long as `data`.
  static std::vector<const CQuerySysObject*> FindLost(const CAccessData& data, const CTList<CQuery>& queries);
  // Of a form or report, which keeps it for itself.
  static bool IsHidden(std::u16string_view name);

 private:
  // Without a job nothing stops it, and nothing is shown.
  static bool ReadRows(const CAccessTable& table, const SRecoveryRules& rules, CTList<CQueryAttributes>& rows,
                       uint32_t& wholeRows, CJobContext* job);
  static bool ReadRow(CValueStream& stream, size_t columnCount, CRecordText& texts, CQueryAttributes& row);
  static void GroupAndMatch(const CAccessData& data, CTList<CQueryAttributes>& rows, CTList<CQuery>& queries);
  bool SaveQueries(const CTList<CQuery>& queries);
  bool CreateQueries(CDaoDatabase& database, const CTList<CQuery>& queries);
  void CreateQuery(CDaoDatabase& database, const SQueriesState& state, CQuery& query);
  CDaoResult StoreQuery(CDaoDatabase& database, SSavedQuery& query);
  [[nodiscard]] bool IsLeftOut(std::u16string_view name) const;
  void CountLost(const CTList<CQuery>& queries);
  void Remark(std::u16string text) const { tolvane::Remark(m_summary, m_job, std::move(text)); }

  CDaoEngine& m_engine;
  const CAccessData& m_data;
  std::u16string m_outputPath;
  SSaveSummary& m_summary;
  CJobContext& m_job;
  CIdentity& m_identity;
  CNameSet m_names;
};

}  // namespace tolvane
