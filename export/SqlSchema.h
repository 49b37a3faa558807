// What of the recovered schema an SQL database gets: tables, columns, keys, indexes and foreign keys, under
// names that it accepts.
//
// The values of a complex column stand in a table of their own, TABLE_COLUMN, whose key column holds the
// numbers that the complex column holds in their records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "export/ExportedTable.h"
#include "export/SqlDialect.h"
#include "model/AccessData.h"
#include "render/ComplexValues.h"

namespace tolvane {

struct SSqlColumn {
  std::string name;   // UTF-8, as all names here
  size_t source = 0;  // position in the recovered table
  SSqlType type;
  bool isRequired = false;  // and no record lacks it
  bool isCounter = false;
  bool isFile = false;       // attached files, without what is stored around them
  std::string defaultValue;  // a literal; empty: none
};

struct SSqlIndex {
  std::string name;
  std::vector<size_t> columns;  // positions in the table
  std::vector<bool> isDescending;
  bool isUnique = false;
};

enum class ESqlAction : uint8_t { None, Cascade, SetNull };

struct SSqlReference {
  std::string name;
  size_t parent = 0;  // position among the tables
  std::vector<size_t> columns, parentColumns;
  ESqlAction onUpdate = ESqlAction::None, onDelete = ESqlAction::None;
};

struct SSqlTable {
  std::string name;
  const CAccessTable* source = nullptr;
  std::vector<SSqlColumn> columns;
  SSqlIndex key;  // without columns where there is none
  // The key is one whole number that the table itself can stand on.
  bool isKeyRowNumber = false;
  std::vector<SSqlIndex> indexes;
  std::vector<SSqlReference> references;
  std::unique_ptr<CComplexValues> values;  // of a complex column's table: which rows have a record
  int64_t nextNumber = 1;                  // of the counter
};

struct SSqlSchema {
  std::vector<SSqlTable> tables;
  // Nothing is known to be lost that could break a key.
  bool areRowsWhole = false;
  // What the database does not get and why, as sentences.
  std::vector<std::u16string> remarks;
};

// `data` outlives the schema. `only`: this table alone; null: all, the database's own `withSystemTables`.
SSqlSchema MakeSqlSchema(const CAccessData& data, const CSqlDialect& dialect, const CAccessTable* only,
                         bool withSystemTables, const StopRequest& isStopped);

}  // namespace tolvane
