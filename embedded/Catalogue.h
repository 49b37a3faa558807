// The database's catalogue: the rows of the four system tables, and which table has which name.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "embedded/HeaderPage.h"
#include "embedded/SystemTables.h"
#include "embedded/TableStore.h"

namespace tolvane {

struct SCatalogueObject {
  uint32_t id = 0;  // tables: their definition page
  int16_t type = 0;
};

class CCatalogue {
 public:
  explicit CCatalogue(CPageFile& file);

  // The tables of a new database, with their first rows.
  CDaoResult Create(const SHeaderPage& header);
  CDaoResult Load(const SHeaderPage& header);
  // Writes what was added since.
  CDaoResult Store();

  // Tables and queries; nullptr when there is none of that name, in whatever case.
  [[nodiscard]] const SCatalogueObject* Find(std::u16string_view name) const;
  // The name must be free. `date` is when the table was made.
  CDaoResult AddTable(std::u16string_view name, uint32_t definitionPage, double date);
  // Likewise among the relations.
  [[nodiscard]] bool HasRelation(std::u16string_view name) const;
  CDaoResult AddRelation(const CDaoRelationInfo& relation, double date);
  // Stores the query's rows, too; `replaced` counts their characters that the format cannot hold.
  CDaoResult AddQuery(const SSavedQuery& query, double date, size_t& replaced);

 private:
  [[nodiscard]] CTableStore& Table(uint32_t page) { return *m_tables[page - kObjectsPage]; }
  CDaoResult AddObject(const SSystemObject& object, double date, std::span<const uint8_t> properties = {});
  CDaoResult AddAce(const SSystemAce& ace);
  // The two entries that every object of the users has; `userAccess` is the owner's.
  CDaoResult AddUserAces(uint32_t object, uint32_t userAccess);
  CDaoResult GiveObjectId(uint32_t& id);
  std::vector<uint8_t> MaskedSid(EAccount account) const;
  CDaoResult CreateCatalogueTables(STextOrder order);
  CDaoResult CreateComplexTables(STextOrder order);
  CDaoResult LoadTables();
  CDaoResult LoadComplexColumns();
  bool LoadObject(std::span<const uint8_t> row);

  CPageFile& m_file;
  SSidMask m_sidMask{};
  std::array<std::unique_ptr<CTableStore>, kCatalogueTableCount> m_tables;
  std::unique_ptr<CTableStore> m_complexColumns;      // null in files of other formats than ACE
  std::map<std::string, SCatalogueObject> m_objects;  // by name key
  std::set<std::string> m_relations;                  // name keys
  uint32_t m_nextObjectId = kFirstObjectId;
};

}  // namespace tolvane
