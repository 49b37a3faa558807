// Complex columns of ACE files: what has to be made for one besides the column itself.
//
//   column of the table      long, the record's key
//   index of the table       on that column alone
//   flat table               the values of all records: the kind's columns, the number of the row, the key
//   MSysComplexColumns       one row that connects them
//   kind of a history        an empty table of its own, with the memo and a date; other kinds are there
//   already
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "embedded/TableDefinition.h"
#include "format/SystemTables.h"
#include "platform/Identity.h"

namespace tolvane {

// A complex column of a table that is being made.
struct SNewComplexColumn {
  std::u16string column;  // its name in the table
  std::u16string memo;    // whose versions it keeps; empty for values and files
  EComplexKind kind = kComplexOfTexts;
  std::vector<CDaoProperty> valueProperties;
  uint8_t precision = 0, scale = 0;  // of decimals
  [[nodiscard]] bool IsHistory() const { return !memo.empty(); }
};

// The column itself, with what tells it from a long one; its number is given when the table is made.
SColumnDefinition MakeComplexColumn(std::u16string_view name, bool isHistory);
std::u16string MakeHistoryName(CIdentity& identity);
std::u16string MakeComplexIndexName(CIdentity& identity, std::u16string_view column);

struct SNamedDefinition {
  std::u16string name;
  STableDefinition definition;
  std::u16string valueColumn;  // that carries the properties of the values
};
// `order` is what texts of the file sort by.
SNamedDefinition MakeFlatTable(CIdentity& identity, const SLayout& layout, STextOrder order,
                               const SNewComplexColumn& complex, std::u16string_view table);
SNamedDefinition MakeHistoryKind(CIdentity& identity, const SLayout& layout, STextOrder order,
                                 std::u16string_view memo);

}  // namespace tolvane
