#include "embedded/Catalogue.h"

#include <bit>
#include <optional>
#include <utility>

#include "embedded/ObjectName.h"
#include "embedded/QueryStore.h"
#include "embedded/RelationStore.h"
#include "embedded/RowValues.h"
#include "embedded/StoredText.h"
#include "embedded/UsageMap.h"

namespace tolvane {
namespace {

// Full access; what containers hand on to new objects by default.
constexpr uint32_t kFullAccess = 0xFFFFF;
// What the owner of a relation has.
constexpr uint32_t kRelationAccess = 0xF00FE;

CDaoResult OtherProgram() {
  return {EDaoError::NotSupported,
          u"The database was made by another program; only databases made here can be added to."};
}

// The column's bytes; empty when it is null or cannot be read.
std::span<const uint8_t> ReadColumn(const CPageFile& file, const STableDefinition& definition,
                                    std::span<const uint8_t> row, uint16_t number) {
  std::optional<std::span<const uint8_t>> value;
  const SColumnDefinition* column = definition.FindColumn(number);
  if (!ReadRowColumn(file.GetLayout(), definition, row, *column, value) || !value) return {};
  return *value;
}

}  // namespace

CCatalogue::CCatalogue(CPageFile& file) : m_file(file) {}

CDaoResult CCatalogue::Create(const SHeaderPage& header) {
  m_sidMask = header.sidMask;
  if (CDaoResult result = CreateCatalogueTables(header.order); !result.IsOk()) return result;
  if (CDaoResult result = LoadTables(); !result.IsOk()) return result;
  for (const SSystemObject& object : GetSystemObjects())
    if (CDaoResult result = AddObject(object, header.creationDate); !result.IsOk()) return result;
  // The first rows of the catalogue have their page by now, as in files of the original engine.
  if (CDaoResult result = CreateComplexTables(header.order); !result.IsOk()) return result;
  for (const SSystemTable& table : GetSystemTables(m_file.GetLayout()).subspan(kCatalogueTableCount)) {
    const SSystemObject object{table.page,   kContainerTables, table.name,
                               kObjectTable, EAccount::None,   table.objectFlags};
    if (CDaoResult result = AddObject(object, header.creationDate); !result.IsOk()) return result;
  }
  for (const SSystemAce& ace : GetSystemAces(m_file.GetLayout()))
    if (CDaoResult result = AddAce(ace); !result.IsOk()) return result;
  return CDaoResult::Ok();
}

CDaoResult CCatalogue::CreateComplexTables(STextOrder order) {
  const std::span<const SSystemTable> tables = GetSystemTables(m_file.GetLayout());
  for (size_t table = kCatalogueTableCount; table < tables.size(); table++) {
    STableDefinition definition = MakeSystemTable(m_file.GetLayout(), order, table);
    std::vector<uint32_t> pages;
    if (CDaoResult result = CreateTable(m_file, definition, pages); !result.IsOk()) return result;
  }
  return LoadComplexColumns();
}

CDaoResult CCatalogue::LoadComplexColumns() {
  if (!m_file.GetLayout().hasComplexColumns) return CDaoResult::Ok();
  m_complexColumns = std::make_unique<CTableStore>(m_file, kComplexColumnsPage);
  if (CDaoResult result = m_complexColumns->Load(); !result.IsOk()) return result;
  return IsSystemTable(m_file.GetLayout(), kCatalogueTableCount, m_complexColumns->GetDefinition())
             ? CDaoResult::Ok()
             : OtherProgram();
}

// Engines put the maps of the three small system tables of a Jet 3 file on one page.
CDaoResult CCatalogue::CreateCatalogueTables(STextOrder order) {
  const bool isShared = m_file.GetLayout().map.isSharedBySystem;
  std::vector<STableDefinition> definitions;
  size_t mapsLeft = 0;
  for (uint32_t table = 0; table < kCatalogueTableCount; table++) {
    definitions.push_back(MakeSystemTable(m_file.GetLayout(), order, table));
    if (table > 0) mapsLeft += CountUsageMaps(definitions.back());
  }
  std::vector<uint32_t> shared;
  for (uint32_t table = 0; table < kCatalogueTableCount; table++) {
    SMapPlaces maps;
    maps.isEachIndexApart = isShared && table == 0;
    if (isShared && table > 0) {
      if (shared.empty())
        if (CDaoResult result = CreateUsageMaps(m_file, mapsLeft, shared); !result.IsOk()) return result;
      const auto next = shared.end() - static_cast<std::ptrdiff_t>(mapsLeft);
      mapsLeft -= CountUsageMaps(definitions[table]);
      maps.given.assign(next, shared.end() - static_cast<std::ptrdiff_t>(mapsLeft));
    }
    std::vector<uint32_t> pages{kObjectsPage + table};
    if (CDaoResult result = CreateTable(m_file, definitions[table], pages, std::move(maps)); !result.IsOk())
      return result;
  }
  return CDaoResult::Ok();
}

CDaoResult CCatalogue::Load(const SHeaderPage& header) {
  m_sidMask = header.sidMask;
  if (CDaoResult result = LoadTables(); !result.IsOk()) return result;
  if (CDaoResult result = LoadComplexColumns(); !result.IsOk()) return result;
  bool isSound = true;
  CDaoResult result = Table(kObjectsPage).ForEachRow([&](std::span<const uint8_t> row, uint32_t) {
    return isSound = LoadObject(row);
  });
  return result.IsOk() && !isSound ? OtherProgram() : result;
}

CDaoResult CCatalogue::LoadTables() {
  for (uint32_t table = 0; table < kCatalogueTableCount; table++) {
    m_tables[table] = std::make_unique<CTableStore>(m_file, kObjectsPage + table);
    if (CDaoResult result = m_tables[table]->Load(); !result.IsOk()) return result;
    if (!IsSystemTable(m_file.GetLayout(), table, m_tables[table]->GetDefinition())) return OtherProgram();
  }
  return CDaoResult::Ok();
}

bool CCatalogue::LoadObject(std::span<const uint8_t> row) {
  const STableDefinition& definition = Table(kObjectsPage).GetDefinition();
  const auto id = ReadColumn(m_file, definition, row, kObjectsId);
  const auto parent = ReadColumn(m_file, definition, row, kObjectsParentId);
  const auto type = ReadColumn(m_file, definition, row, kObjectsType);
  const auto name = ReadColumn(m_file, definition, row, kObjectsName);
  if (id.size() != 4 || parent.size() != 4 || type.size() != 2) return false;
  const SCatalogueObject object{GetLittle<uint32_t>(id, 0), GetLittle<int16_t>(type, 0)};
  if (object.id >= m_nextObjectId) m_nextObjectId = object.id + 1;
  const std::string key = MakeNameKey(m_file.GetLayout(), DecodePlainText(m_file.GetLayout().text, name));
  if (GetLittle<uint32_t>(parent, 0) == kContainerRelationships) return m_relations.insert(key).second;
  return GetLittle<uint32_t>(parent, 0) != kContainerTables || m_objects.emplace(key, object).second;
}

CDaoResult CCatalogue::Store() {
  for (const auto& table : m_tables)
    if (table)
      if (CDaoResult result = table->Store(); !result.IsOk()) return result;
  return m_complexColumns ? m_complexColumns->Store() : CDaoResult::Ok();
}

const SCatalogueObject* CCatalogue::Find(std::u16string_view name) const {
  const auto found = m_objects.find(MakeNameKey(m_file.GetLayout(), name));
  return found == m_objects.end() ? nullptr : &found->second;
}

CDaoResult CCatalogue::AddTable(std::u16string_view name, uint32_t definitionPage, double date) {
  const SSystemObject object{definitionPage, kContainerTables, name, kObjectTable, EAccount::User, 0};
  if (CDaoResult result = AddObject(object, date); !result.IsOk()) return result;
  return AddUserAces(definitionPage, kFullAccess);
}

CDaoResult CCatalogue::AddQuery(const SSavedQuery& query, double date, size_t& replaced) {
  if (CDaoResult result = CheckQueryRows(query.rows); !result.IsOk()) return result;
  SSystemObject object{0, kContainerTables, query.name, kObjectQuery, EAccount::User, query.flags};
  if (CDaoResult result = GiveObjectId(object.id); !result.IsOk()) return result;
  if (CDaoResult result = AddObject(object, date, query.properties); !result.IsOk()) return result;
  if (CDaoResult result = AddUserAces(object.id, kFullAccess); !result.IsOk()) return result;
  return StoreQueryRows(Table(kQueriesPage), object.id, query.rows, replaced);
}

bool CCatalogue::HasRelation(std::u16string_view name) const {
  return m_relations.count(MakeNameKey(m_file.GetLayout(), name)) != 0;
}

CDaoResult CCatalogue::AddRelation(const CDaoRelationInfo& relation, double date) {
  SSystemObject object{0, kContainerRelationships, relation.name, kObjectRelationship, EAccount::User, 0};
  if (CDaoResult result = GiveObjectId(object.id); !result.IsOk()) return result;
  if (CDaoResult result = AddObject(object, date); !result.IsOk()) return result;
  if (CDaoResult result = AddUserAces(object.id, kRelationAccess); !result.IsOk()) return result;
  m_relations.insert(MakeNameKey(m_file.GetLayout(), relation.name));
  return StoreRelationRows(Table(kRelationshipsPage), relation);
}

CDaoResult CCatalogue::GiveObjectId(uint32_t& id) {
  if (m_nextObjectId == 0) return {EDaoError::InvalidArgument, u"The database can take no more objects."};
  id = m_nextObjectId++;
  return CDaoResult::Ok();
}

CDaoResult CCatalogue::AddObject(const SSystemObject& object, double date,
                                 std::span<const uint8_t> properties) {
  CTableStore& table = Table(kObjectsPage);
  table.BeginRow();
  CRowValues values(table);
  values.SetNumber(kObjectsId, object.id);
  values.SetNumber(kObjectsParentId, object.parent);
  values.SetNumber(kObjectsType, object.type);
  values.SetNumber(kObjectsDateCreate, DoubleBits(date));
  values.SetNumber(kObjectsDateUpdate, DoubleBits(date));
  values.SetNumber(kObjectsFlags, object.flags);
  values.SetText(kObjectsName, object.name);
  if (object.owner != EAccount::None) values.SetBytes(kObjectsOwner, MaskedSid(object.owner));
  if (!properties.empty())
    if (CDaoResult result = values.SetLongBytes(kObjectsProperties, properties); !result.IsOk())
      return result;
  if (CDaoResult result = table.StoreRow(); !result.IsOk()) return result;
  if (object.parent == kContainerTables)
    m_objects.emplace(MakeNameKey(m_file.GetLayout(), object.name), SCatalogueObject{object.id, object.type});
  return CDaoResult::Ok();
}

CDaoResult CCatalogue::AddUserAces(uint32_t object, uint32_t userAccess) {
  if (CDaoResult result = AddAce({object, EAccount::User, userAccess, false}); !result.IsOk()) return result;
  return AddAce({object, EAccount::Users, kFullAccess, false});
}

CDaoResult CCatalogue::AddAce(const SSystemAce& ace) {
  CTableStore& table = Table(kAcesPage);
  table.BeginRow();
  CRowValues values(table);
  values.SetNumber(kAcesObjectId, ace.object);
  values.SetNumber(kAcesAcm, ace.access);
  values.SetBytes(kAcesSid, MaskedSid(ace.account));
  table.GetRow().SetBoolean(*table.GetDefinition().FindColumn(kAcesInheritable), ace.inheritable);
  return table.StoreRow();
}

std::vector<uint8_t> CCatalogue::MaskedSid(EAccount account) const {
  std::array<uint8_t, 2> buffer{};
  const std::span<const uint8_t> plain = GetSid(account, buffer);
  std::vector<uint8_t> sid(plain.begin(), plain.end());
  for (size_t i = 0; i < sid.size(); i++) sid[i] ^= m_sidMask[i];
  return sid;
}

}  // namespace tolvane
