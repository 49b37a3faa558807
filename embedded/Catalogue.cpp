#include "embedded/Catalogue.h"

#include <optional>
#include <utility>

#include "embedded/ObjectName.h"
#include "embedded/QueryStore.h"
#include "embedded/RelationStore.h"
#include "embedded/RowValues.h"
#include "embedded/StoredText.h"
#include "embedded/UsageMap.h"
#include "format/SystemObjects.h"

namespace tolvane {
namespace {

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
  for (SSystemObject object : GetSystemObjects())
    if (CDaoResult result = AddObject(object, header.creationDate, {}); !result.IsOk()) return result;
  // The first rows of the catalogue have their page by now, as in files of the original engine.
  if (CDaoResult result = CreateComplexTables(header.order); !result.IsOk()) return result;
  for (const SSystemTable& table : GetSystemTables(m_file.GetLayout()).subspan(kCatalogueTableCount)) {
    SSystemObject object{table.page,   kContainerTables, table.name,
                         kObjectTable, EAccount::None,   table.objectFlags};
    if (CDaoResult result = AddObject(object, header.creationDate, {}); !result.IsOk()) return result;
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
  if (!IsSystemTable(m_file.GetLayout(), kCatalogueTableCount, m_complexColumns->GetDefinition()))
    return OtherProgram();
  return LoadComplexPlaces();
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
  CDaoResult result = Table(kObjectsPage).ForEachRow([&](std::span<const uint8_t> row, uint32_t pointer) {
    return isSound = LoadObject(row, pointer);
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

bool CCatalogue::LoadObject(std::span<const uint8_t> row, uint32_t pointer) {
  const STableDefinition& definition = Table(kObjectsPage).GetDefinition();
  const auto id = ReadColumn(m_file, definition, row, kObjectsId);
  const auto parent = ReadColumn(m_file, definition, row, kObjectsParentId);
  const auto type = ReadColumn(m_file, definition, row, kObjectsType);
  const auto name = ReadColumn(m_file, definition, row, kObjectsName);
  if (id.size() != 4 || parent.size() != 4 || type.size() != 2) return false;
  const SCatalogueObject object{GetLittle<uint32_t>(id, 0), GetLittle<int16_t>(type, 0)};
  if (object.id == kDatabaseObject) m_databaseRow = pointer;
  if (object.id >= m_nextObjectId) m_nextObjectId = object.id + 1;
  const std::string key = MakeNameKey(m_file.GetLayout(), DecodePlainText(m_file.GetLayout().text, name));
  if (GetLittle<uint32_t>(parent, 0) == kContainerRelationships) return m_relations.insert(key).second;
  if (GetLittle<uint32_t>(parent, 0) == kContainerDatabases) return m_documents.insert(key).second;
  return GetLittle<uint32_t>(parent, 0) != kContainerTables || m_objects.emplace(key, object).second;
}

CDaoResult CCatalogue::Store(STextOrder& order) {
  bool keepsOrder = true;
  for (const auto& table : m_tables) {
    if (!table) continue;
    if (CDaoResult result = table->Store(); !result.IsOk()) return result;
    for (const SColumnDefinition& column : table->GetDefinition().columns)
      keepsOrder = keepsOrder && (!column.HasTexts() || column.order == order);
  }
  if (m_complexColumns)
    if (CDaoResult result = m_complexColumns->Store(); !result.IsOk()) return result;
  if (keepsOrder) return CDaoResult::Ok();
  order = {};
  return UseGeneralLegacy();
}

CDaoResult CCatalogue::UseGeneralLegacy() {
  for (const SSystemTable& table : GetSystemTables(m_file.GetLayout())) {
    CTableStore store(m_file, table.page);
    if (CDaoResult result = store.Load(); !result.IsOk()) return result;
    if (CDaoResult result = store.UseGeneralLegacy(); !result.IsOk()) return result;
  }
  return CDaoResult::Ok();
}

const SCatalogueObject* CCatalogue::Find(std::u16string_view name) const {
  const auto found = m_objects.find(MakeNameKey(m_file.GetLayout(), name));
  return found == m_objects.end() ? nullptr : &found->second;
}

CDaoResult CCatalogue::AddTable(const SNewTable& table, uint32_t definitionPage, double date) {
  SSystemObject object{definitionPage, kContainerTables, table.name,
                       kObjectTable,   EAccount::User,   table.objectFlags};
  if (!table.complexColumns.empty()) object.flags |= kHasComplexColumnsFlag;
  if (table.link) {
    object.type = table.link->isOdbc ? kObjectLinkedOdbc : kObjectLinkedAccess;
    object.flags |= table.link->isOdbc ? kLinkedOdbcFlags : kLinkedAccessFlags;
  }
  const SExtras extras{table.properties, table.link ? &*table.link : nullptr};
  if (CDaoResult result = AddObject(object, date, extras); !result.IsOk()) return result;
  return AddUserAces(object.id, kFullAccess);
}

CDaoResult CCatalogue::AddHiddenTable(std::u16string_view name, uint32_t definitionPage, uint32_t flags,
                                      std::span<const uint8_t> properties, double date) {
  SSystemObject object{definitionPage, kContainerTables, name, kObjectTable, EAccount::User, flags};
  if (CDaoResult result = AddObject(object, date, {properties, nullptr}); !result.IsOk()) return result;
  for (const EAccount account : {EAccount::User, EAccount::Administrators, EAccount::Users})
    if (CDaoResult result = AddAce({definitionPage, account, kTableAccess, flags == kFlatTableFlags});
        !result.IsOk())
      return result;
  return CDaoResult::Ok();
}

uint32_t CCatalogue::GetLastComplexId() const {
  return static_cast<uint32_t>(m_complexColumns->GetAutoNumber());
}

CDaoResult CCatalogue::AddComplexColumn(std::u16string_view column, const SComplexPlace& place) {
  m_complexColumns->BeginRow();
  CRowValues values(*m_complexColumns);
  values.SetText(kComplexColumnsName, column);
  values.SetNumber(kComplexColumnsKind, place.kind);
  values.SetNumber(kComplexColumnsFlatTable, place.flatTable);
  values.SetNumber(kComplexColumnsTable, place.table);
  values.SetNumber(kComplexColumnsId, place.id);
  if (CDaoResult result = m_complexColumns->StoreRow(); !result.IsOk()) return result;
  m_complexColumns->RaiseAutoNumber(static_cast<int32_t>(place.id));
  m_complexPlaces.push_back(place);
  return CDaoResult::Ok();
}

const SComplexPlace* CCatalogue::FindComplexColumn(uint32_t table, std::u16string_view field) const {
  const std::string key = MakeNameKey(m_file.GetLayout(), field);
  for (const SComplexPlace& place : m_complexPlaces)
    if (place.table == table && MakeNameKey(m_file.GetLayout(), place.field) == key) return &place;
  return nullptr;
}

// A history is looked for by its memo, whose name only its kind tells.
CDaoResult CCatalogue::LoadComplexPlaces() {
  bool isSound = true;
  CDaoResult result = m_complexColumns->ForEachRow([&](std::span<const uint8_t> row, uint32_t) {
    const STableDefinition& definition = m_complexColumns->GetDefinition();
    const auto number = [&](uint16_t column) {
      const auto bytes = ReadColumn(m_file, definition, row, column);
      isSound = isSound && bytes.size() == 4;
      return isSound ? GetLittle<uint32_t>(bytes, 0) : 0;
    };
    SComplexPlace place{number(kComplexColumnsId),
                        number(kComplexColumnsTable),
                        number(kComplexColumnsKind),
                        number(kComplexColumnsFlatTable),
                        {}};
    place.field =
        DecodePlainText(m_file.GetLayout().text, ReadColumn(m_file, definition, row, kComplexColumnsName));
    m_complexPlaces.push_back(std::move(place));
    return isSound;
  });
  for (SComplexPlace& place : m_complexPlaces) {
    if (!result.IsOk() || place.kind <= kLastAceSystemPage) continue;
    STableDefinition kind;
    std::vector<uint32_t> pages;
    result = LoadDefinition(m_file, place.kind, kind, pages);
    for (const SColumnDefinition& column : kind.columns)
      if (column.type == kTypeMemo) place.field = column.name;
  }
  return result.IsOk() && !isSound ? OtherProgram() : result;
}

CDaoResult CCatalogue::SetProperties(std::u16string_view document, std::span<const uint8_t> properties,
                                     double date) {
  CTableStore& table = Table(kObjectsPage);
  if (document == kMSysDb) {
    if (m_databaseRow == 0) return OtherProgram();
    return table.EditRow(m_databaseRow, [&] { return SetExtras({properties, nullptr}); });
  }
  const SLayout& layout = m_file.GetLayout();
  const std::string key = MakeNameKey(layout, document);
  if (key == MakeNameKey(layout, kMSysDb) || !m_documents.insert(key).second)
    return {EDaoError::InvalidName,
            u"A document named \"" + std::u16string(document) + u"\" exists already."};
  SSystemObject object{0, kContainerDatabases, document, kObjectDocument, EAccount::User, 0};
  if (CDaoResult result = AddObject(object, date, {properties, nullptr}); !result.IsOk()) return result;
  return AddAce({object.id, EAccount::Users, kFullAccess, false});
}

CDaoResult CCatalogue::AddQuery(const SSavedQuery& query, std::span<const uint8_t> properties, double date,
                                STextLoss& loss) {
  if (CDaoResult result = CheckQueryRows(query.rows); !result.IsOk()) return result;
  SSystemObject object{0, kContainerTables, query.name, kObjectQuery, EAccount::User, query.flags};
  if (CDaoResult result = AddObject(object, date, {properties, nullptr}); !result.IsOk()) return result;
  if (CDaoResult result = AddUserAces(object.id, kFullAccess); !result.IsOk()) return result;
  return StoreQueryRows(Table(kQueriesPage), object.id, query.rows, loss);
}

bool CCatalogue::HasRelation(std::u16string_view name) const {
  return m_relations.count(MakeNameKey(m_file.GetLayout(), name)) != 0;
}

CDaoResult CCatalogue::AddRelation(const CDaoRelationInfo& relation, double date) {
  SSystemObject object{0, kContainerRelationships, relation.name, kObjectRelationship, EAccount::User, 0};
  if (CDaoResult result = AddObject(object, date, {}); !result.IsOk()) return result;
  if (CDaoResult result = AddUserAces(object.id, kCreatorAccess); !result.IsOk()) return result;
  m_relations.insert(MakeNameKey(m_file.GetLayout(), relation.name));
  return StoreRelationRows(Table(kRelationshipsPage), relation);
}

CDaoResult CCatalogue::AddObject(SSystemObject& object, double date, const SExtras& extras) {
  if (object.id == 0) {
    if (m_nextObjectId == 0) return {EDaoError::InvalidArgument, u"The database can take no more objects."};
    object.id = m_nextObjectId++;
  }
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
  if (CDaoResult result = SetExtras(extras); !result.IsOk()) return result;
  uint32_t pointer = 0;
  if (CDaoResult result = table.StoreRow(pointer); !result.IsOk()) return result;
  if (object.id == kDatabaseObject) m_databaseRow = pointer;
  if (object.parent == kContainerTables)
    m_objects.emplace(MakeNameKey(m_file.GetLayout(), object.name), SCatalogueObject{object.id, object.type});
  return CDaoResult::Ok();
}

// Of the row that is being put together.
CDaoResult CCatalogue::SetExtras(const SExtras& extras) {
  CRowValues values(Table(kObjectsPage));
  if (!extras.properties.empty())
    if (CDaoResult result = values.SetLongBytes(kObjectsProperties, extras.properties); !result.IsOk())
      return result;
  if (extras.link == nullptr) return CDaoResult::Ok();
  const STableLink& link = *extras.link;
  if (!link.source.empty()) values.SetText(kObjectsForeignName, link.source);
  if (!link.shortInfo.empty()) values.SetBytes(kObjectsShortInfo, link.shortInfo);
  if (!link.longInfo.empty())
    if (CDaoResult result = values.SetLongBytes(kObjectsLongInfo, link.longInfo); !result.IsOk())
      return result;
  if (!link.database.empty())
    if (CDaoResult result = values.SetMemo(kObjectsDatabase, link.database); !result.IsOk()) return result;
  return link.connect.empty() ? CDaoResult::Ok() : values.SetMemo(kObjectsConnect, link.connect);
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
