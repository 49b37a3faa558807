#include "app/ExportChoice.h"

#include <array>

#include "app/OutputChoice.h"
#include "app/OutputFile.h"
#include "export/SafeFileName.h"
#include "platform/Files.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kCsvFilter = u"Comma-separated values (*.csv)|*.csv||";
constexpr std::u16string_view kSqlFilter = u"SQL scripts (*.sql)|*.sql||";
constexpr std::u16string_view kScriptNote = u"One script that makes the tables, their rows and their keys.";

std::span<const SExportForm> MakeForms() {
  static const std::array<SExportForm, 7> kForms{{
      {u"CSV for spreadsheets",
       u"csv",
       kCsvFilter,
       u"A file a table, in UTF-8 with a mark that spreadsheets know; texts that they would calculate get an "
       u"apostrophe.",
       {.hasByteOrderMark = true, .guardsFormulas = true}},
      {u"CSV", u"csv", kCsvFilter, u"A file a table, in UTF-8, values as they are.", {}},
      {u"JSON Lines",
       u"jsonl",
       u"JSON Lines (*.jsonl)|*.jsonl||",
       u"A file a table, a line a record; numbers, dates and no value keep their kinds.",
       {.format = EExportFormat::JsonLines, .ole = EOleForm::Base64}},
      {u"SQLite database",
       u"sqlite",
       u"SQLite databases (*.sqlite)|*.sqlite||",
       u"One database with all keys, indexes and relationships.",
       {.format = EExportFormat::Sqlite}},
      {u"SQL script for SQLite",
       u"sql",
       kSqlFilter,
       kScriptNote,
       {.format = EExportFormat::Sql, .dialect = ESqlDialect::Sqlite}},
      {u"SQL script for PostgreSQL",
       u"sql",
       kSqlFilter,
       kScriptNote,
       {.format = EExportFormat::Sql, .dialect = ESqlDialect::PostgreSql}},
      {u"SQL script for MySQL and MariaDB",
       u"sql",
       kSqlFilter,
       kScriptNote,
       {.format = EExportFormat::Sql, .dialect = ESqlDialect::MySql}},
  }};
  return kForms;
}

// "Tolvane_NAME" and, of one table, its name.
std::u16string StemOf(const SExportChoice& choice) {
  const std::u16string_view name = FileNameOf(choice.source);
  const std::u16string_view extension = ExtensionOf(choice.source);
  std::u16string stem(kOutputPrefix);
  stem += name.substr(0, name.size() - (extension.empty() ? 0 : extension.size() + 1));
  if (!choice.table.empty()) stem += u" " + MakeSafeFileName(choice.table);
  return stem;
}

}  // namespace

std::span<const SExportForm> GetExportForms() {
  return MakeForms();
}

std::u16string DefaultExportPath(const SExportChoice& choice) {
  std::u16string folder(FolderOf(choice.source));
  if (!folder.empty() && folder.back() != kPathSeparator && folder.back() != u'/') folder += kPathSeparator;
  const std::u16string stem = folder + StemOf(choice);
  if (choice.IsFolder()) return stem + u" tables";
  return stem + u"." + std::u16string(choice.GetForm().extension);
}

SFileQuestion AskForExportFile(const SExportChoice& choice) {
  return {.title = u"Export to",
          .filter = std::u16string(choice.GetForm().filter),
          .defaultExtension = std::u16string(choice.GetForm().extension),
          .defaultName = StemOf(choice) + u"." + std::u16string(choice.GetForm().extension),
          .folder = std::u16string(FolderOf(choice.source))};
}

std::optional<std::u16string> CheckExportChoice(const SExportChoice& choice) {
  if (choice.path.empty())
    return choice.IsFolder() ? u"Name a folder for the files." : u"Name a file to export to.";
  if (choice.path.size() > kMaximumPathLength) return u"File name should be less than 245 characters.";
  if (choice.GetForm().IsOneFile() && choice.rules == ERules::Standard)
    return u"SQL and SQLite need values, and the standard rules keep texts. Choose the exact rules in the "
           u"settings and repair the file again, or export as CSV.";
  return std::nullopt;
}

}  // namespace tolvane
