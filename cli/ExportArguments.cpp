#include "cli/ExportArguments.h"

namespace tolvane {

namespace {

std::string FindCsvConflict(const SArguments& arguments) {
  const SExportOptions& options = arguments.exporting;
  const bool hasCsvOption =
      options.delimiter != ',' || options.hasByteOrderMark || options.nullText || options.guardsFormulas;
  if (options.format != EExportFormat::Csv)
    return hasCsvOption ? "export: --delimiter, --bom, --null and --guard-formulas are for --format csv" : "";
  const auto isBreaking = [&options](char byte) {
    return byte == '"' || byte == '\r' || byte == '\n' || byte == options.delimiter;
  };
  if (options.delimiter == '"' || options.delimiter == '\r' || options.delimiter == '\n')
    return "export: --delimiter takes one character, but no quote or line break; write tab for a tab";
  if (!options.nullText) return {};
  if (arguments.rules == ERules::Standard)
    return "export: --null needs the exact rules; the standard ones do not tell no value from an empty text";
  for (const char byte : *options.nullText)
    if (isBreaking(byte)) return "export: --null takes a text without quotes, line breaks and the delimiter";
  return {};
}

// Of the formats that are one file with all tables.
std::string FindDatabaseConflict(const SExportWords& words, const SArguments& arguments) {
  const std::string format = "export: --format " + words.format;
  if (arguments.rules == ERules::Standard)
    return format + " needs the exact rules: the standard ones keep texts, not values";
  if (!arguments.folder.empty()) return format + " writes one file: name it with -o";
  if (!words.ole.empty()) return "export: --ole is for csv and jsonl";
  if (arguments.output.empty() && words.format == "sqlite") return format + " writes a file: name it with -o";
  if (arguments.output.empty() && arguments.isJson)
    return "export: --json reports what was written and needs -o";
  return FindCsvConflict(arguments);
}

std::string FindPlaceConflict(const SArguments& arguments) {
  const bool isToFile = !arguments.output.empty(), isToFolder = !arguments.folder.empty();
  if (isToFile && isToFolder) return "export: -o names one file, --to a folder for several; give one of them";
  if (arguments.table.empty() && !isToFolder)
    return "export: name a TABLE for standard output or -o, or a folder with --to";
  if (arguments.exporting.ole == EOleForm::Files && !isToFolder && !isToFile)
    return "export: --ole files needs --to or -o";
  if (arguments.isJson && !isToFolder && !isToFile)
    return "export: --json reports what was written and needs --to or -o; for rows as JSON use --format "
           "jsonl";
  return {};
}

}  // namespace

void TakeExportWords(const SExportWords& words, SArguments& arguments) {
  SExportOptions& options = arguments.exporting;
  options.withHidden = arguments.withSystemTables;
  if (words.format == "jsonl") options.format = EExportFormat::JsonLines;
  if (words.format == "sql") options.format = EExportFormat::Sql;
  if (words.format == "sqlite") options.format = EExportFormat::Sqlite;
  if (words.dialect == "postgresql") options.dialect = ESqlDialect::PostgreSql;
  if (words.dialect == "mysql") options.dialect = ESqlDialect::MySql;
  const bool isTyped = options.format == EExportFormat::JsonLines && arguments.rules == ERules::Exact;
  if (words.ole == "base64" || (words.ole.empty() && isTyped)) options.ole = EOleForm::Base64;
  if (words.ole == "files") options.ole = EOleForm::Files;
  if (words.delimiter == "tab" || words.delimiter == "\\t")
    options.delimiter = '\t';
  else if (!words.delimiter.empty())  // more than one character is told as the quote is
    options.delimiter = words.delimiter.size() == 1 && words.delimiter[0] > 0 ? words.delimiter[0] : '"';
  if (words.hasNullText) options.nullText = words.nullText;
}

std::string FindExportConflict(const SExportWords& words, const SArguments& arguments) {
  if (!words.dialect.empty() && words.format != "sql") return "export: --dialect is for --format sql";
  if (words.format == "sql" || words.format == "sqlite") return FindDatabaseConflict(words, arguments);
  if (std::string conflict = FindPlaceConflict(arguments); !conflict.empty()) return conflict;
  return FindCsvConflict(arguments);
}

}  // namespace tolvane
