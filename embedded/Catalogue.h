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

#include "embedded/NewTable.h"
#include "embedded/TableStore.h"
#include "format/HeaderPage.h"
#include "format/SystemTables.h"

namespace tolvane {

struct SCatalogueObject {
  uint32_t id = 0;  // tables: their definition page
  int16_t type = 0;
};

// Where a complex column and its values are.
struct SComplexPlace {
  uint32_t id = 0, table = 0, kind = 0, flatTable = 0;  // definition pages
  std::u16string field;                                 // column, or memo whose versions it keeps
};

class CCatalogue {
 public:
  explicit CCatalogue(CPageFile& file);

  // The tables of a new database, with their first rows.
  CDaoResult Create(const SHeaderPage& header);
  CDaoResult Load(const SHeaderPage& header);
  // Writes what was added since. Names of which `order` is not known for all characters make the system
  // tables take the general one, and `order` with them.
  CDaoResult Store(STextOrder& order);

  // Tables and queries; nullptr when there is none of that name, in whatever case.
  [[nodiscard]] const SCatalogueObject* Find(std::u16string_view name) const;
  // The name must be free, its definition be stored; a link may have none. `date` is when the table was made.
  CDaoResult AddTable(const SNewTable& table, uint32_t definitionPage, double date);
  // A flat table, or the kind of a history.
  CDaoResult AddHiddenTable(std::u16string_view name, uint32_t definitionPage, uint32_t flags,
                            std::span<const uint8_t> properties, double date);

  // Complex columns: the last number given out; a column's place; the flat table of one.
  [[nodiscard]] uint32_t GetLastComplexId() const;
  CDaoResult AddComplexColumn(std::u16string_view column, const SComplexPlace& place);
  [[nodiscard]] const SComplexPlace* FindComplexColumn(uint32_t table, std::u16string_view field) const;

  // Of MSysDb or one of its documents, which is made.
  CDaoResult SetProperties(std::u16string_view document, std::span<const uint8_t> properties, double date);
  // Likewise among the relations.
  [[nodiscard]] bool HasRelation(std::u16string_view name) const;
  CDaoResult AddRelation(const CDaoRelationInfo& relation, double date);
  // Stores the query's rows, too; `loss`: what of their texts the format cannot hold.
  // `properties` is the blob, in place of the query's own.
  CDaoResult AddQuery(const SSavedQuery& query, std::span<const uint8_t> properties, double date,
                      STextLoss& loss);

 private:
  [[nodiscard]] CTableStore& Table(uint32_t page) { return *m_tables[page - kObjectsPage]; }
  // What only some objects have.
  struct SExtras {
    std::span<const uint8_t> properties;
    const STableLink* link = nullptr;
  };
  // Gives an object without an id the next one.
  CDaoResult AddObject(SSystemObject& object, double date, const SExtras& extras);
  CDaoResult SetExtras(const SExtras& extras);
  CDaoResult LoadComplexPlaces();
  CDaoResult AddAce(const SSystemAce& ace);
  // The two entries that every object of the users has; `userAccess` is the owner's.
  CDaoResult AddUserAces(uint32_t object, uint32_t userAccess);
  std::vector<uint8_t> MaskedSid(EAccount account) const;
  CDaoResult CreateCatalogueTables(STextOrder order);
  CDaoResult CreateComplexTables(STextOrder order);
  CDaoResult LoadTables();
  CDaoResult UseGeneralLegacy();
  CDaoResult LoadComplexColumns();
  bool LoadObject(std::span<const uint8_t> row, uint32_t pointer);

  CPageFile& m_file;
  SSidMask m_sidMask{};
  std::array<std::unique_ptr<CTableStore>, kCatalogueTableCount> m_tables;
  std::vector<SComplexPlace> m_complexPlaces;
  std::unique_ptr<CTableStore> m_complexColumns;      // null in files of other formats than ACE
  std::map<std::string, SCatalogueObject> m_objects;  // by name key
  std::set<std::string> m_relations;                  // name keys
  std::set<std::string> m_documents;                  // likewise
  uint32_t m_databaseRow = 0;                         // pointer of the row of MSysDb
  uint32_t m_nextObjectId = kFirstObjectId;
};

}  // namespace tolvane
