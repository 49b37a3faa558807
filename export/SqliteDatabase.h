// One SQLite database file that is being made. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "dao/dao.h"
#include "export/ExportedTable.h"
#include "export/SqliteLibrary.h"

namespace tolvane {

class CSqliteDatabase {
 public:
  // Both outlive this object.
  CSqliteDatabase(const SSqliteFunctions& functions, const StopRequest& isStopped)
      : m_functions(functions), m_isStopped(isStopped) {}
  ~CSqliteDatabase();
  CSqliteDatabase(const CSqliteDatabase&) = delete;
  CSqliteDatabase& operator=(const CSqliteDatabase&) = delete;

  // An empty file becomes a database.
  bool Open(std::u16string_view path);
  // False when what was written is not all in the file.
  bool Close();
  // One statement. Each false leaves the reason in GetProblem and GetCode.
  bool Execute(const std::string& sql);
  // Whether the library understands the statement, with all that it names.
  bool CanPrepare(const std::string& sql);
  // The first column of each row, as text; `take` is called for each.
  bool Query(const std::string& sql, const std::function<void(std::string_view)>& take);
  // Replaces the zeros of a blob by these bytes. False when the database does not take them; `isWhole` tells
  // whether there were as many to read.
  bool FillBlob(const std::string& table, const std::string& column, int64_t row, CDaoByteSource& bytes,
                size_t length, bool& isWhole);

  [[nodiscard]] SSqliteHandle* GetHandle() const { return m_handle; }
  [[nodiscard]] const SSqliteFunctions& GetFunctions() const { return m_functions; }
  [[nodiscard]] int GetCode() const { return m_code; }
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }
  // Keeps what the library says about its last call.
  bool Note(int code);

 private:
  const SSqliteFunctions& m_functions;
  const StopRequest& m_isStopped;
  SSqliteHandle* m_handle = nullptr;
  int m_code = kSqliteOk;
  std::u16string m_problem;
};

// A statement with values to bind, run once a row. Columns count from 0.
class CSqliteStatement {
 public:
  explicit CSqliteStatement(CSqliteDatabase& database) : m_database(database) {}
  ~CSqliteStatement();
  CSqliteStatement(const CSqliteStatement&) = delete;
  CSqliteStatement& operator=(const CSqliteStatement&) = delete;

  bool Prepare(const std::string& sql);
  // False when the library takes no value of that size. Texts and bytes stay until Run.
  bool BindNull(size_t column);
  bool BindInteger(size_t column, int64_t value);
  bool BindReal(size_t column, double value);
  bool BindText(size_t column, std::string_view text);
  bool BindBytes(size_t column, std::span<const uint8_t> bytes);
  bool BindZeros(size_t column, uint64_t length);
  // To the end of a statement without rows.
  bool Run();

 private:
  CSqliteDatabase& m_database;
  SSqliteStatement* m_statement = nullptr;
};

}  // namespace tolvane
