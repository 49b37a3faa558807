#include "embedded/SystemTables.h"

#include <algorithm>
#include <initializer_list>
#include <tuple>

#include "embedded/ObjectName.h"

namespace tolvane {
namespace {

struct SColumn {
  std::u16string_view name;
  uint8_t type;
  uint8_t sinceVersion = 0;  // of the format
};
struct SIndex {
  std::u16string_view name;
  uint8_t flags;
  uint8_t kind;
  std::initializer_list<uint16_t> columns;
};

// In order of column number.
constexpr SColumn kObjectsColumns[] = {
    {u"Id", kTypeLong},         {u"ParentId", kTypeLong},    {u"Name", kTypeText},
    {u"Type", kTypeInteger},    {u"DateCreate", kTypeDate},  {u"DateUpdate", kTypeDate},
    {u"Owner", kTypeBinary},    {u"Flags", kTypeLong},       {u"Database", kTypeMemo},
    {u"Connect", kTypeMemo},    {u"ForeignName", kTypeText}, {u"RmtInfoShort", kTypeBinary},
    {u"RmtInfoLong", kTypeOle}, {u"Lv", kTypeOle},           {u"LvProp", kTypeOle},
    {u"LvModule", kTypeOle},    {u"LvExtra", kTypeOle}};
constexpr SColumn kAcesColumns[] = {
    {u"ObjectId", kTypeLong}, {u"SID", kTypeBinary}, {u"ACM", kTypeLong}, {u"FInheritable", kTypeBoolean}};
constexpr SColumn kQueriesColumns[] = {{u"ObjectId", kTypeLong}, {u"Attribute", kTypeByte},
                                       {u"Order", kTypeBinary},  {u"Name1", kTypeText},
                                       {u"Name2", kTypeText},    {u"Expression", kTypeMemo},
                                       {u"Flag", kTypeInteger},  {u"LvExtra", kTypeLong, 1}};
constexpr SColumn kRelationshipsColumns[] = {{u"szRelationship", kTypeText},
                                             {u"grbit", kTypeLong},
                                             {u"ccolumn", kTypeLong},
                                             {u"icolumn", kTypeLong},
                                             {u"szObject", kTypeText},
                                             {u"szColumn", kTypeText},
                                             {u"szReferencedObject", kTypeText},
                                             {u"szReferencedColumn", kTypeText}};

// In order of their numbers; real and logical indexes correspond one to one.
const SIndex kObjectsIndexes[] = {{u"ParentIdName", kIndexUnique, 0, {kObjectsParentId, kObjectsName}},
                                  {u"Id", kIndexUnique, kKindPrimary, {kObjectsId}}};
const SIndex kAcesIndexes[] = {{u"ObjectId", kIndexRequired, 0, {kAcesObjectId}}};
const SIndex kQueriesIndexes[] = {{u"ObjectIdAttribute", kIndexUnique, kKindPrimary, {0, 1, 2}}};
const SIndex kRelationshipsIndexes[] = {{u"szRelationship", kIndexIgnoreNulls, 0, {0}},
                                        {u"szObject", kIndexIgnoreNulls, 0, {4}},
                                        {u"szReferencedObject", kIndexIgnoreNulls, 0, {6}}};

struct STable {
  std::span<const SColumn> columns;
  std::span<const SIndex> indexes;
};
const STable kTables[kSystemTableCount] = {{kObjectsColumns, kObjectsIndexes},
                                           {kAcesColumns, kAcesIndexes},
                                           {kQueriesColumns, kQueriesIndexes},
                                           {kRelationshipsColumns, kRelationshipsIndexes}};

constexpr SSystemObject kObjects[] = {
    {kContainerTables, kContainerRoot, u"Tables", kObjectContainer, EAccount::Engine},
    {kContainerDatabases, kContainerRoot, u"Databases", kObjectContainer, EAccount::Engine},
    {kContainerRelationships, kContainerRoot, u"Relationships", kObjectContainer, EAccount::Engine},
    {kDatabaseObject, kContainerDatabases, u"MSysDb", kObjectDatabase, EAccount::User},
    {kObjectsPage, kContainerTables, u"MSysObjects", kObjectTable, EAccount::Engine},
    {kAcesPage, kContainerTables, u"MSysACEs", kObjectTable, EAccount::Engine},
    {kQueriesPage, kContainerTables, u"MSysQueries", kObjectTable, EAccount::Engine},
    {kRelationshipsPage, kContainerTables, u"MSysRelationships", kObjectTable, EAccount::Engine}};

constexpr SSystemAce kAces[] = {{kObjectsPage, EAccount::User, 0x60000, false},
                                {kAcesPage, EAccount::User, 0x60000, false},
                                {kQueriesPage, EAccount::User, 0x60000, false},
                                {kRelationshipsPage, EAccount::User, 0xE0000, false},
                                {kContainerTables, EAccount::Creator, 0xF00FE, true},
                                {kContainerTables, EAccount::User, 0x60001, false},
                                {kContainerRelationships, EAccount::Creator, 0xF00FE, true},
                                {kContainerRelationships, EAccount::User, 0x60001, false},
                                {kContainerDatabases, EAccount::User, 0x60000, false},
                                {kDatabaseObject, EAccount::User, 0x6000E, false},
                                {kDatabaseObject, EAccount::Users, 0x0000E, false},
                                {kQueriesPage, EAccount::Users, 0x14, false},
                                {kRelationshipsPage, EAccount::Users, 0x14, false},
                                {kObjectsPage, EAccount::Users, 0x14, false},
                                {kContainerTables, EAccount::Users, 0xFFEFF, true},
                                {kContainerRelationships, EAccount::Users, 0xFFFFF, true}};

uint16_t LengthOf(const SEmbeddedLayout& layout, uint8_t type) {
  const bool isShort = type == kTypeText || type == kTypeBinary;
  return isShort ? static_cast<uint16_t>(kMaxTextLength * layout.text.unitSize) : LengthOfType(type);
}

bool IsVariable(uint8_t type) {
  return type == kTypeText || type == kTypeBinary || IsLongValueType(type);
}

SColumnDefinition MakeColumn(const SEmbeddedLayout& layout, const SColumn& from) {
  SColumnDefinition column;
  column.name = from.name;
  column.type = from.type;
  column.length = LengthOf(layout, from.type);
  column.flags = kColumnUpdatable | kColumnSystem;
  if (!IsVariable(from.type)) column.flags |= kColumnFixed;
  if (from.name == u"Owner" || from.name == u"SID") column.flags |= kColumnSid;
  return column;
}

}  // namespace

STableDefinition MakeSystemTable(const SEmbeddedLayout& layout, uint32_t table) {
  STableDefinition definition;
  definition.tableType = kSystemTable;
  for (const SColumn& column : kTables[table].columns)
    if (column.sinceVersion <= layout.version) definition.columns.push_back(MakeColumn(layout, column));
  definition.LayOutColumns();
  uint32_t number = 0;
  for (const SIndex& from : kTables[table].indexes) {
    SRealIndex real;
    for (const uint16_t column : from.columns) real.columns.push_back({column, true});
    real.flags = from.flags;
    definition.realIndexes.push_back(std::move(real));
    SLogicalIndex logical;
    logical.name = from.name;
    logical.number = logical.realIndex = number++;
    logical.kind = from.kind;
    definition.logicalIndexes.push_back(std::move(logical));
  }
  const auto byName = [&](const auto& a, const auto& b) { return IsNameBefore(layout, a.name, b.name); };
  // All display numbers are 0 here, so names alone decide an order that goes by them.
  if (layout.definition.isSortedByDisplay)
    std::sort(definition.columns.begin(), definition.columns.end(), byName);
  std::sort(definition.logicalIndexes.begin(), definition.logicalIndexes.end(), byName);
  return definition;
}

std::span<const SSystemObject> GetSystemObjects() {
  return kObjects;
}
std::span<const SSystemAce> GetSystemAces() {
  return kAces;
}

bool IsSystemTable(const SEmbeddedLayout& layout, uint32_t table, const STableDefinition& definition) {
  const STableDefinition expected = MakeSystemTable(layout, table);
  const auto sameColumn = [](const SColumnDefinition& a, const SColumnDefinition& b) {
    return std::tie(a.name, a.type, a.number, a.variableIndex, a.fixedOffset, a.length) ==
               std::tie(b.name, b.type, b.number, b.variableIndex, b.fixedOffset, b.length) &&
           a.IsFixed() == b.IsFixed();
  };
  const auto sameIndex = [](const SRealIndex& a, const SRealIndex& b) {
    return a.flags == b.flags &&
           std::equal(a.columns.begin(), a.columns.end(), b.columns.begin(), b.columns.end(),
                      [](const SIndexColumn& x, const SIndexColumn& y) {
                        return x.number == y.number && x.ascending == y.ascending;
                      });
  };
  return definition.tableType == kSystemTable &&
         std::equal(expected.columns.begin(), expected.columns.end(), definition.columns.begin(),
                    definition.columns.end(), sameColumn) &&
         std::equal(expected.realIndexes.begin(), expected.realIndexes.end(), definition.realIndexes.begin(),
                    definition.realIndexes.end(), sameIndex);
}

}  // namespace tolvane
