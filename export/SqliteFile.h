// The recovered tables as an SQLite database: tables, rows, keys, indexes, foreign keys, and saved queries as
// views where SQLite understands them and means the same.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "export/SqlScript.h"
#include "export/SqlText.h"
#include "export/SqliteDatabase.h"

namespace tolvane {

// Of one row, by column; null where a column has none or it cannot be opened.
using StoredObjects = std::vector<std::unique_ptr<CStoredBytes>>;

class CSqliteFile {
 public:
  // All outlive this object. Keys that the rows break become plain indexes of the schema, with a remark.
  CSqliteFile(const SSqliteFunctions& functions, const CAccessData& data, SSqlSchema& schema,
              SExportWatch watch)
      : m_functions(functions),
        m_data(data),
        m_schema(schema),
        m_text(schema, m_dialect),
        m_watch(std::move(watch)) {}

  // Into an empty file. What it holds is worth something at `Done` only.
  EExportEnd Write(std::u16string_view path);
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }
  // By table of the schema.
  [[nodiscard]] const std::vector<SSqlCount>& GetCounts() const { return m_counts; }
  // Every key and foreign key is as it was.
  [[nodiscard]] bool AreKeysWhole() const { return m_areKeysWhole; }

 private:
  EExportEnd WriteOnce(std::u16string_view path);
  EExportEnd End(const CSqliteDatabase& database);
  bool WriteTable(CSqliteDatabase& database, size_t table);
  // False when the database failed, or a key refused a row.
  bool WriteRows(CSqliteDatabase& database, const SSqlTable& table, SSqlCount& count);
  // `objects`: those of the row, for which there is room in it.
  bool WriteRow(CSqliteStatement& insert, const CSqlRows& rows, const SSqlTable& table,
                StoredObjects& objects, SSqlCount& count);
  bool Bind(CSqliteStatement& insert, size_t column, const SSqlColumn& to, const SValue& value,
            ESqlFate& fate);
  bool FillBlobs(CSqliteDatabase& database, const SSqlTable& table, const StoredObjects& objects,
                 SSqlCount& count);
  bool WriteIndexes(CSqliteDatabase& database, SSqlTable& table);
  void WeakenKey(SSqlTable& table);
  bool DropReferences();
  bool CheckReferences(CSqliteDatabase& database);

  const SSqliteFunctions& m_functions;
  const CAccessData& m_data;
  SSqlSchema& m_schema;
  const CSqlDialect m_dialect{ESqlDialect::Sqlite};
  const CSqlText m_text;
  const SExportWatch m_watch;
  std::vector<SSqlCount> m_counts;
  bool m_areKeysWhole = true;
  std::vector<std::string> m_texts;  // of the row's columns, while they are bound
  std::u16string m_digits;
  std::u16string m_problem;
};

}  // namespace tolvane
