#include "app/ObjectList.h"

#include <unordered_map>
#include <unordered_set>

#include "app/Losses.h"
#include "app/QueryList.h"
#include "platform/Text.h"
#include "writer/RelationReader.h"

namespace tolvane {

namespace {

constexpr std::string_view kTable = "table", kQuery = "query", kRelationship = "relationship";

class CObjectLister {
 public:
  CObjectLister(const CAccessData& data, std::vector<SListedObject>& objects)
      : m_data(data), m_objects(objects) {}

  bool List() {
    AddTables();
    AddLostTables();
    for (const SFileLink& link : m_data.fileLinks)
      m_objects.push_back({NameOf(EOtherObject::LinkedTable), link.name, EObjectState::Recovered,
                           u"leads to " + link.link.database});
    bool isWhole = AddQueries();
    isWhole = AddRelations() && isWhole;
    for (const SOtherObject& object : m_data.GetOtherObjects())
      m_objects.push_back({NameOf(object.kind), object.name, EObjectState::NotCarried});
    return isWhole;
  }

 private:
  void AddTables();
  void AddLostTables();
  bool AddQueries();
  bool AddRelations();

  const CAccessData& m_data;
  std::vector<SListedObject>& m_objects;
};

void CObjectLister::AddTables() {
  const std::unordered_map<uint64_t, STableRows> rows = CountTableRows(m_data.GetLedger());
  std::unordered_set<uint64_t> broken;
  for (const EDamage kind : {EDamage::BrokenDefinition, EDamage::BrokenProperties})
    for (const CDamageLedger::SPlace& place : m_data.GetLedger().GetPlaces(kind))
      broken.insert(place.definition);
  for (const auto& table : m_data.GetTables()) {
    if (!HasContent(*table)) continue;
    SListedObject& object = m_objects.emplace_back(
        SListedObject{table->link ? NameOf(EOtherObject::OdbcTable) : kTable, table->name});
    object.isSystem = IsSystemTable(*table);
    object.reason = Counted(table->header.rowCount, u"row");
    const auto lacks = [&object](std::u16string_view what) {
      object.state = EObjectState::Damaged;
      (object.reason += u", ") += what;
    };
    if (table->nameSource == ENameSource::Generated) lacks(u"its name is lost");
    if (table->nameSource == ENameSource::Elsewhere) lacks(u"its row of the catalogue is lost");
    if (broken.contains(table->GetDefinitionOffset())) lacks(u"its definition is damaged");
    const auto found = rows.find(table->GetDefinitionOffset());
    if (found == rows.end()) continue;
    if (found->second.lost > 0) lacks(ToDecimal(found->second.lost) + u" lost");
    if (found->second.doubtful > 0) lacks(ToDecimal(found->second.doubtful) + u" doubtful");
  }
}

// Those that the catalogue names and of which no definition came back.
void CObjectLister::AddLostTables() {
  for (const auto& [page, name] : m_data.GetLostTables())
    m_objects.push_back({kTable, name, EObjectState::Lost,
                         u"its definition on page " + ToDecimal(page) + u" is gone",
                         name.starts_with(kSystemTablePrefix)});
}

bool CObjectLister::AddQueries() {
  std::vector<SListedQuery> queries;
  const bool isWhole = ListQueries(m_data, queries);
  for (const SListedQuery& query : queries) {
    SListedObject& object = m_objects.emplace_back(SListedObject{kQuery, query.name});
    object.isSystem = query.isHidden;
    object.reason = FromAscii(query.kind);
    if (query.isWhole && query.reason.empty()) continue;
    object.state = query.sql.empty() && !query.isWhole ? EObjectState::Lost : EObjectState::Damaged;
    object.reason +=
        u", " + (query.reason.empty() ? std::u16string(u"some of its rows are lost") : query.reason);
  }
  return isWhole;
}

bool CObjectLister::AddRelations() {
  std::vector<SRecoveredRelation> relations;
  uint32_t rowsRead = 0;
  const bool isWhole = ReadRelations(m_data, nullptr, relations, rowsRead);
  for (const SRecoveredRelation& relation : relations) {
    SListedObject& object = m_objects.emplace_back(SListedObject{kRelationship, relation.name});
    object.isSystem = relation.IsSystem();
    object.reason = relation.table + u" to " + relation.referencedTable;
    if (relation.problem.empty() && relation.hasAttributes) continue;
    object.state = EObjectState::Damaged;
    object.reason += relation.problem.empty() ? u", its properties are lost" : u", " + relation.problem;
  }
  return isWhole;
}

}  // namespace

const char* NameOf(EObjectState state) {
  constexpr const char* kNames[] = {"recovered", "damaged", "lost", "notCarried"};
  return kNames[static_cast<size_t>(state)];
}

const char* WordsOf(EObjectState state) {
  return state == EObjectState::NotCarried ? "not carried over" : NameOf(state);
}

bool ListObjects(const CAccessData& data, std::vector<SListedObject>& objects) {
  objects.clear();
  return CObjectLister(data, objects).List();
}

}  // namespace tolvane
