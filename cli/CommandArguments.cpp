#include "cli/CommandArguments.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "cli/DisplayText.h"
#include "cli/Version.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr const char* kExamples =
    "Repairs damaged Microsoft Access databases (.mdb, .accdb).\n\n"
    "Examples:\n"
    "  tolvane repair damaged.mdb                    writes Tolvane_damaged.mdb beside it\n"
    "  tolvane repair damaged.accdb -o new.accdb --template backup.accdb\n"
    "  tolvane tables damaged.mdb                    what can be recovered\n"
    "  tolvane preview damaged.mdb Customers --rows 50\n"
    "  tolvane export damaged.mdb Customers > customers.csv\n"
    "  tolvane export damaged.mdb --to folder --format jsonl\n"
    "  tolvane inspect damaged.mdb                   a map of the file's pages\n"
    "  tolvane queries damaged.mdb                   the saved queries as SQL\n"
    "  tolvane check repaired.mdb                    whether a database is consistent\n\n"
    "The damaged file is only read. Exit status: 0 done, nothing lost; 2 failed, nothing written; 3 done, "
    "but\n"
    "something was lost or is doubtful; 4 nothing could be recovered; 64 wrong usage; 130 stopped.";

constexpr const char* kRepairHelp =
    "Writes what can be recovered into a new database.\n\n"
    "Examples:\n"
    "  tolvane repair damaged.mdb\n"
    "  tolvane repair damaged.mdb -o repaired.mdb --overwrite\n"
    "  tolvane repair damaged.mdb --template backup.mdb    definitions from a healthy copy, rows from the "
    "damaged\n"
    "  tolvane repair damaged.mdb --dry-run --json         what would be saved, for a program";
constexpr const char* kTablesHelp =
    "Lists the tables that can be recovered, with their columns and indexes.\n\n"
    "Examples:\n"
    "  tolvane tables damaged.mdb\n"
    "  tolvane tables damaged.mdb --all --json";
constexpr const char* kPreviewHelp =
    "Shows the first rows of a table.\n\n"
    "Examples:\n"
    "  tolvane preview damaged.mdb Customers\n"
    "  tolvane preview damaged.mdb page:27 --rows 100      the table that is defined on page 27";
constexpr const char* kExportHelp =
    "Writes recovered rows as CSV (RFC 4180) or JSON lines, UTF-8.\n\n"
    "Examples:\n"
    "  tolvane export damaged.mdb Customers > customers.csv\n"
    "  tolvane export damaged.mdb --to folder              one file a table\n"
    "  tolvane export damaged.mdb --to folder --ole files  OLE objects as files of their own";
constexpr const char* kQueriesHelp =
    "Lists the saved queries that can be rebuilt: name, kind and SQL text.\n\n"
    "Examples:\n"
    "  tolvane queries damaged.mdb\n"
    "  tolvane queries damaged.mdb --json";
constexpr const char* kInspectHelp =
    "Shows what each page of the file is, and which are damaged or belong to no table.\n\n"
    "Examples:\n"
    "  tolvane inspect damaged.mdb\n"
    "  tolvane inspect damaged.mdb --json";

constexpr const char* kCheckHelp =
    "Proves that a database is consistent: pages, definitions, rows, indexes, catalogue. It repairs "
    "nothing.\n\n"
    "Examples:\n"
    "  tolvane check database.mdb\n"
    "  tolvane check repaired.accdb --json";

// The parser works with the system's bytes; the program with text.
struct SWords {
  std::string source, templatePath, workFolder, logFile, output, table, folder;
  std::string rules, outputFormat, engine = "embedded", format = "csv", ole = "hex";
};

void AddSource(CLI::App& command, SArguments& arguments, SWords& words) {
  command.add_option("SOURCE", words.source, "The damaged database")->required();
  command.add_option("--template", words.templatePath,
                     "A healthy database of the same structure; table definitions are read from it");
  command
      .add_option("--rules", words.rules,
                  "exact (default): what the file holds; standard: the documented conventions")
      ->check(CLI::IsMember(std::vector<std::string>{"exact", "standard"}).description("NAME"));
  command.add_option("--work-dir", words.workFolder, "Folder for temporary files");
  command.add_flag("--json", arguments.isJson, "Result for programs, as JSON with a schema version");
  command.add_flag("-q,--quiet", arguments.isQuiet, "No progress on standard error");
  command.add_flag("-v,--verbose", arguments.isVerbose, "Log lines on standard error");
  command.add_option("--log", words.logFile, "Write the log to this file");
}

void AddRepair(CLI::App& app, SArguments& arguments, SWords& words) {
  CLI::App& command = *app.add_subcommand("repair", kRepairHelp);
  AddSource(command, arguments, words);
  command.add_option("-o,--output", words.output,
                     "The new database; Tolvane_NAME beside the source if left out");
  command.add_option("--engine", words.engine, "What writes the database: embedded (default) or dao")
      ->check(CLI::IsMember(std::vector<std::string>{"embedded", "dao"}).description("NAME"));
  command.add_flag("--overwrite", arguments.mayOverwrite, "Replace an existing output");
  command
      .add_option("--to", words.outputFormat,
                  "Format of the new database: jet3 (Access 97), jet4 (2000-2003) or ace (2007 and later); "
                  "the source's own if left out")
      ->check(CLI::IsMember(std::vector<std::string>{"jet3", "jet4", "ace"}).description("FORMAT"));
  command.add_flag("--access-2000", arguments.isAccess2000,
                   "Write an Access 97 database in the format of Access 2000, which holds all characters");
  command.add_flag("--dry-run", arguments.isDryRun, "Recover and report, but write no database");
  command.add_flag("--all", arguments.withSystemTables, "List system tables, too");
  command.callback([&arguments] { arguments.command = ECommand::Repair; });
}

void AddTables(CLI::App& app, SArguments& arguments, SWords& words) {
  CLI::App& command = *app.add_subcommand("tables", kTablesHelp);
  AddSource(command, arguments, words);
  command.add_flag("--all", arguments.withSystemTables, "System tables, too");
  command.callback([&arguments] { arguments.command = ECommand::Tables; });
}

void AddPreview(CLI::App& app, SArguments& arguments, SWords& words) {
  CLI::App& command = *app.add_subcommand("preview", kPreviewHelp);
  AddSource(command, arguments, words);
  command.add_option("TABLE", words.table, "Name of the table, or page:NUMBER")->required();
  command.add_option("--rows", arguments.rows, "How many rows (default 20)")->check(CLI::PositiveNumber);
  command.callback([&arguments] { arguments.command = ECommand::Preview; });
}

void AddExport(CLI::App& app, SArguments& arguments, SWords& words) {
  CLI::App& command = *app.add_subcommand("export", kExportHelp);
  AddSource(command, arguments, words);
  command.add_option("TABLE", words.table, "Name of the table, or page:NUMBER; all tables if left out");
  command.add_option("--to", words.folder, "Folder for one file a table; standard output if left out");
  command.add_option("--format", words.format, "csv (default) or jsonl")
      ->check(CLI::IsMember(std::vector<std::string>{"csv", "jsonl"}).description("NAME"));
  command
      .add_option("--ole", words.ole,
                  "OLE objects as hex (default), base64 or files; files writes attached files, too")
      ->check(CLI::IsMember(std::vector<std::string>{"hex", "base64", "files"}).description("NAME"));
  command.add_flag("--overwrite", arguments.mayOverwrite, "Replace existing files");
  command.add_flag("--all", arguments.withSystemTables, "System tables, too");
  command.callback([&arguments] { arguments.command = ECommand::Export; });
}

void AddQueries(CLI::App& app, SArguments& arguments, SWords& words) {
  CLI::App& command = *app.add_subcommand("queries", kQueriesHelp);
  AddSource(command, arguments, words);
  command.add_flag("--all", arguments.withSystemTables, "Hidden queries of forms and reports, too");
  command.callback([&arguments] { arguments.command = ECommand::Queries; });
}

void AddInspect(CLI::App& app, SArguments& arguments, SWords& words) {
  CLI::App& command = *app.add_subcommand("inspect", kInspectHelp);
  AddSource(command, arguments, words);
  command.callback([&arguments] { arguments.command = ECommand::Inspect; });
}

void AddCheck(CLI::App& app, SArguments& arguments, SWords& words) {
  CLI::App& command = *app.add_subcommand("check", kCheckHelp);
  command.add_option("DATABASE", words.source, "The database")->required();
  command.add_flag("--json", arguments.isJson, "Result for programs, as JSON with a schema version");
  command.add_flag("-q,--quiet", arguments.isQuiet, "No progress on standard error");
  command.callback([&arguments] { arguments.command = ECommand::Check; });
}

// Rules between options, as far as the words alone tell. Empty when all is well.
std::string FindConflict(const SArguments& arguments) {
  if (arguments.command != ECommand::Export) return {};
  if (arguments.table.empty() && arguments.folder.empty())
    return "export: name a TABLE for standard output, or a folder with --to";
  if (arguments.ole == EOleForm::Files && arguments.folder.empty()) return "export: --ole files needs --to";
  if (arguments.isJson && arguments.folder.empty())
    return "export: --json reports what was written and needs --to; for rows as JSON use --format jsonl";
  return {};
}

void TakeWords(const SWords& words, SArguments& arguments) {
  arguments.source = FromNativePath(words.source);
  arguments.templatePath = FromNativePath(words.templatePath);
  arguments.workFolder = FromNativePath(words.workFolder);
  arguments.logFile = FromNativePath(words.logFile);
  arguments.output = FromNativePath(words.output);
  arguments.table = FromNativePath(words.table);
  arguments.folder = FromNativePath(words.folder);
  if (words.rules == "exact") arguments.rules = ERules::Exact;
  if (words.rules == "standard") arguments.rules = ERules::Standard;
  if (words.outputFormat == "jet3") arguments.outputFormat = EOutputFormat::Jet3;
  if (words.outputFormat == "jet4") arguments.outputFormat = EOutputFormat::Jet4;
  if (words.outputFormat == "ace") arguments.outputFormat = EOutputFormat::Ace;
  if (words.engine == "dao") arguments.engine = EEngineChoice::Dao;
  if (words.format == "jsonl") arguments.format = EExportFormat::JsonLines;
  if (words.ole == "base64") arguments.ole = EOleForm::Base64;
  if (words.ole == "files") arguments.ole = EOleForm::Files;
}

SParsedArguments Complain(std::string text) {
  SParsedArguments parsed;
  parsed.isEnd = true;
  parsed.status = EExitStatus::WrongUsage;
  parsed.text = std::move(text);
  return parsed;
}

// The command whose help fits to a complaint.
std::string HelpHint(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  return " (see tolvane " + (chosen.empty() ? std::string() : chosen.front()->get_name() + " ") + "--help)";
}

std::string DescribeMissingCommand(const std::vector<std::u16string>& words) {
  for (const std::u16string& word : words)
    if (!word.starts_with(u"-")) return "there is no command \"" + ToDisplay(word) + "\"";
  return "name a command";
}

SParsedArguments Parse(CLI::App& app, const std::vector<std::u16string>& words, SArguments& arguments,
                       const SWords& texts) {
  std::vector<std::string> reversed;  // as the parser wants them
  for (auto word = words.rbegin(); word != words.rend(); ++word) reversed.push_back(ToNativePath(*word));
  SParsedArguments parsed;
  try {
    app.parse(std::move(reversed));
  } catch (const CLI::CallForVersion&) {
    parsed.isEnd = true;
    parsed.text = std::string("tolvane ") + kVersion + "\n";
    return parsed;
  } catch (const CLI::Success&) {
    parsed.isEnd = true;
    parsed.text = app.help();
    return parsed;
  } catch (const CLI::RequiredError&) {
    if (app.get_subcommands().empty()) return Complain(DescribeMissingCommand(words) + HelpHint(app));
    return Complain("SOURCE is missing" + HelpHint(app));
  } catch (const CLI::ParseError& error) {
    return Complain(error.what() + HelpHint(app));
  }
  TakeWords(texts, arguments);
  const std::string conflict = FindConflict(arguments);
  if (!conflict.empty()) return Complain(conflict + HelpHint(app));
  parsed.arguments = arguments;
  return parsed;
}

}  // namespace

const char* NameOf(ECommand command) {
  switch (command) {
    case ECommand::Repair:
      return "repair";
    case ECommand::Tables:
      return "tables";
    case ECommand::Preview:
      return "preview";
    case ECommand::Export:
      return "export";
    case ECommand::Queries:
      return "queries";
    case ECommand::Inspect:
      return "inspect";
    case ECommand::Check:
      return "check";
    case ECommand::None:
      break;
  }
  return "";
}

SParsedArguments ParseArguments(const std::vector<std::u16string>& words) {
  SArguments arguments;
  SWords texts;
  CLI::App app(kExamples, "tolvane");
  app.set_version_flag("--version", kVersion, "Version of this program");
  app.set_help_flag("-h,--help", "This help; after a command, that command's help");
  app.require_subcommand(1);
  app.allow_windows_style_options(false);
  AddRepair(app, arguments, texts);
  AddTables(app, arguments, texts);
  AddPreview(app, arguments, texts);
  AddExport(app, arguments, texts);
  AddQueries(app, arguments, texts);
  AddInspect(app, arguments, texts);
  AddCheck(app, arguments, texts);
  if (words.empty()) {
    SParsedArguments parsed;
    parsed.isEnd = true;
    parsed.status = EExitStatus::WrongUsage;
    parsed.text = app.help();
    return parsed;
  }
  return Parse(app, words, arguments, texts);
}

}  // namespace tolvane
