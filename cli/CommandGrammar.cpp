#include "cli/CommandGrammar.h"

#include "cli/Version.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr const char* kTextArgument = "TEXT";

// The parser works with the system's bytes; the program with text.
CLI::Option* AddPath(CLI::App& command, const char* names, std::u16string& target, const char* text,
                     const char* kind = kFileArgument) {
  const auto take = [&target](const std::string& path) { target = FromNativePath(path); };
  return command.add_option_function<std::string>(names, take, text)->type_name(kind);
}

// One of the values; the first one is the default unless the text says otherwise.
CLI::Option* AddChoice(CLI::App& command, const char* names, std::string& target, const char* text,
                       const std::vector<std::string>& values) {
  std::string shown;
  for (const std::string& value : values) shown += (shown.empty() ? "" : "|") + value;
  return command.add_option(names, target, text)
      ->type_name(shown)
      ->check(CLI::IsMember(values).description(""));
}

}  // namespace

CLI::App& CCommandGrammar::Add(ECommand command) {
  const SCommandWords& words = WordsOf(command);
  CLI::App& added = *m_app.add_subcommand(words.name, words.summary);
  added.callback([this, command] { m_arguments.command = command; });
  m_commands.emplace_back(command, &added);
  return added;
}

void CCommandGrammar::AddSource(CLI::App& command) {
  AddPath(command, "SOURCE", m_arguments.source, "The damaged database; - for standard input")->required();
}

void CCommandGrammar::AddPlace(CLI::App& command) {
  command
      .add_option("--start", m_arguments.start,
                  "Read the database that begins at this byte of the file, in one that holds several")
      ->type_name("OFFSET");
  AddPath(command, "--map", m_arguments.mapFile,
          "Map of GNU ddrescue: what it could not read is taken for unreadable, not for zeros");
}

void CCommandGrammar::AddManners(CLI::App& command) {
  command.add_flag("--json", m_arguments.isJson, "Result for programs, as JSON with a schema version");
  command.add_flag("-q,--quiet", m_arguments.isQuiet, "No progress on standard error");
  AddChoice(command, "--color", m_words.color,
            "Colours: auto (default) on a terminal, unless NO_COLOR is set", {"auto", "always", "never"});
}

void CCommandGrammar::AddRecovery(CLI::App& command) {
  AddPath(command, "--template", m_arguments.templatePath,
          "A healthy database of the same structure; table definitions are read from it");
  AddChoice(command, "--rules", m_words.rules,
            "exact (default): what the file holds; standard: the documented conventions",
            {"exact", "standard"});
  AddPlace(command);
  AddPath(command, "--work-dir", m_arguments.workFolder, "Folder for temporary files", kFolderArgument);
  command
      .add_option(
          "--threads", m_arguments.threads,
          "Threads that work; as many as the machine has processors without it. The result is the same")
      ->type_name("NUMBER")
      ->check(CLI::Range(1, 64).description(""));
  AddManners(command);
  command.add_flag("-v,--verbose", m_arguments.isVerbose, "Log lines on standard error");
  AddPath(command, "--log", m_arguments.logFile, "Write the log to this file");
}

void CCommandGrammar::AddReport(CLI::App& command) {
  AddPath(command, "--report", m_arguments.reportFile,
          "Write a report to this file, one HTML page: what is damaged, what came back, what to do next");
  command.add_flag(
      "--brief", m_arguments.isBrief,
      "With --json: without what needs the file read once more, the verdict and the map of pages");
}

void CCommandGrammar::AddRepair() {
  CLI::App& command = Add(ECommand::Repair);
  const auto take = [this](const std::vector<std::string>& sources) {
    for (const std::string& source : sources) m_arguments.sources.push_back(FromNativePath(source));
  };
  command
      .add_option_function<std::vector<std::string>>(
          "SOURCE", take, "The damaged database; several of them, or a folder; - for standard input")
      ->type_name(kFileArgument)
      ->required();
  AddPath(command, "-o,--output", m_arguments.output,
          "The new database; Tolvane_NAME beside the source if left out");
  AddPath(command, "--to-dir", m_arguments.outputFolder,
          "Folder for the new databases, under the sources' names", kFolderArgument);
  command.add_option("-j,--jobs", m_arguments.jobs, "How many of several files are repaired at once")
      ->type_name("NUMBER")
      ->check(CLI::Range(1, 256).description(""));
  AddChoice(command, "--engine", m_words.engine,
            "What writes the database: embedded (default), or dao, an installed one (see tolvane engines)",
            {"embedded", "dao"});
  command.add_flag("--overwrite", m_arguments.mayOverwrite, "Replace an existing output or report");
  AddChoice(command, "--to", m_words.outputFormat,
            "Format of the new database: jet3 (Access 97), jet4 (2000-2003) or ace (2007 and later); "
            "the source's own if left out",
            {"jet3", "jet4", "ace"});
  command.add_flag("--access-2000", m_arguments.isAccess2000,
                   "Write an Access 97 database in the format of Access 2000, which holds all characters");
  command.add_flag(
      "--reproducible", m_arguments.isReproducible,
      "The same bytes at each repair of the same file: a fixed date (that of SOURCE_DATE_EPOCH, or "
      "2000-01-01) and identifiers that are not left to chance");
  command.add_flag("--dry-run", m_arguments.isDryRun, "Recover and report, but write no database");
  AddReport(command);
  command.add_flag("--all", m_arguments.withSystemTables,
                   "List system tables, and columns that Access keeps for itself, too");
  AddRecovery(command);
}

void CCommandGrammar::AddPreview() {
  CLI::App& command = Add(ECommand::Preview);
  AddSource(command);
  AddPath(command, "TABLE", m_arguments.table, "Name of the table, or page:NUMBER", kTextArgument)
      ->required();
  command.add_option("--rows", m_arguments.rows, "How many rows (default 20)")
      ->type_name("NUMBER")
      ->check(CLI::PositiveNumber.description(""));
  command.add_flag("--all", m_arguments.withSystemTables, "Columns that Access keeps for itself, too");
  AddRecovery(command);
}

void CCommandGrammar::AddExport() {
  CLI::App& command = Add(ECommand::Export);
  AddSource(command);
  AddPath(command, "TABLE", m_arguments.table, "Name of the table, or page:NUMBER; all tables if left out",
          kTextArgument);
  AddPath(command, "--to", m_arguments.folder, "Folder for one file a table; standard output if left out",
          kFolderArgument);
  AddPath(command, "-o,--output", m_arguments.output,
          "The file for one TABLE, or for the script or database");
  SExportWords& words = m_words.exporting;
  AddChoice(command, "--format", words.format, "csv (default), jsonl, an SQL script or an SQLite database",
            {"csv", "jsonl", "sql", "sqlite"});
  AddChoice(command, "--dialect", words.dialect,
            "sql: the database that the script is for; sqlite if left out",
            {"sqlite", "postgresql", "mysql"});
  AddChoice(
      command, "--ole", words.ole,
      "Bytes of objects and attached files: hex (default of csv), base64 (default of jsonl) or files of "
      "their own",
      {"hex", "base64", "files"});
  command
      .add_option("--delimiter", words.delimiter, "csv: the character between cells, or tab; else a comma")
      ->type_name(kTextArgument);
  command.add_flag("--bom", m_arguments.exporting.hasByteOrderMark,
                   "csv: begin with a byte order mark, as some spreadsheets want");
  command
      .add_option_function<std::string>(
          "--null",
          [&words](const std::string& text) {
            words.nullText = text;
            words.hasNullText = true;
          },
          "csv: what stands for no value; else nothing")
      ->type_name(kTextArgument);
  command.add_flag("--guard-formulas", m_arguments.exporting.guardsFormulas,
                   "csv: an apostrophe in front of texts that a spreadsheet would calculate");
  command.add_flag("--overwrite", m_arguments.mayOverwrite, "Replace existing files");
  command.add_flag("--all", m_arguments.withSystemTables,
                   "System tables, and columns that Access keeps for itself, too");
  AddRecovery(command);
}

void CCommandGrammar::AddOthers() {
  CLI::App& queries = Add(ECommand::Queries);
  AddSource(queries);
  queries.add_flag("--all", m_arguments.withSystemTables, "Hidden queries of forms and reports, too");
  AddRecovery(queries);

  CLI::App& objects = Add(ECommand::Objects);
  AddSource(objects);
  objects.add_flag("--all", m_arguments.withSystemTables, "System objects, too");
  AddRecovery(objects);

  CLI::App& inspect = Add(ECommand::Inspect);
  AddSource(inspect);
  AddReport(inspect);
  inspect.add_flag("--overwrite", m_arguments.mayOverwrite, "Replace an existing report");
  AddRecovery(inspect);

  CLI::App& check = Add(ECommand::Check);
  AddPath(check, "DATABASE", m_arguments.source, "The database; - for standard input")->required();
  AddPlace(check);
  AddManners(check);

  AddManners(Add(ECommand::Engines));
}

void CCommandGrammar::AddHelpers() {
  Add(ECommand::Help).add_option("COMMAND", m_words.topic, "The command")->type_name("COMMAND");
  Add(ECommand::Manual)
      .add_option("COMMAND", m_words.topic, "The command; the program itself if left out")
      ->type_name("COMMAND");
  AddChoice(Add(ECommand::Completion), "SHELL", m_words.shell, "bash, zsh or fish", {"bash", "zsh", "fish"})
      ->required();
}

CCommandGrammar::CCommandGrammar() {
  m_app.set_version_flag("--version", kVersion, "Version of this program and the formats that it reads");
  m_app.set_help_flag("-h,--help", "This help; after a command, that command's help");
  m_app.require_subcommand(1);
  m_app.allow_windows_style_options(false);
  AddRepair();
  CLI::App& tables = Add(ECommand::Tables);
  AddSource(tables);
  tables.add_flag("--all", m_arguments.withSystemTables,
                  "System tables, and columns that Access keeps for itself, too");
  AddReport(tables);
  tables.add_flag("--overwrite", m_arguments.mayOverwrite, "Replace an existing report");
  AddRecovery(tables);
  AddPreview();
  AddExport();
  AddOthers();
  AddHelpers();
}

std::vector<SCommandForm> CCommandGrammar::Describe() const {
  const auto describe = [](ECommand command, const CLI::App& app) {
    SCommandForm form{&WordsOf(command), {}};
    for (const CLI::Option* option : app.get_options()) {
      SOptionForm& added = form.options.emplace_back();
      added.isPositional = option->get_positional();
      if (added.isPositional) added.names.push_back(option->get_name(true));
      for (const std::string& name : option->get_snames()) added.names.push_back("-" + name);
      for (const std::string& name : option->get_lnames()) added.names.push_back("--" + name);
      if (option->get_expected_max() > 0) added.argument = option->get_type_name();
      added.text = option->get_description();
      added.isRequired = option->get_required();
      added.isRepeated = option->get_expected_max() > 1;
    }
    return form;
  };
  std::vector<SCommandForm> forms{describe(ECommand::None, m_app)};
  for (const auto& [command, app] : m_commands) forms.push_back(describe(command, *app));
  return forms;
}

const CLI::App* CCommandGrammar::GetChosen() const {
  const auto chosen = m_app.get_subcommands();
  return chosen.empty() ? nullptr : chosen.front();
}

}  // namespace tolvane
