#include "format/SystemTables.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string_view>
#include <tuple>

#include "format/TextKey.h"

namespace tolvane {
namespace {

struct SColumn {
  std::u16string_view name;
  uint8_t type;
  uint8_t sinceVersion = 0;  // of the format
  uint8_t moreFlags = 0;
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

constexpr SColumn kComplexColumnsColumns[] = {{u"ColumnName", kTypeText},
                                              {u"ComplexTypeObjectID", kTypeLong},
                                              {u"FlatTableID", kTypeLong},
                                              {u"ConceptualTableID", kTypeLong},
                                              {u"ComplexID", kTypeLong, 0, kColumnAutoNumber}};
constexpr SColumn kByteValue[] = {{u"Value", kTypeByte}};
constexpr SColumn kIntegerValue[] = {{u"Value", kTypeInteger}};
constexpr SColumn kLongValue[] = {{u"Value", kTypeLong}};
constexpr SColumn kSingleValue[] = {{u"Value", kTypeSingle}};
constexpr SColumn kDoubleValue[] = {{u"Value", kTypeDouble}};
constexpr SColumn kGuidValue[] = {{u"Value", kTypeGuid}};
constexpr SColumn kDecimalValue[] = {{u"Value", kTypeDecimal}};
constexpr SColumn kTextValue[] = {{u"Value", kTypeText}};
constexpr SColumn kFileColumns[] = {{u"FileURL", kTypeMemo},       {u"FileName", kTypeText},
                                    {u"FileType", kTypeText},      {u"FileData", kTypeOle},
                                    {u"FileTimeStamp", kTypeDate}, {u"FileFlags", kTypeLong}};

// In order of their numbers; real and logical indexes correspond one to one.
const SIndex kObjectsIndexes[] = {{u"ParentIdName", kIndexUnique, 0, {kObjectsParentId, kObjectsName}},
                                  {u"Id", kIndexUnique, kIndexKindPrimary, {kObjectsId}}};
const SIndex kAcesIndexes[] = {{u"ObjectId", kIndexRequired, 0, {kAcesObjectId}}};
const SIndex kQueriesIndexes[] = {{u"ObjectIdAttribute", kIndexUnique, kIndexKindPrimary, {0, 1, 2}}};
const SIndex kRelationshipsIndexes[] = {{u"szRelationship", kIndexIgnoreNulls, 0, {0}},
                                        {u"szObject", kIndexIgnoreNulls, 0, {4}},
                                        {u"szReferencedObject", kIndexIgnoreNulls, 0, {6}}};

const SIndex kComplexColumnsIndexes[] = {
    {u"IdxID", kIndexUnique | kIndexIgnoreNulls | kIndexRequired, kIndexKindPrimary, {kComplexColumnsId}},
    {u"IdxConceptualTableID", kIndexIgnoreNulls | kIndexRequired, 0, {kComplexColumnsTable}},
    {u"IdxFlatTableID", kIndexIgnoreNulls | kIndexRequired, 0, {kComplexColumnsFlatTable}}};

struct SContent {
  std::span<const SColumn> columns;
  std::span<const SIndex> indexes;
};
// In the order of kTables.
const SContent kContents[] = {{kObjectsColumns, kObjectsIndexes},
                              {kAcesColumns, kAcesIndexes},
                              {kQueriesColumns, kQueriesIndexes},
                              {kRelationshipsColumns, kRelationshipsIndexes},
                              {kComplexColumnsColumns, kComplexColumnsIndexes},
                              {kByteValue, {}},
                              {kIntegerValue, {}},
                              {kLongValue, {}},
                              {kSingleValue, {}},
                              {kDoubleValue, {}},
                              {kGuidValue, {}},
                              {kDecimalValue, {}},
                              {kTextValue, {}},
                              {kFileColumns, {}}};
constexpr SSystemTable kTables[] = {{kMSysObjects, kObjectsPage, kSystemObjectFlag},
                                    {kMSysAces, kAcesPage, kSystemObjectFlag},
                                    {kMSysQueries, kQueriesPage, kSystemObjectFlag},
                                    {kMSysRelationships, kRelationshipsPage, kSystemObjectFlag},
                                    {kMSysComplexColumns, kComplexColumnsPage, kSystemObjectFlag},
                                    {u"MSysComplexType_UnsignedByte", kComplexOfBytes, kComplexKindFlags},
                                    {u"MSysComplexType_Short", kComplexOfIntegers, kComplexKindFlags},
                                    {u"MSysComplexType_Long", kComplexOfLongs, kComplexKindFlags},
                                    {u"MSysComplexType_IEEESingle", kComplexOfSingles, kComplexKindFlags},
                                    {u"MSysComplexType_IEEEDouble", kComplexOfDoubles, kComplexKindFlags},
                                    {u"MSysComplexType_GUID", kComplexOfGuids, kComplexKindFlags},
                                    {u"MSysComplexType_Decimal", kComplexOfDecimals, kComplexKindFlags},
                                    {u"MSysComplexType_Text", kComplexOfTexts, kComplexKindFlags},
                                    {u"MSysComplexType_Attachment", kComplexOfFiles, kComplexKindFlags}};
static_assert(std::size(kTables) == std::size(kContents));
constexpr size_t kFirstAceTable = kCatalogueTableCount, kFirstKind = kFirstAceTable + 1;
constexpr uint8_t kKindPrecision = 18;
constexpr uint16_t kKindDecimalLength = 9;

constexpr SSystemObject kObjects[] = {
    {kContainerTables, kContainerRoot, u"Tables", kObjectContainer, EAccount::Engine},
    {kContainerDatabases, kContainerRoot, u"Databases", kObjectContainer, EAccount::Engine},
    {kContainerRelationships, kContainerRoot, u"Relationships", kObjectContainer, EAccount::Engine},
    {kDatabaseObject, kContainerDatabases, kMSysDb, kObjectDatabase, EAccount::User},
    {kObjectsPage, kContainerTables, kMSysObjects, kObjectTable, EAccount::Engine},
    {kAcesPage, kContainerTables, kMSysAces, kObjectTable, EAccount::Engine},
    {kQueriesPage, kContainerTables, kMSysQueries, kObjectTable, EAccount::Engine},
    {kRelationshipsPage, kContainerTables, kMSysRelationships, kObjectTable, EAccount::Engine}};

constexpr SSystemAce kAces[] = {{kObjectsPage, EAccount::User, 0x60000, false},
                                {kAcesPage, EAccount::User, 0x60000, false},
                                {kQueriesPage, EAccount::User, 0x60000, false},
                                {kRelationshipsPage, EAccount::User, 0xE0000, false},
                                {kContainerTables, EAccount::Creator, kCreatorAccess, true},
                                {kContainerTables, EAccount::User, 0x60001, false},
                                {kContainerRelationships, EAccount::Creator, kCreatorAccess, true},
                                {kContainerRelationships, EAccount::User, 0x60001, false},
                                {kContainerDatabases, EAccount::User, 0x60000, false},
                                {kDatabaseObject, EAccount::User, 0x6000E, false},
                                {kDatabaseObject, EAccount::Users, 0x0000E, false},
                                {kQueriesPage, EAccount::Users, 0x14, false},
                                {kRelationshipsPage, EAccount::Users, 0x14, false},
                                {kObjectsPage, EAccount::Users, 0x14, false},
                                {kContainerTables, EAccount::Users, kTableAccess, true},
                                {kContainerRelationships, EAccount::Users, kFullAccess, true}};
// In ACE files the default user has more access to the container of tables.
constexpr SSystemAce kAceTablesAccess{kContainerTables, EAccount::User, kTableAccess, true};

constexpr uint32_t kAdministratorsAccess = 0x60014;

std::vector<SSystemAce> ListAceAces() {
  std::vector<SSystemAce> aces(std::begin(kAces), std::end(kAces));
  for (SSystemAce& ace : aces)
    if (ace.object == kAceTablesAccess.object && ace.account == kAceTablesAccess.account)
      ace = kAceTablesAccess;
  const auto add = [&aces](EAccount account, uint32_t access) {
    for (const SSystemTable& table : std::span(kTables).subspan(kFirstAceTable))
      aces.push_back({table.page, account, access, false});
  };
  add(EAccount::User, 0x60000);
  add(EAccount::Administrators, kAdministratorsAccess);
  add(EAccount::Users, 0x14);
  return aces;
}

// Two pieces of bytes that repeat between a beginning and an end of their own.
constexpr std::array<uint8_t, kLongestSid> MakeAdministrators() {
  constexpr uint8_t kBegin[] = {0x01, 0xDB, 0x87, 0x93, 0x20, 0x81, 0x4F, 0xAB, 0x38},
                    kA[] = {0xDF, 0x56, 0x1A, 0x17, 0x23, 0x6A, 0x4B, 0x11},
                    kB[] = {0x72, 0xCC, 0x76, 0xE4, 0x77, 0x6C, 0xB1, 0x72},
                    kEnd[] = {0xDF, 0x56, 0x1A, 0x17, 0x23};
  std::array<uint8_t, kLongestSid> sid{};
  auto at = std::copy(std::begin(kBegin), std::end(kBegin), sid.begin());
  for (const char piece : std::string_view("abaaaabaaaa"))
    at = piece == 'a' ? std::copy(std::begin(kA), std::end(kA), at)
                      : std::copy(std::begin(kB), std::end(kB), at);
  std::copy(std::begin(kEnd), std::end(kEnd), at);
  return sid;
}
constexpr auto kAdministrators = MakeAdministrators();

uint16_t LengthOf(const SLayout& layout, uint8_t type) {
  const bool isShort = type == kTypeText || type == kTypeBinary;
  return isShort ? static_cast<uint16_t>(kMaxTextLength * layout.text.unitSize) : LengthOfType(type);
}

bool IsVariable(uint8_t type) {
  return type == kTypeText || type == kTypeBinary || IsLongValueType(type);
}

SColumnDefinition ColumnFrom(const SLayout& layout, const SColumn& from) {
  SColumnDefinition column;
  column.name = from.name;
  column.type = from.type;
  column.length = LengthOf(layout, from.type);
  column.flags = static_cast<uint8_t>(kColumnUpdatable | from.moreFlags);
  if (!IsVariable(from.type)) column.flags |= kColumnFixed;
  return column;
}

SColumnDefinition MakeSystemColumn(const SLayout& layout, const SColumn& from) {
  SColumnDefinition column = ColumnFrom(layout, from);
  column.flags |= kColumnSystem;
  if (from.name == u"Owner" || from.name == u"SID") column.flags |= kColumnSid;
  return column;
}

// Kinds of complex columns are tables as users' are, but for a decimal that is variable and marked files.
SColumnDefinition MakeKindColumn(const SColumn& from, bool isOfFile) {
  SColumnDefinition column = ColumnFrom(kLayoutAce, from);
  if (isOfFile) column.extendedFlags = kColumnOfFile;
  if (from.type != kTypeDecimal) return column;
  column.flags = kColumnUpdatable;
  column.length = kKindDecimalLength;
  column.precision = kKindPrecision;
  return column;
}

void AddIndexes(std::span<const SIndex> indexes, STableDefinition& definition) {
  for (const SIndex& from : indexes) {
    SRealIndex real{.flags = from.flags};
    for (const uint16_t column : from.columns) real.columns.push_back({column, true});
    definition.AddIndex(std::u16string(from.name), std::move(real), from.kind);
  }
}

}  // namespace

std::span<const uint8_t> GetSid(EAccount account, std::array<uint8_t, 2>& buffer) {
  if (account == EAccount::Administrators) return kAdministrators;
  PutLittle(std::span<uint8_t>(buffer), 0, static_cast<uint16_t>(account));
  return buffer;
}

std::span<const SSystemTable> GetSystemTables(const SLayout& layout) {
  return std::span(kTables).first(layout.hasComplexColumns ? std::size(kTables) : kCatalogueTableCount);
}

std::vector<SColumnDefinition> MakeComplexColumns(EComplexKind kind) {
  std::vector<SColumnDefinition> columns;
  for (size_t table = kFirstKind; table < std::size(kTables); table++) {
    if (kTables[table].page != kind) continue;
    for (const SColumn& column : kContents[table].columns)
      columns.push_back(MakeKindColumn(column, kind == kComplexOfFiles));
  }
  return columns;
}

STableDefinition MakeSystemTable(const SLayout& layout, STextOrder order, size_t table) {
  STableDefinition definition;
  definition.tableType = table < kCatalogueTableCount ? kSystemTable : kUserTable;
  if (table < kFirstKind) {
    for (const SColumn& column : kContents[table].columns)
      if (column.sinceVersion <= layout.version)
        definition.columns.push_back(MakeSystemColumn(layout, column));
  } else {
    definition.columns = MakeComplexColumns(static_cast<EComplexKind>(kTables[table].page));
  }
  for (SColumnDefinition& column : definition.columns) column.order = order;
  definition.LayOutColumns();
  AddIndexes(kContents[table].indexes, definition);
  const auto key = [&](const auto& named) {
    return MakeNameKey(layout.text.IsCodePage(), EncodeAsciiName(layout, named.name));
  };
  const auto byName = [&](const auto& a, const auto& b) { return key(a) < key(b); };
  // All display numbers are 0 here, so names alone decide an order that goes by them.
  if (layout.definition.isSortedByDisplay) std::ranges::sort(definition.columns, byName);
  std::ranges::sort(definition.logicalIndexes, byName);
  return definition;
}

std::span<const SSystemObject> GetSystemObjects() {
  return kObjects;
}
std::span<const SSystemAce> GetSystemAces(const SLayout& layout) {
  static const std::vector<SSystemAce> kOfAce = ListAceAces();
  return layout.hasComplexColumns ? std::span<const SSystemAce>(kOfAce) : kAces;
}

bool IsSystemTable(const SLayout& layout, size_t table, const STableDefinition& definition) {
  const STableDefinition expected = MakeSystemTable(layout, {}, table);
  const auto sameColumn = [](const SColumnDefinition& a, const SColumnDefinition& b) {
    return std::tie(a.name, a.type, a.number, a.variableIndex, a.fixedOffset, a.length) ==
               std::tie(b.name, b.type, b.number, b.variableIndex, b.fixedOffset, b.length) &&
           a.IsFixed() == b.IsFixed();
  };
  const auto sameIndex = [](const SRealIndex& a, const SRealIndex& b) {
    return a.flags == b.flags &&
           std::ranges::equal(a.columns, b.columns, [](const SIndexColumn& x, const SIndexColumn& y) {
             return x.number == y.number && x.ascending == y.ascending;
           });
  };
  return definition.tableType == expected.tableType &&
         std::ranges::equal(expected.columns, definition.columns, sameColumn) &&
         std::ranges::equal(expected.realIndexes, definition.realIndexes, sameIndex);
}

std::u16string CutName(std::u16string name) {
  name.resize(std::min(name.size(), kMaxNameLength));
  return name;
}

std::u16string FlatRowIdName(std::u16string_view table, std::u16string_view column) {
  return CutName(std::u16string(table).append(u"_").append(column));
}

std::u16string FlatKeyName(std::u16string_view column) {
  return FlatRowIdName({}, column);
}

}  // namespace tolvane
