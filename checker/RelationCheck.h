// Relationships: the rows of MSysRelationships against the catalogue and against the indexes that enforce
// them in both tables, rules G1 to G6; the rows of both tables against each other, G7.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "checker/CatalogueCheck.h"
#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"
#include "checker/RowView.h"

namespace tolvane {

class CRelationCheck {
 public:
  explicit CRelationCheck(SCheckContext& context) : m_context(context) {}

  void AddRow(const CRowView& row, SPlace place);
  // Notes the table's side of relationships, and whether it has the columns that rows name. After its indexes
  // were checked.
  void AddTable(const SCheckedObject& object, const SCheckedTable& table);
  // A table of another database, whose columns are not known here.
  void AddLinkedTable(const SCheckedObject& object);
  void Finish(const CCatalogueCheck& catalogue);

 private:
  // One column pair of a relationship.
  struct SPair {
    SPlace place;
    std::u16string name;
    std::string relation, table, column, referencedTable, referencedColumn;  // name keys
    uint32_t flags = 0, count = 0, position = 0;
    bool hasColumn = false, hasReferencedColumn = false;
  };
  // A column of an index.
  struct SPart {
    std::string nameKey;
    uint16_t number = 0;
    bool mayBeNull = true;
    std::array<uint16_t, 4> form{};  // columns of the same form have the same keys for the same values
  };
  // A logical index that enforces a relationship in one of its tables.
  struct SSide {
    std::u16string name;
    std::string nameKey;
    uint32_t page = 0, number = 0, partnerPage = 0, partnerNumber = 0;
    uint8_t side = 0, cascadeUpdates = 0, cascadeDeletes = 0;
    std::u16string table;
    std::string tableKey;
    std::vector<SPart> parts{};
    uint32_t root = 0;
    bool isUnique = false, isProven = false;
  };

  void CheckPairs(const std::vector<size_t>& pairs);
  void CheckSide(const SSide& side);
  void CheckEnforced(const std::vector<size_t>& pairs);
  void CheckColumns(const std::vector<size_t>& pairs, const SSide& foreign);
  void CheckReferences(const SPair& pair, const SSide& foreign, const SSide& primary);
  void CompareRows(const SPair& pair, const SSide& foreign, const SSide& primary);
  static SSide MakeSide(const SCheckedObject& object, const SCheckedTable& table,
                        const SCheckedLogicalIndex& index);
  static SPart MakePart(const SCheckedIndexPart& part);

  SCheckContext& m_context;
  std::vector<SPair> m_pairs;
  std::map<std::string, std::vector<size_t>> m_relations, m_byTable, m_byReferencedTable;  // into m_pairs
  std::map<std::pair<uint32_t, uint32_t>, SSide> m_sides;  // by definition page and index number
  std::map<std::string, std::vector<std::pair<uint32_t, uint32_t>>> m_foreignSides;  // by name
  std::map<uint32_t, size_t> m_walks;  // over foreign indexes, by root page
  bool m_isComplete = true;
};

}  // namespace tolvane
