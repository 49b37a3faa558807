#include "writer/QuerySaver.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "platform/Hex.h"
#include "writer/QueryProperties.h"
#include "writer/RecoveredQuery.h"

namespace tolvane {

namespace {

// Queries that forms and reports keep for themselves.
constexpr std::u16string_view kHiddenPrefix = u"~sq";

// Where each column of MSysQueries goes, by column number.
constexpr std::array<std::u16string CQueryAttributes::*, 8> kCells{
    &CQueryAttributes::ObjectId, &CQueryAttributes::Attribute, &CQueryAttributes::Order,
    &CQueryAttributes::Name1,    &CQueryAttributes::Name2,     &CQueryAttributes::Expression,
    &CQueryAttributes::Flag,     &CQueryAttributes::LvExtra};

std::u16string MakeFreshQueryName(CIdentity& identity) {
  const SGuidBytes guid = identity.MakeGuid();
  std::array<uint8_t, 16> bytes{};
  std::copy(std::begin(guid.bytes), std::end(guid.bytes), bytes.begin());
  return MakeQueryName(bytes);
}

}  // namespace

std::u16string MakeQueryName(const std::array<uint8_t, 16>& guid) {
  const auto hex = [](uint32_t value) { return ToHex(value, 2, u' '); };
  const auto field = [&](size_t start, size_t size) {
    uint32_t value = 0;
    for (size_t i = size; i-- > 0;) value = value << 8 | guid[start + i];
    return hex(value);
  };
  uint32_t sum = 0;
  for (size_t i = 8; i < guid.size(); ++i) sum += guid[i];
  return u"Query_" + field(0, 4) + field(4, 2) + u'_' + field(6, 2) + hex(sum);
}

bool CQuerySaver::Save() {
  const CAccessTable* table = FindQueriesTable(m_data);
  if (table == nullptr) {
    CountLost({});
    return true;
  }
  CProgressStatus& progress = m_job.progress;
  progress.Begin(table->header.rowCount);
  if (!m_job.saving.IsSaving()) return false;
  m_job.log.Append(u"Saving queries");

  CTList<CQueryAttributes> rows;
  uint32_t rowCount = 0;
  const bool isRead = ReadRows(*table, m_data.GetRules(), rows, rowCount, &m_job);
  if (!m_job.saving.IsSaving()) return false;
  if (!isRead) Remark(u"Error code : - 004");
  if (rowCount < table->header.rowCount) m_summary.systemRowsLost += table->header.rowCount - rowCount;
  CTList<CQuery> queries;
  GroupAndMatch(m_data, rows, queries);
  ReadQueryProperties(m_data, queries);
  CountLost(queries);
  if (!isRead) return false;
  progress.Begin(static_cast<uint64_t>(queries.GetCount()));
  if (!SaveQueries(queries)) return false;
  progress.SetPos(progress.GetMax());
  m_job.Pause();
  return true;
}

bool CQuerySaver::SaveQueries(const CTList<CQuery>& queries) {
  const uint64_t savedBefore = m_summary.queriesSaved;
  std::unique_ptr<CDaoDatabase> database;
  CDaoResult result = m_engine.OpenDatabase(m_outputPath, false, false, {}, database);
  bool isDone = true;
  if (result.IsOk()) {
    isDone = CreateQueries(*database, queries);
    result = database->Close();
  } else {
    for (const CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext())
      if (!IsLeftOut(query->name)) ++m_summary.queriesLost;
  }
  if (result.IsOk() && !result.text.empty()) {
    ++m_summary.settingsChanged;
    Remark(result.text);
  }
  if (result.IsOk()) return isDone;
  m_summary.queriesLost += m_summary.queriesSaved - savedBefore;
  m_summary.queriesSaved = savedBefore;
  Remark(u"The saved queries could not be saved: " + result.text);
  return false;
}

bool CQuerySaver::ReadQueries(const CAccessData& data, CTList<CQuery>& queries) {
  const CAccessTable* table = FindQueriesTable(data);
  if (table == nullptr) return true;
  CTList<CQueryAttributes> rows;
  uint32_t wholeRows = 0;
  if (!ReadRows(*table, data.GetRules(), rows, wholeRows, nullptr)) return false;
  GroupAndMatch(data, rows, queries);
  return true;
}

// A row that the file's end cuts keeps what it has.
bool CQuerySaver::ReadRows(const CAccessTable& table, const SRecoveryRules& rules,
                           CTList<CQueryAttributes>& rows, uint32_t& wholeRows, CJobContext* job) {
  CValueStream stream;
  if (!stream.Open(table.GetRecords())) return false;
  CRecordText texts(table.columns, rules);
  bool isWhole = true;
  while (isWhole && !stream.IsAtEnd()) {
    if (job != nullptr) job->progress.IncrementPos();
    auto row = std::make_unique<CQueryAttributes>();
    isWhole = ReadRow(stream, table.columns.GetCount(), texts, *row);
    rows.Append(std::move(row));
    if (isWhole) ++wholeRows;
    if (job != nullptr && !job->saving.IsSaving()) return false;
  }
  return true;
}

// False when the file ended.
bool CQuerySaver::ReadRow(CValueStream& stream, size_t columnCount, CRecordText& texts,
                          CQueryAttributes& row) {
  std::u16string text;
  for (size_t i = 0; i < columnCount; ++i) {
    uint32_t count = 0;
    if (stream.IsAtEnd() || !stream.ReadCount(count)) return false;
    if (static_cast<int32_t>(count) < 0) return true;
    const bool isWhole = texts.Read(stream, count, i, text);
    if (i < kCells.size()) row.*kCells[i] = text;
    if (!isWhole) return false;
  }
  return true;
}

void CQuerySaver::GroupAndMatch(const CAccessData& data, CTList<CQueryAttributes>& rows,
                                CTList<CQuery>& queries) {
  CQueryEngine engine;
  engine.GroupRows(queries, rows);
  engine.MatchObjects(queries, data.GetQueryObjects());
}

// What one query costs is its own: after a full disk the next one may be small enough.
bool CQuerySaver::CreateQueries(CDaoDatabase& database, const CTList<CQuery>& queries) {
  const SQueriesState state = GetQueriesState(m_data, queries);
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext()) {
    if (!m_job.saving.IsSaving()) return false;
    m_job.progress.IncrementPos();
    CreateQuery(database, state, *query);
  }
  return true;
}

void CQuerySaver::CreateQuery(CDaoDatabase& database, const SQueriesState& state, CQuery& query) {
  SPreparedQuery prepared = PrepareQuery(query, IsHidden(query.name), state);
  if (prepared.isSkipped) {
    if (!prepared.problem.empty()) ++m_summary.queriesSkipped;
    return;
  }
  SSavedQuery& saved = prepared.query;
  if (saved.name.empty()) saved.name = MakeFreshQueryName(m_identity);
  const std::u16string wanted = saved.name;
  CDaoResult result{prepared.problem.empty() ? EDaoError::None : EDaoError::InvalidArgument,
                    prepared.problem};
  if (result.IsOk()) result = StoreQuery(database, saved);
  if (!result.IsOk()) {
    ++m_summary.queriesLost;
    Remark(u"Query " + wanted + u" could not be saved: " + result.text);
    return;
  }
  ++m_summary.queriesSaved;
  const bool isStoredOtherwise =
      m_data.GetRules().changesAreLosses && (saved.name != wanted || !result.text.empty());
  if (!prepared.changes.empty() || isStoredOtherwise) ++m_summary.queriesChanged;
  if (saved.name != wanted) Remark(u"Query " + wanted + u" was saved as " + saved.name + u".");
  for (const std::u16string& change : prepared.changes) Remark(u"Query " + saved.name + change);
  if (!prepared.note.empty()) result.text += (result.text.empty() ? u"" : u". ") + prepared.note;
  if (!result.text.empty()) Remark(u"Query " + saved.name + u": " + result.text);
}

// The query's name becomes another one where the database refuses it.
CDaoResult CQuerySaver::StoreQuery(CDaoDatabase& database, SSavedQuery& query) {
  const std::u16string wanted = query.name;
  CDaoResult result;
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    m_names.Take(query.name);
    result = database.CreateQuery(query);
    if (!NeedsOtherName(result.code)) break;
    query.name = m_names.MakeVariation(wanted, u"Query");
  }
  return result;
}

bool CQuerySaver::IsHidden(std::u16string_view name) {
  return name.starts_with(kHiddenPrefix);
}

// Those of forms and reports, whose loss then is nobody's.
bool CQuerySaver::IsLeftOut(std::u16string_view name) const {
  return m_data.GetRules().queriesAreTheirText && IsHidden(name);
}

std::vector<const CQuerySysObject*> CQuerySaver::FindLost(const CAccessData& data,
                                                          const CTList<CQuery>& queries) {
  std::unordered_set<std::u16string_view> found;
  for (const CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext())
    found.insert(query->rows.GetHead()->ObjectId);
  // Of two objects with one id the later is the one that counts.
  std::unordered_map<std::u16string_view, size_t> places;
  std::vector<const CQuerySysObject*> lost;
  const CTList<CQuerySysObject>& objects = data.GetQueryObjects();
  for (const CQuerySysObject* object = objects.GetHead(); object != nullptr; object = object->GetNext()) {
    if (found.contains(object->GetId())) continue;
    const auto [place, isNew] = places.emplace(object->GetId(), lost.size());
    if (isNew) {
      lost.push_back(object);
    } else {
      lost[place->second] = object;
    }
  }
  return lost;
}

void CQuerySaver::CountLost(const CTList<CQuery>& queries) {
  for (const CQuerySysObject* object : FindLost(m_data, queries)) {
    if (IsLeftOut(object->GetName())) continue;
    ++m_summary.queriesLost;
    Remark(u"Query " + object->GetName() + u" could not be saved: its rows are lost.");
  }
}

}  // namespace tolvane
