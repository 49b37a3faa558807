// How rows are exported: the form of the file and what a user may choose about it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tolvane {

enum class EExportFormat : uint8_t { Csv, JsonLines, Sql, Sqlite };
enum class EOleForm : uint8_t { Hex, Base64, Files };
enum class ESqlDialect : uint8_t { Sqlite, PostgreSql, MySql };

struct SExportOptions {
  EExportFormat format = EExportFormat::Csv;
  EOleForm ole = EOleForm::Hex;               // CSV, JSON lines
  ESqlDialect dialect = ESqlDialect::Sqlite;  // SQL
  // CSV
  char delimiter = ',';
  bool hasByteOrderMark = false;
  std::optional<std::string> nullText = {};  // UTF-8; else nothing stands for no value
  bool withHidden = false;                   // CSV, JSON lines: columns that no user of Access sees
  bool guardsFormulas = false;  // texts that a spreadsheet would calculate get an apostrophe in front
};

}  // namespace tolvane
