#include "writer/QuerySaver.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "platform/Process.h"
#include "status/Status.h"
#include "store/FileNameManager.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kQueriesTable = u"MSysQueries";
// Queries that forms and reports keep for themselves.
constexpr std::u16string_view kHiddenPrefix = u"~sq";
// Refusals of one name before its query is given up.
constexpr int kNameAttempts = 12;

// Where each column of MSysQueries goes, by column number.
constexpr std::array<std::u16string CQueryAttributes::*, 8> kCells{
    &CQueryAttributes::ObjectId, &CQueryAttributes::Attribute, &CQueryAttributes::Order,
    &CQueryAttributes::Name1,    &CQueryAttributes::Name2,     &CQueryAttributes::Expression,
    &CQueryAttributes::Flag,     &CQueryAttributes::LvExtra};

bool IsSaving() {
  return CSavingStatus::Instance().IsSaving();
}

bool IsAlwaysRunning() {
  return true;
}

// As "%2X" prints it: at least two places, filled with blanks.
void AppendHex(uint32_t value, std::u16string& text) {
  std::u16string digits;
  do {
    digits.insert(digits.begin(), u"0123456789ABCDEF"[value % 16]);
    value /= 16;
  } while (value != 0);
  if (digits.size() < 2) text += u' ';
  text += digits;
}

std::u16string MakeFreshQueryName() {
  const SGuidBytes guid = MakeGuid();
  std::array<uint8_t, 16> bytes{};
  std::copy(std::begin(guid.bytes), std::end(guid.bytes), bytes.begin());
  return MakeQueryName(bytes);
}

}  // namespace

std::u16string MakeQueryName(const std::array<uint8_t, 16>& guid) {
  const auto field = [&guid](size_t start, size_t size) {
    uint32_t value = 0;
    for (size_t i = size; i-- > 0;) value = value << 8 | guid[start + i];
    return value;
  };
  uint32_t sum = 0;
  for (size_t i = 8; i < guid.size(); ++i) sum += guid[i];

  std::u16string name = u"Query_";
  AppendHex(field(0, 4), name);
  AppendHex(field(4, 2), name);
  name += u'_';
  AppendHex(field(6, 2), name);
  AppendHex(sum, name);
  return name;
}

const CAccessTable* CQuerySaver::FindQueriesTable(const CAccessData& data) {
  for (const auto& table : data.GetTables())
    if (table->name == kQueriesTable) return table->columns.GetCount() > 0 ? table.get() : nullptr;
  return nullptr;
}

bool CQuerySaver::Save() {
  const CAccessTable* table = FindQueriesTable(m_data);
  if (table == nullptr) {
    CountLost({});
    return true;
  }
  CProgressStatus& progress = CProgressStatus::Instance();
  progress.SetPos(0);
  progress.SetMax(
      static_cast<int32_t>(std::min<uint32_t>(table->header.rowCount, std::numeric_limits<int32_t>::max())));
  if (!IsSaving()) return false;
  CRepairLog::Instance().Append(u"Saving queries");

  CTList<CQueryAttributes> rows;
  if (!ReadRows(*table, rows, IsSaving)) {
    if (IsSaving()) Remark(u"Error code : - 004");
    return false;
  }
  CTList<CQuery> queries;
  GroupAndMatch(m_data, rows, queries);
  CountLost(queries);
  progress.SetMax(queries.GetCount());
  progress.SetPos(0);

  std::unique_ptr<CDaoDatabase> database;
  if (const CDaoResult opened = m_engine.OpenDatabase(m_outputPath, false, false, {}, database);
      !opened.IsOk()) {
    Remark(u"The saved queries could not be saved: " + opened.text);
    return false;
  }
  const bool isDone = CreateQueries(*database, queries);
  if (const CDaoResult closed = database->Close(); !closed.IsOk())
    Remark(u"The saved queries could not be saved: " + closed.text);
  if (!isDone) return false;
  progress.SetPos(progress.GetMax());
  CDisplayPause::Instance().Pause();
  return true;
}

bool CQuerySaver::ReadQueries(const CAccessData& data, CTList<CQuery>& queries) {
  const CAccessTable* table = FindQueriesTable(data);
  if (table == nullptr) return true;
  CTList<CQueryAttributes> rows;
  if (!ReadRows(*table, rows, IsAlwaysRunning)) return false;
  GroupAndMatch(data, rows, queries);
  return true;
}

// A row that the file's end cuts keeps what it has.
bool CQuerySaver::ReadRows(const CAccessTable& table, CTList<CQueryAttributes>& rows, bool (*isRunning)()) {
  CValueStream stream;
  if (!stream.Open(CFileNameManager().GetDataFilePath(table.GetDefinitionOffset()))) return false;
  bool isWhole = true;
  while (isWhole && !stream.IsAtEnd()) {
    CProgressStatus::Instance().IncrementPos();
    auto row = std::make_unique<CQueryAttributes>();
    isWhole = ReadRow(stream, table.columns.GetCount(), *row);
    rows.Append(std::move(row));
    if (!isRunning()) return false;
  }
  return true;
}

// False when the file ended.
bool CQuerySaver::ReadRow(CValueStream& stream, size_t columnCount, CQueryAttributes& row) {
  std::u16string text;
  for (size_t i = 0; i < columnCount; ++i) {
    uint32_t count = 0;
    if (stream.IsAtEnd() || !stream.ReadCount(count)) return false;
    if (static_cast<int32_t>(count) < 0) return true;
    const bool isWhole = stream.ReadText(count, text);
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

bool CQuerySaver::CreateQueries(CDaoDatabase& database, const CTList<CQuery>& queries) {
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext()) {
    if (!IsSaving()) return false;
    CProgressStatus::Instance().IncrementPos();
    if (!CreateQuery(database, *query)) return false;
  }
  return true;
}

bool CQuerySaver::CreateQuery(CDaoDatabase& database, CQuery& query) {
  const std::u16string sql = query.GetSql();
  if (sql.empty()) {
    if (!IsHidden(query.name)) ++m_summary.queriesSkipped;
    return true;
  }
  const std::u16string wanted = query.name.empty() ? MakeFreshQueryName() : query.name;
  if (IsHidden(wanted)) return true;
  std::u16string name = wanted;
  const CDaoResult result = StoreQuery(database, name, sql);
  if (!result.IsOk()) {
    ++m_summary.queriesLost;
    Remark(u"Query " + wanted + u" could not be saved: " + result.text);
    return !EndsSave(result.code);
  }
  ++m_summary.queriesSaved;
  if (query.name.empty())
    Remark(u"Query " + name + u": its name and kind are lost; it was saved as a select query.");
  if (name != wanted) Remark(u"Query " + wanted + u" was saved as " + name + u".");
  if (!query.IsWhole()) Remark(u"Query " + name + u": some of its rows are lost.");
  if (!result.text.empty()) Remark(u"Query " + name + u": " + result.text);
  return true;
}

CDaoResult CQuerySaver::StoreQuery(CDaoDatabase& database, std::u16string& name, std::u16string_view sql) {
  const std::u16string wanted = name;
  CDaoResult result;
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    m_names.Take(name);
    std::unique_ptr<CDaoQueryDef> definition;
    result = database.CreateQueryDef(name, sql, definition);
    if (result.IsOk()) result = definition->Append();
    if (definition) definition->Close();
    const bool isNameRefused = result.code == EDaoError::InvalidName ||
                               result.code == EDaoError::QueryExists || result.code == EDaoError::TableExists;
    if (!isNameRefused) break;
    name = m_names.MakeVariation(wanted, u"Query");
  }
  return result;
}

bool CQuerySaver::IsHidden(std::u16string_view name) {
  return name.starts_with(kHiddenPrefix);
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
    if (IsHidden(object->GetName())) continue;
    ++m_summary.queriesLost;
    Remark(u"Query " + object->GetName() + u" could not be saved: its rows are lost.");
  }
}

void CQuerySaver::Remark(std::u16string text) {
  CRepairLog::Instance().Append(text);
  m_summary.notes.push_back(std::move(text));
}

}  // namespace tolvane
