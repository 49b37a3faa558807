// The tables that every database begins with, as the original engine makes them: the four of the catalogue
// and, in ACE files, the list of complex columns and one empty table for each kind of them.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "format/Definition.h"
#include "format/SystemObjects.h"

namespace tolvane {

inline constexpr uint32_t kCatalogueTableCount = 4;  // on the pages from kObjectsPage on
inline constexpr size_t kObjectsTable = 0;           // place of MSysObjects among them

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
// Names that are made of others, cut to the length that names have: the row numbers of a flat table, and the
// keys of its parent's values.
std::u16string CutName(std::u16string name);
std::u16string FlatRowIdName(std::u16string_view table, std::u16string_view column);
std::u16string FlatKeyName(std::u16string_view column);

// The first rows of MSysObjects and MSysACEs, in the order in which they are stored. Those of ACE's own
// tables follow from the list.
std::span<const SSystemObject> GetSystemObjects();
std::span<const SSystemAce> GetSystemAces(const SLayout& layout);

// True when the definition has the columns and indexes of that system table, so that rows can be added to it.
bool IsSystemTable(const SLayout& layout, size_t table, const STableDefinition& definition);

}  // namespace tolvane
