// The statements that make a schema, without the rows.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "export/SqlSchema.h"

namespace tolvane {

// Each of these without a semicolon at its end.
class CSqlText {
 public:
  // Both outlive this object.
  CSqlText(const SSqlSchema& schema, const CSqlDialect& dialect) : m_schema(schema), m_dialect(dialect) {}

  // SQLite takes foreign keys here only, and the primary key if `withKey`.
  [[nodiscard]] std::string CreateTable(const SSqlTable& table, bool withKey) const;
  // "INSERT INTO table (columns) VALUES"
  [[nodiscard]] std::string InsertInto(const SSqlTable& table) const;
  [[nodiscard]] std::string CreateIndex(const SSqlTable& table, const SSqlIndex& index, bool isUnique) const;
  // What a server's database gets behind the rows: primary key, counter, foreign keys.
  [[nodiscard]] std::vector<std::string> AddKey(const SSqlTable& table) const;
  [[nodiscard]] std::vector<std::string> AddReferences(const SSqlTable& table) const;

 private:
  [[nodiscard]] std::string ColumnNames(const SSqlTable& table, const std::vector<size_t>& columns) const;
  [[nodiscard]] std::string IndexColumn(const SSqlColumn& column) const;
  [[nodiscard]] std::string Reference(const SSqlTable& table, const SSqlReference& reference) const;

  const SSqlSchema& m_schema;
  const CSqlDialect& m_dialect;
};

}  // namespace tolvane
