#include "cli/CommandArguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <utility>

#include "cli/CommandHelp.h"
#include "cli/Completion.h"
#include "cli/DisplayText.h"
#include "cli/ExportArguments.h"
#include "cli/ManualPage.h"
#include "cli/Version.h"
#include "platform/Terminal.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

// Arguments that name something.
constexpr const char* kFile = "FILE";
constexpr const char* kFolder = "FOLDER";

// The parser works with the system's bytes; the program with text.
struct SWords {
  std::string source, mapFile, templatePath, workFolder, logFile, reportFile, output, outputFolder, table,
      folder;
  std::vector<std::string> sources;
  std::string rules, outputFormat, color, topic, shell, engine = "embedded";
  SExportWords exporting;
};

// The commands with their options: declares them to the parser, which then knows them for the help, too. The
// name of an argument says what may stand there: FILE, FOLDER, NUMBER, TEXT, or the values.
class CGrammar {
 public:
  CGrammar();
  CGrammar(const CGrammar&) = delete;
  CGrammar& operator=(const CGrammar&) = delete;

  SParsedArguments Parse(const std::vector<std::u16string>& words);
  [[nodiscard]] std::vector<SCommandForm> Describe() const;

 private:
  CLI::App& Add(ECommand command);
  static CLI::Option* AddPath(CLI::App& command, const char* names, std::string& target, const char* text,
                              const char* kind = kFile);
  // One of the values; the first one is the default unless the text says otherwise.
  static CLI::Option* AddChoice(CLI::App& command, const char* names, std::string& target, const char* text,
                                const std::vector<std::string>& values);
  void AddSource(CLI::App& command);
  void AddManners(CLI::App& command);
  void AddRecovery(CLI::App& command);
  void AddReport(CLI::App& command);
  void AddRepair();
  void AddPreview();
  void AddExport();
  void AddOthers();
  void AddHelpers();
  void TakeWords();
  // Rules between options, as far as the words alone tell. Empty when all is well.
  [[nodiscard]] std::string FindConflict() const;
  [[nodiscard]] std::string FindRepairConflict() const;
  void TakeShared();
  [[nodiscard]] SParsedArguments Answer() const;
  [[nodiscard]] SParsedArguments ShowHelp(ECommand command) const;
  [[nodiscard]] SParsedArguments ShowTopic(const std::string& name, bool asManual) const;
  // The command whose help fits to a complaint.
  [[nodiscard]] std::string HelpHint() const;

  CLI::App m_app{"", "tolvane"};
  std::vector<std::pair<ECommand, CLI::App*>> m_commands;
  SArguments m_arguments;
  SWords m_words;
};

SParsedArguments End(std::string text, EExitStatus status = EExitStatus::Done) {
  SParsedArguments parsed;
  parsed.isEnd = true;
  parsed.status = status;
  parsed.text = std::move(text);
  return parsed;
}

SParsedArguments Complain(std::string text) {
  return End(std::move(text), EExitStatus::WrongUsage);
}

size_t HelpWidth() {
  return IsTerminal(EStream::Output) ? GetTerminalWidth(EStream::Output) : 0;
}

CLI::App& CGrammar::Add(ECommand command) {
  const SCommandWords& words = WordsOf(command);
  CLI::App& added = *m_app.add_subcommand(words.name, words.summary);
  added.callback([this, command] { m_arguments.command = command; });
  m_commands.emplace_back(command, &added);
  return added;
}

CLI::Option* CGrammar::AddPath(CLI::App& command, const char* names, std::string& target, const char* text,
                               const char* kind) {
  return command.add_option(names, target, text)->type_name(kind);
}

CLI::Option* CGrammar::AddChoice(CLI::App& command, const char* names, std::string& target, const char* text,
                                 const std::vector<std::string>& values) {
  std::string shown;
  for (const std::string& value : values) shown += (shown.empty() ? "" : "|") + value;
  return command.add_option(names, target, text)
      ->type_name(shown)
      ->check(CLI::IsMember(values).description(""));
}

void CGrammar::AddSource(CLI::App& command) {
  AddPath(command, "SOURCE", m_words.source, "The damaged database; - for standard input")->required();
}

void CGrammar::AddManners(CLI::App& command) {
  command.add_flag("--json", m_arguments.isJson, "Result for programs, as JSON with a schema version");
  command.add_flag("-q,--quiet", m_arguments.isQuiet, "No progress on standard error");
  AddChoice(command, "--color", m_words.color,
            "Colours: auto (default) on a terminal, unless NO_COLOR is set", {"auto", "always", "never"});
}

void CGrammar::AddRecovery(CLI::App& command) {
  AddPath(command, "--template", m_words.templatePath,
          "A healthy database of the same structure; table definitions are read from it");
  AddChoice(command, "--rules", m_words.rules,
            "exact (default): what the file holds; standard: the documented conventions",
            {"exact", "standard"});
  command
      .add_option("--start", m_arguments.start,
                  "Read the database that begins at this byte of the file, in one that holds several")
      ->type_name("OFFSET");
  AddPath(command, "--map", m_words.mapFile,
          "Map of GNU ddrescue: what it could not read is taken for unreadable, not for zeros");
  AddPath(command, "--work-dir", m_words.workFolder, "Folder for temporary files", kFolder);
  command
      .add_option(
          "--threads", m_arguments.threads,
          "Threads that work; as many as the machine has processors without it. The result is the same")
      ->type_name("NUMBER")
      ->check(CLI::Range(1, 64).description(""));
  AddManners(command);
  command.add_flag("-v,--verbose", m_arguments.isVerbose, "Log lines on standard error");
  AddPath(command, "--log", m_words.logFile, "Write the log to this file");
}

void CGrammar::AddReport(CLI::App& command) {
  AddPath(command, "--report", m_words.reportFile,
          "Write a report to this file, one HTML page: what is damaged, what came back, what to do next");
}

void CGrammar::AddRepair() {
  CLI::App& command = Add(ECommand::Repair);
  command
      .add_option("SOURCE", m_words.sources,
                  "The damaged database; several of them, or a folder; - for standard input")
      ->type_name(kFile)
      ->required();
  AddPath(command, "-o,--output", m_words.output,
          "The new database; Tolvane_NAME beside the source if left out");
  AddPath(command, "--to-dir", m_words.outputFolder, "Folder for the new databases, under the sources' names",
          kFolder);
  command.add_option("-j,--jobs", m_arguments.jobs, "How many of several files are repaired at once")
      ->type_name("NUMBER")
      ->check(CLI::Range(1, 256).description(""));
  AddChoice(command, "--engine", m_words.engine, "What writes the database: embedded (default) or dao",
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

void CGrammar::AddPreview() {
  CLI::App& command = Add(ECommand::Preview);
  AddSource(command);
  command.add_option("TABLE", m_words.table, "Name of the table, or page:NUMBER")->required();
  command.add_option("--rows", m_arguments.rows, "How many rows (default 20)")
      ->type_name("NUMBER")
      ->check(CLI::PositiveNumber.description(""));
  command.add_flag("--all", m_arguments.withSystemTables, "Columns that Access keeps for itself, too");
  AddRecovery(command);
}

void CGrammar::AddExport() {
  CLI::App& command = Add(ECommand::Export);
  AddSource(command);
  command.add_option("TABLE", m_words.table, "Name of the table, or page:NUMBER; all tables if left out");
  AddPath(command, "--to", m_words.folder, "Folder for one file a table; standard output if left out",
          kFolder);
  AddPath(command, "-o,--output", m_words.output, "The file for one TABLE, or for the script or database");
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
      ->type_name("TEXT");
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
      ->type_name("TEXT");
  command.add_flag("--guard-formulas", m_arguments.exporting.guardsFormulas,
                   "csv: an apostrophe in front of texts that a spreadsheet would calculate");
  command.add_flag("--overwrite", m_arguments.mayOverwrite, "Replace existing files");
  command.add_flag("--all", m_arguments.withSystemTables,
                   "System tables, and columns that Access keeps for itself, too");
  AddRecovery(command);
}

void CGrammar::AddOthers() {
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
  AddPath(check, "DATABASE", m_words.source, "The database")->required();
  AddManners(check);
}

void CGrammar::AddHelpers() {
  Add(ECommand::Help).add_option("COMMAND", m_words.topic, "The command")->type_name("COMMAND");
  Add(ECommand::Manual)
      .add_option("COMMAND", m_words.topic, "The command; the program itself if left out")
      ->type_name("COMMAND");
  AddChoice(Add(ECommand::Completion), "SHELL", m_words.shell, "bash, zsh or fish", {"bash", "zsh", "fish"})
      ->required();
}

CGrammar::CGrammar() {
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

std::vector<SCommandForm> CGrammar::Describe() const {
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

std::string CGrammar::FindConflict() const {
  const auto* const chosen = m_app.get_subcommands().front();
  for (const CLI::Option* option : chosen->get_options()) {
    const bool isName = option->get_type_name() == kFile || option->get_type_name() == kFolder;
    if (isName && std::ranges::count(option->results(), std::string()) > 0)
      return option->get_name() + ": an empty name names nothing";
  }
  if (m_arguments.command == ECommand::Export) return FindExportConflict(m_words.exporting, m_arguments);
  return m_arguments.command == ECommand::Repair ? FindRepairConflict() : std::string();
}

// What belongs to one file, and is of no use to several.
constexpr std::array<const char*, 5> kOneFileOptions{"--output", "--log", "--start", "--map", "--report"};
// What a repair of several files does itself.
constexpr std::array<const char*, 6> kBatchOptions{"--to-dir", "--jobs",    "--json",
                                                   "--quiet",  "--verbose", "--color"};

std::string CGrammar::FindRepairConflict() const {
  const SArguments& arguments = m_arguments;
  const CLI::App& command = *m_app.get_subcommands().front();
  const bool readsInput = std::ranges::count(arguments.sources, kStandardInput) > 0;
  if (!arguments.output.empty() && !arguments.outputFolder.empty())
    return "repair: -o names one new database, --to-dir a folder for several; give one of them";
  if (arguments.sources.size() == 1) {
    if (readsInput && arguments.output.empty() && !arguments.isDryRun)
      return "repair: standard input has no name; name the new database with -o";
    return {};
  }
  if (readsInput) return "repair: standard input is one SOURCE and stands alone";
  for (const char* name : kOneFileOptions)
    if (command.get_option(name)->count() > 0)
      return std::string("repair: ") + name + " belongs to one file; give one SOURCE";
  return {};
}

void CGrammar::TakeShared() {
  for (const CLI::Option* option : m_app.get_subcommands().front()->get_options()) {
    const std::string name = option->get_name();
    if (option->count() == 0 || option->get_positional() || std::ranges::count(kBatchOptions, name) > 0)
      continue;
    m_arguments.shared.push_back(FromNativePath(name));
    if (option->get_expected_max() > 0)
      for (const std::string& value : option->results()) m_arguments.shared.push_back(FromNativePath(value));
  }
}

void CGrammar::TakeWords() {
  SArguments& arguments = m_arguments;
  const SWords& words = m_words;
  for (const std::string& source : words.sources) arguments.sources.push_back(FromNativePath(source));
  if (words.sources.empty()) arguments.sources = {FromNativePath(words.source)};
  arguments.source = arguments.sources.front();
  arguments.templatePath = FromNativePath(words.templatePath);
  if (arguments.command == ECommand::Repair) TakeShared();
  arguments.mapFile = FromNativePath(words.mapFile);
  arguments.workFolder = FromNativePath(words.workFolder);
  arguments.logFile = FromNativePath(words.logFile);
  arguments.reportFile = FromNativePath(words.reportFile);
  arguments.output = FromNativePath(words.output);
  arguments.outputFolder = FromNativePath(words.outputFolder);
  arguments.table = FromNativePath(words.table);
  arguments.folder = FromNativePath(words.folder);
  if (words.color == "always") arguments.color = EColor::Always;
  if (words.color == "never") arguments.color = EColor::Never;
  if (words.rules == "exact") arguments.rules = ERules::Exact;
  if (words.rules == "standard") arguments.rules = ERules::Standard;
  if (words.outputFormat == "jet3") arguments.outputFormat = EOutputFormat::Jet3;
  if (words.outputFormat == "jet4") arguments.outputFormat = EOutputFormat::Jet4;
  if (words.outputFormat == "ace") arguments.outputFormat = EOutputFormat::Ace;
  if (words.engine == "dao") arguments.engine = EEngineChoice::Dao;
  TakeExportWords(words.exporting, arguments);
}

std::string CGrammar::HelpHint() const {
  const auto chosen = m_app.get_subcommands();
  return " (see tolvane " + (chosen.empty() ? std::string() : chosen.front()->get_name() + " ") + "--help)";
}

SParsedArguments CGrammar::ShowHelp(ECommand command) const {
  const std::vector<SCommandForm> forms = Describe();
  for (const SCommandForm& form : forms)
    if (form.words->command == command) return End(DrawHelp(form, forms, HelpWidth()));
  return Complain("there is no help");
}

SParsedArguments CGrammar::ShowTopic(const std::string& name, bool asManual) const {
  const std::vector<SCommandForm> forms = Describe();
  for (const SCommandForm& form : forms)
    if (form.words->name == name)
      return asManual ? End(DrawManualPage(form, forms)) : End(DrawHelp(form, forms, HelpWidth()));
  return Complain("there is no command \"" + ToDisplay(FromNativePath(name)) + "\" (see tolvane --help)");
}

SParsedArguments CGrammar::Answer() const {
  switch (m_arguments.command) {
    case ECommand::Help:
      return ShowTopic(m_words.topic, false);
    case ECommand::Manual:
      return ShowTopic(m_words.topic, true);
    case ECommand::Completion:
      return End(DrawCompletion(m_words.shell, Describe()));
    default:
      break;
  }
  SParsedArguments parsed;
  parsed.arguments = m_arguments;
  return parsed;
}

std::string DescribeMissingCommand(const std::vector<std::u16string>& words) {
  for (const std::u16string& word : words)
    if (!word.starts_with(u"-")) return "there is no command \"" + ToDisplay(word) + "\"";
  return "name a command";
}

SParsedArguments CGrammar::Parse(const std::vector<std::u16string>& words) {
  if (words.empty()) return Complain(ShowHelp(ECommand::None).text);
  std::vector<std::string> reversed;  // as the parser wants them
  for (auto word = words.rbegin(); word != words.rend(); ++word) reversed.push_back(ToNativePath(*word));
  try {
    m_app.parse(std::move(reversed));
  } catch (const CLI::CallForVersion&) {
    return End(DescribeVersion());
  } catch (const CLI::Success&) {
    const auto chosen = m_app.get_subcommands();
    for (const auto& [command, app] : m_commands)
      if (!chosen.empty() && app == chosen.front()) return ShowHelp(command);
    return ShowHelp(ECommand::None);
  } catch (const CLI::RequiredError& error) {
    if (m_app.get_subcommands().empty()) return Complain(DescribeMissingCommand(words) + HelpHint());
    return Complain(error.what() + HelpHint());
  } catch (const CLI::ParseError& error) {
    return Complain(error.what() + HelpHint());
  }
  TakeWords();
  if (const std::string conflict = FindConflict(); !conflict.empty()) return Complain(conflict + HelpHint());
  return Answer();
}

}  // namespace

SParsedArguments ParseArguments(const std::vector<std::u16string>& words) {
  return CGrammar().Parse(words);
}

}  // namespace tolvane
