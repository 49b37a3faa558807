// What the tables of the system hold: their columns by number, the pages with a fixed place, and the ids,
// types and flags of objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tolvane {

// Names of tables, and of the document that is the database itself.
inline constexpr std::u16string_view kMSysObjects = u"MSysObjects", kMSysAces = u"MSysACEs",
                                     kMSysQueries = u"MSysQueries", kMSysRelationships = u"MSysRelationships",
                                     kMSysComplexColumns = u"MSysComplexColumns", kMSysDb = u"MSysDb";

// Column numbers.
enum EObjectsColumn : uint16_t {
  kObjectsId = 0,
  kObjectsParentId = 1,
  kObjectsName = 2,
  kObjectsType = 3,
  kObjectsDateCreate = 4,
  kObjectsDateUpdate = 5,
  kObjectsOwner = 6,
  kObjectsFlags = 7,
  kObjectsDatabase = 8,
  kObjectsConnect = 9,
  kObjectsForeignName = 10,
  kObjectsShortInfo = 11,
  kObjectsLongInfo = 12,
  kObjectsLv = 13,
  kObjectsProperties = 14,  // see PropertyBlob.h
  kObjectsLvModule = 15,
  kObjectsLvExtra = 16,
};
enum EAcesColumn : uint16_t { kAcesObjectId = 0, kAcesSid = 1, kAcesAcm = 2, kAcesInheritable = 3 };
enum EQueriesColumn : uint16_t {
  kQueriesObjectId = 0,
  kQueriesAttribute = 1,
  kQueriesOrder = 2,
  kQueriesName1 = 3,
  kQueriesName2 = 4,
  kQueriesExpression = 5,
  kQueriesFlag = 6,
  kQueriesLvExtra = 7,  // not in Jet 3
};
enum ERelationshipsColumn : uint16_t {
  kRelationshipsName = 0,
  kRelationshipsFlags = 1,
  kRelationshipsCount = 2,
  kRelationshipsPosition = 3,
  kRelationshipsTable = 4,
  kRelationshipsColumn = 5,
  kRelationshipsReferencedTable = 6,
  kRelationshipsReferencedColumn = 7,
};
inline constexpr size_t kRelationshipsColumnCount = 8;
// Bits of kRelationshipsFlags.
inline constexpr int32_t kRelationUnique = 0x1;  // one-to-one
inline constexpr int32_t kRelationDontEnforce = 0x2;
inline constexpr int32_t kRelationInherited = 0x4;
inline constexpr int32_t kRelationUpdateCascade = 0x100;
inline constexpr int32_t kRelationDeleteCascade = 0x1000;
inline constexpr int32_t kRelationNullCascade = 0x2000;  // deleting sets the references to null
inline constexpr int32_t kRelationLeft = 0x1000000;
inline constexpr int32_t kRelationRight = 0x2000000;

enum EComplexColumnsColumn : uint16_t {
  kComplexColumnsName = 0,
  kComplexColumnsKind = 1,
  kComplexColumnsFlatTable = 2,
  kComplexColumnsTable = 3,
  kComplexColumnsId = 4,
};

// Definition pages of ACE files, the same in all of them. A map page follows each, and index roots where
// there are indexes.
inline constexpr uint32_t kComplexColumnsPage = 18;
enum EComplexKind : uint32_t {
  kComplexOfBytes = 23,
  kComplexOfIntegers = 25,
  kComplexOfLongs = 27,
  kComplexOfSingles = 29,
  kComplexOfDoubles = 31,
  kComplexOfGuids = 33,
  kComplexOfDecimals = 35,
  kComplexOfTexts = 37,
  kComplexOfFiles = 39,
};

// Catalogue ids and types.
inline constexpr uint32_t kContainerRoot = 0x0F000000, kContainerTables = 0x0F000001,
                          kContainerDatabases = 0x0F000002, kContainerRelationships = 0x0F000003,
                          kDatabaseObject = 0x10000000;
// Flags of a table's row. The engine's own tables have the first, those of the program around it the second;
// the third alone is a table that its user hides.
inline constexpr uint32_t kSystemObjectFlag = 0x80000000, kProgramObjectFlag = 0x02, kHiddenObjectFlag = 0x08;
inline constexpr uint32_t kComplexKindFlags = 0x80030000, kFlatTableFlags = 0x800A0000,
                          kHasComplexColumnsFlag = 0x00040000, kLinkedOdbcFlags = 0x20100000,
                          kLinkedAccessFlags = 0x00200000;
inline constexpr int16_t kObjectTable = 1, kObjectDatabase = 2, kObjectContainer = 3, kObjectQuery = 5,
                         kObjectRelationship = 8;
inline constexpr int16_t kObjectLinkedOdbc = 4,  // has a definition page of its own
    kObjectLinkedAccess = 6;
inline constexpr int16_t kObjectForm = -32768, kObjectMacro = -32766, kObjectReport = -32764,
                         kObjectModule = -32761, kObjectUser = -32758, kObjectDocument = -32757;
// Objects without a definition page are numbered from here.
inline constexpr uint32_t kFirstObjectId = 0x80000000;

// Rights of accounts: all that there are; what everybody has to tables and to those behind complex columns;
// what the maker of a table or relationship has.
inline constexpr uint32_t kFullAccess = 0xFFFFF, kTableAccess = 0xFFEFF, kCreatorAccess = 0xF00FE;

// Built-in accounts, as stored before masking.
enum class EAccount : uint16_t {
  None = 0,
  Users = 0x0102,
  User = 0x0103,
  Engine = 0x0302,
  Creator = 0x0402,
  Administrators = 0xFFFF,  // a long SID, see GetSid
};

}  // namespace tolvane
