#include "writer/embedded/Catalogue.h"

#include <bit>
#include <optional>

#include "writer/embedded/ObjectName.h"

namespace tolvane {
namespace {

// Full access; what containers hand on to new objects by default.
constexpr uint32_t kFullAccess = 0xFFFFF;

CDaoResult OtherProgram() {
  return {EDaoError::NotSupported,
          u"The database was made by another program; only databases made here can be added to."};
}

template <class T>
void SetNumber(CTableStore& table, uint16_t column, T value) {
  uint8_t bytes[sizeof(T)];
  PutLittle(std::span<uint8_t>(bytes), 0, value);
  table.GetRow().Set(*table.GetDefinition().FindColumn(column), bytes);
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
  for (uint32_t table = 0; table < kSystemTableCount; table++) {
    STableDefinition definition = MakeSystemTable(table);
    std::vector<uint32_t> pages{kObjectsPage + table};
    if (CDaoResult result = CreateTable(m_file, definition, pages); !result.IsOk()) return result;
  }
  if (CDaoResult result = LoadTables(); !result.IsOk()) return result;
  for (const SSystemObject& object : GetSystemObjects())
    if (CDaoResult result = AddObject(object, kSystemObjectFlag, header.creationDate); !result.IsOk())
      return result;
  for (const SSystemAce& ace : GetSystemAces())
    if (CDaoResult result = AddAce(ace); !result.IsOk()) return result;
  return CDaoResult::Ok();
}

CDaoResult CCatalogue::Load(const SHeaderPage& header) {
  m_sidMask = header.sidMask;
  if (CDaoResult result = LoadTables(); !result.IsOk()) return result;
  bool isSound = true;
  CDaoResult result = Table(kObjectsPage).ForEachRow([&](std::span<const uint8_t> row, uint32_t) {
    return isSound = LoadObject(row);
  });
  return result.IsOk() && !isSound ? OtherProgram() : result;
}

CDaoResult CCatalogue::LoadTables() {
  for (uint32_t table = 0; table < kSystemTableCount; table++) {
    m_tables[table] = std::make_unique<CTableStore>(m_file, kObjectsPage + table);
    if (CDaoResult result = m_tables[table]->Load(); !result.IsOk()) return result;
    if (!IsSystemTable(table, m_tables[table]->GetDefinition())) return OtherProgram();
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
  if (GetLittle<uint32_t>(parent, 0) != kContainerTables) return true;
  const SCatalogueObject object{GetLittle<uint32_t>(id, 0), GetLittle<int16_t>(type, 0)};
  return m_objects.emplace(MakeNameKey(UnitsOf(name)), object).second;
}

CDaoResult CCatalogue::Store() {
  for (const auto& table : m_tables)
    if (table)
      if (CDaoResult result = table->Store(); !result.IsOk()) return result;
  return CDaoResult::Ok();
}

const SCatalogueObject* CCatalogue::Find(std::u16string_view name) const {
  const auto found = m_objects.find(MakeNameKey(name));
  return found == m_objects.end() ? nullptr : &found->second;
}

CDaoResult CCatalogue::AddTable(std::u16string_view name, uint32_t definitionPage, double date) {
  const SSystemObject object{definitionPage, kContainerTables, name, kObjectTable, EAccount::User};
  if (CDaoResult result = AddObject(object, 0, date); !result.IsOk()) return result;
  for (const EAccount account : {EAccount::User, EAccount::Users})
    if (CDaoResult result = AddAce({definitionPage, account, kFullAccess, false}); !result.IsOk())
      return result;
  return CDaoResult::Ok();
}

CDaoResult CCatalogue::AddObject(const SSystemObject& object, uint32_t flags, double date) {
  CTableStore& table = Table(kObjectsPage);
  table.BeginRow();
  SetNumber(table, kObjectsId, object.id);
  SetNumber(table, kObjectsParentId, object.parent);
  SetNumber(table, kObjectsType, object.type);
  SetNumber(table, kObjectsDateCreate, DoubleBits(date));
  SetNumber(table, kObjectsDateUpdate, DoubleBits(date));
  SetNumber(table, kObjectsFlags, flags);
  const STableDefinition& definition = table.GetDefinition();
  PutUnits(table.GetRow().Reserve(*definition.FindColumn(kObjectsName), 2 * object.name.size()), object.name);
  table.GetRow().Set(*definition.FindColumn(kObjectsOwner), MaskedSid(object.owner));
  if (CDaoResult result = table.StoreRow(); !result.IsOk()) return result;
  if (object.parent == kContainerTables)
    m_objects.emplace(MakeNameKey(object.name), SCatalogueObject{object.id, object.type});
  return CDaoResult::Ok();
}

CDaoResult CCatalogue::AddAce(const SSystemAce& ace) {
  CTableStore& table = Table(kAcesPage);
  table.BeginRow();
  SetNumber(table, kAcesObjectId, ace.object);
  SetNumber(table, kAcesAcm, ace.access);
  const STableDefinition& definition = table.GetDefinition();
  table.GetRow().Set(*definition.FindColumn(kAcesSid), MaskedSid(ace.account));
  table.GetRow().SetBoolean(*definition.FindColumn(kAcesInheritable), ace.inheritable);
  return table.StoreRow();
}

std::array<uint8_t, 2> CCatalogue::MaskedSid(EAccount account) const {
  std::array<uint8_t, 2> sid{};
  PutLittle(std::span<uint8_t>(sid), 0, static_cast<uint16_t>(account));
  for (size_t i = 0; i < sid.size(); i++) sid[i] ^= m_sidMask[i];
  return sid;
}

}  // namespace tolvane
