// Complex columns (ACE): the rows of MSysComplexColumns against what they connect, rules K1 to K3.
//
// A complex column holds a number; its values are the rows of a hidden flat table that have this number as
// their key. The flat table has the columns of its kind, laid down by an empty table of the catalogue, a key
// and a row number:
//
//   MSysComplexColumns:  column name | kind table | flat table | table of the column | its complex number
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "checker/CatalogueCheck.h"
#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"
#include "checker/RowView.h"

namespace tolvane {

class CComplexCheck {
 public:
  explicit CComplexCheck(SCheckContext& context) : m_context(context) {}

  static bool IsComplexColumns(const SCheckedObject& object);
  void AddRow(const CRowView& row, SPlace place);
  // Notes the table's complex columns, and what columns it has if it may be a flat table or a kind.
  void AddTable(const SCheckedObject& object, const SCheckedTable& table);
  // After all tables.
  void Finish(const CCatalogueCheck& catalogue);

 private:
  struct SEntry {
    SPlace place;
    std::u16string column;
    uint32_t kind = 0, flatTable = 0, table = 0, number = 0;
  };
  struct SColumn {
    std::u16string name, table;
    bool isListed = false;
  };
  struct SHiddenTable {
    std::u16string name;
    std::vector<std::string> columns;  // name, type and length, sorted; without key and row number
    size_t keys = 0, rowNumbers = 0;
    bool isUsed = false;
  };

  bool HasRoom(size_t count);
  void CheckEntry(const SEntry& entry);
  void CheckFlatTable(const SEntry& entry);

  SCheckContext& m_context;
  std::vector<SEntry> m_entries;
  std::map<std::pair<uint32_t, uint32_t>, SColumn> m_columns;  // by definition page and complex number
  std::map<uint32_t, SHiddenTable> m_hiddenTables;             // by definition page
  bool m_isComplete = true;
};

}  // namespace tolvane
