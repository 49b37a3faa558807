// The four tables that every database begins with, as the original engine makes them.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "embedded/TableDefinition.h"

namespace tolvane {

inline constexpr uint32_t kSystemTableCount = 4;  // on the pages from kObjectsPage on

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

// Catalogue ids and types.
inline constexpr uint32_t kContainerRoot = 0x0F000000, kContainerTables = 0x0F000001,
                          kContainerDatabases = 0x0F000002, kContainerRelationships = 0x0F000003,
                          kDatabaseObject = 0x10000000;
inline constexpr int16_t kObjectTable = 1, kObjectDatabase = 2, kObjectContainer = 3, kObjectQuery = 5,
                         kObjectRelationship = 8;
inline constexpr uint32_t kSystemObjectFlag = 0x80000000;
// Objects without a definition page are numbered from here.
inline constexpr uint32_t kFirstObjectId = 0x80000000;

// Built-in accounts, as stored before masking.
enum class EAccount : uint16_t { Users = 0x0102, User = 0x0103, Engine = 0x0302, Creator = 0x0402 };

struct SSystemObject {
  uint32_t id, parent;
  std::u16string_view name;
  int16_t type;
  EAccount owner;
};
struct SSystemAce {
  uint32_t object;
  EAccount account;
  uint32_t access;
  bool inheritable;
};

// Definition of the table on page kObjectsPage + `table`, without pages.
STableDefinition MakeSystemTable(const SEmbeddedLayout& layout, uint32_t table);
// The first rows of MSysObjects and MSysACEs, in the order in which they are stored.
std::span<const SSystemObject> GetSystemObjects();
std::span<const SSystemAce> GetSystemAces();

// True when the definition has the columns and indexes of that system table, so that rows can be added to it.
bool IsSystemTable(const SEmbeddedLayout& layout, uint32_t table, const STableDefinition& definition);

}  // namespace tolvane
