// The tables that every database begins with, as the original engine makes them: the four of the catalogue
// and, in ACE files, the list of complex columns and one empty table for each kind of them.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "embedded/TableDefinition.h"

namespace tolvane {

inline constexpr uint32_t kCatalogueTableCount = 4;  // on the pages from kObjectsPage on

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
  kObjectsProperties = 14,
};
enum EAcesColumn : uint16_t { kAcesObjectId = 0, kAcesSid = 1, kAcesAcm = 2, kAcesInheritable = 3 };
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
inline constexpr uint32_t kSystemObjectFlag = 0x80000000;
inline constexpr uint32_t kComplexKindFlags = 0x80030000, kFlatTableFlags = 0x800A0000,
                          kHasComplexColumnsFlag = 0x00040000, kLinkedOdbcFlags = 0x20100000,
                          kLinkedAccessFlags = 0x00200000, kHiddenObjectFlag = 8;
inline constexpr int16_t kObjectTable = 1, kObjectDatabase = 2, kObjectContainer = 3, kObjectLinkedOdbc = 4,
                         kObjectQuery = 5, kObjectLinkedAccess = 6, kObjectRelationship = 8,
                         kObjectDocument = -32757;
// Objects without a definition page are numbered from here.
inline constexpr uint32_t kFirstObjectId = 0x80000000;

// Built-in accounts, as stored before masking.
enum class EAccount : uint16_t {
  None = 0,
  Users = 0x0102,
  User = 0x0103,
  Engine = 0x0302,
  Creator = 0x0402,
  Administrators = 0xFFFF,  // a long SID, see GetSid
};
// The SID of the group of administrators that ACE files begin with.
inline constexpr size_t kLongestSid = 102;
// The bytes of an account before masking.
std::span<const uint8_t> GetSid(EAccount account, std::array<uint8_t, 2>& buffer);

struct SSystemObject {
  uint32_t id, parent;
  std::u16string_view name;
  int16_t type;
  EAccount owner;
  uint32_t flags = kSystemObjectFlag;
};
struct SSystemAce {
  uint32_t object;
  EAccount account;
  uint32_t access;
  bool inheritable;
};

// One of the tables that a new database has.
struct SSystemTable {
  std::u16string_view name;
  uint32_t page;
  uint32_t objectFlags;
};
// In the order in which they are made; the catalogue's four are the first.
std::span<const SSystemTable> GetSystemTables(const SLayout& layout);
// Definition of the table at that place of the list, without pages.
STableDefinition MakeSystemTable(const SLayout& layout, STextOrder order, size_t table);
// The kind's own columns, as in its empty table.
std::vector<SColumnDefinition> MakeComplexColumns(EComplexKind kind);

// The first rows of MSysObjects and MSysACEs, in the order in which they are stored. Those of ACE's own
// tables follow from the list.
std::span<const SSystemObject> GetSystemObjects();
std::span<const SSystemAce> GetSystemAces(const SLayout& layout);

// True when the definition has the columns and indexes of that system table, so that rows can be added to it.
bool IsSystemTable(const SLayout& layout, size_t table, const STableDefinition& definition);

}  // namespace tolvane
