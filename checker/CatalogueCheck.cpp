#include "checker/CatalogueCheck.h"

#include <string_view>

#include "checker/HeaderCheck.h"
#include "checker/SystemRow.h"
#include "format/SystemObjects.h"

namespace tolvane {
namespace {

constexpr size_t kMostObjects = 200'000;
constexpr size_t kShortestWorkgroupSid = 100;  // SIDs of accounts from a workgroup file

// Rows of every database.
struct SSystemRow {
  uint32_t id, parent;
  std::u16string_view name;
  int16_t type;
};
constexpr SSystemRow kSystemRows[] = {
    {kContainerTables, kContainerRoot, u"Tables", kObjectContainer},
    {kContainerDatabases, kContainerRoot, u"Databases", kObjectContainer},
    {kContainerRelationships, kContainerRoot, u"Relationships", kObjectContainer},
    {kDatabaseObject, kContainerDatabases, kMSysDb, kObjectDatabase},
    {kObjectsPage, kContainerTables, kMSysObjects, kObjectTable},
    {kAcesPage, kContainerTables, kMSysAces, kObjectTable},
    {kQueriesPage, kContainerTables, kMSysQueries, kObjectTable},
    {kRelationshipsPage, kContainerTables, kMSysRelationships, kObjectTable}};

uint32_t ExpectedParent(int16_t type) {
  switch (type) {
    case kObjectTable:
    case kObjectLinkedOdbc:
    case kObjectQuery:
    case kObjectLinkedAccess:
      return kContainerTables;
    case kObjectRelationship:
      return kContainerRelationships;
    default:
      return 0;
  }
}

bool MustHaveAce(int16_t type) {
  return type == kObjectTable || type == kObjectDatabase || type == kObjectContainer ||
         type == kObjectQuery || type == kObjectRelationship;
}

bool IsKnownSid(std::span<const uint8_t> plain) {
  if (plain.size() != 2) return plain.size() >= kShortestWorkgroupSid;
  const auto account = static_cast<EAccount>(GetLittle<uint16_t>(plain, 0));
  return account == EAccount::Users || account == EAccount::User || account == EAccount::Engine ||
         account == EAccount::Creator;
}

}  // namespace

void CCatalogueCheck::AddObject(const CRowView& row, SPlace place) {
  if (m_objects.size() == kMostObjects) {
    m_isComplete = false;
    m_context.findings.Note(u"Objects beyond the first ", kMostObjects, u" were not looked at.");
    return;
  }
  const CSystemRow values(m_context.file, row);
  const auto id = values.GetNumber<uint32_t>(kObjectsId),
             parent = values.GetNumber<uint32_t>(kObjectsParentId);
  const auto type = values.GetNumber<int16_t>(kObjectsType);
  if (!id || !parent || !type) {
    m_context.findings.Error("A7", place, u"the object has no number, parent or type");
    return;
  }
  SCheckedObject object{*id,
                        *parent,
                        *type,
                        values.GetNumber<uint32_t>(kObjectsFlags).value_or(0),
                        values.GetText(kObjectsName),
                        values.GetNameKey(kObjectsName),
                        place};
  if (!m_byId.emplace(object.id, m_objects.size()).second)
    m_context.findings.Error("B1", place, u"another object has the number of ", object.name, u" as well");
  if (!m_names.insert(ToUtf8(ToDecimal(object.parent)) + ' ' + object.nameKey).second)
    m_context.findings.Error("B2", place, u"another object of the container is called ", object.name,
                             u" as well");
  CheckOwner(object, values.GetBytes(kObjectsOwner));
  m_objects.push_back(std::move(object));
}

void CCatalogueCheck::CheckOwner(const SCheckedObject& object, std::span<const uint8_t> owner) {
  const std::vector<uint8_t> plain = UnmaskSid(m_context.file, owner);
  const bool isKnown = IsKnownSid(plain);
  if (object.id == kDatabaseObject) {
    if (!isKnown || plain.size() != 2 ||
        GetLittle<uint16_t>(plain, 0) != static_cast<uint16_t>(EAccount::User))
      m_context.findings.Error("A5", object.place, u"the owner of MSysDb is not the default user");
  } else if (!isKnown && !owner.empty()) {
    m_context.findings.Doubt("A6", object.place, u"the owner of ", object.name, u" is no known account");
  }
}

void CCatalogueCheck::AddAce(const CRowView& row, SPlace place) {
  const CSystemRow values(m_context.file, row);
  if (!IsKnownSid(UnmaskSid(m_context.file, values.GetBytes(kAcesSid))))
    m_context.findings.Doubt("A6", place, u"the permission is for no known account");
  const auto id = values.GetNumber<uint32_t>(kAcesObjectId);
  const auto found = m_byId.find(id.value_or(0));
  if (found != m_byId.end())
    m_objects[found->second].hasAce = true;
  else if (m_isComplete)
    m_context.findings.Error("B6", place, u"the permission is for object ", id.value_or(0),
                             u", which does not exist");
}

void CCatalogueCheck::Finish() {
  CheckSystemObjects();
  if (!m_isComplete) return;
  for (const SCheckedObject& object : m_objects) CheckObject(object);
}

void CCatalogueCheck::CheckObject(const SCheckedObject& object) {
  if (object.parent != kContainerRoot && Find(object.parent) == nullptr)
    m_context.findings.Error("B3", object.place, u"the container of ", object.name, u" does not exist");
  const uint32_t parent = ExpectedParent(object.type);
  if (parent != 0 && object.parent != parent)
    m_context.findings.Error("B5", object.place, object.name, u" is not in the container of its kind");
  if (MustHaveAce(object.type) && !object.hasAce)
    m_context.findings.Error("B7", object.place, object.name, u" has no permissions");
}

void CCatalogueCheck::CheckSystemObjects() {
  for (const SSystemRow& row : kSystemRows) {
    const SCheckedObject* object = Find(row.id);
    if (object == nullptr || object->parent != row.parent || object->name != row.name ||
        object->type != row.type)
      m_context.findings.Error("A7", {}, u"the row of ", row.name, u" is missing or has other values");
  }
}

void CCatalogueCheck::CheckTableType(const SCheckedTable& table) {
  const bool isSystem = table.page >= kObjectsPage && table.page <= kRelationshipsPage;
  if (isSystem != (table.tableType == kSystemTable))
    m_context.findings.Error(
        "B8", {table.page},
        isSystem ? u"a system table that is not marked as one" : u"marked as a system table");
}

const SCheckedObject* CCatalogueCheck::Find(uint32_t id) const {
  const auto found = m_byId.find(id);
  return found == m_byId.end() ? nullptr : &m_objects[found->second];
}

}  // namespace tolvane
