// Saved queries as views, as far as SQLite understands them and they mean the same to it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "export/SqlSchema.h"
#include "export/SqliteDatabase.h"

namespace tolvane {

class CSqliteViews {
 public:
  // Both outlive this object. Queries that become no views are remarks of the schema.
  CSqliteViews(CSqliteDatabase& database, SSqlSchema& schema) : m_database(database), m_schema(schema) {}
  // False when the database failed.
  bool Write(const CAccessData& data);

 private:
  bool TryCreate(const std::string& name, const std::string& sql, std::u16string& reason);

  CSqliteDatabase& m_database;
  SSqlSchema& m_schema;
};

// A SELECT statement of Access in SQLite's words. Nothing where it has something that SQLite would take for
// something else: text joined by "&" or "+", patterns of LIKE, quotients of whole numbers, functions.
std::optional<std::string> MakeViewSql(std::u16string_view sql);

}  // namespace tolvane
