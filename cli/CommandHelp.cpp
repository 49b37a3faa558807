#include "cli/CommandHelp.h"

#include <algorithm>
#include <array>

#include "cli/DisplayText.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

constexpr std::array<SCommandWords, 13> kCommands{{
    {ECommand::None, "", "repairs damaged Microsoft Access databases (.mdb, .accdb)",
     "The damaged file is only read. What can be recovered is written into a new database, or shown, or "
     "exported.\n"
     "Results go to standard output, progress and messages to standard error.",
     "tolvane repair damaged.mdb                    writes Tolvane_damaged.mdb beside it\n"
     "tolvane repair damaged.mdb -o new.mdb --report report.html\n"
     "tolvane repair damaged.mdb -o new.mdb --template backup.mdb\n"
     "tolvane repair *.mdb --to-dir repaired        many files, one line each\n"
     "tolvane tables damaged.mdb                    what can be recovered\n"
     "tolvane preview damaged.mdb Customers --rows 50\n"
     "tolvane export damaged.mdb --to folder        every table as CSV\n"
     "tolvane inspect damaged.mdb                   a map of the file's pages\n"
     "tolvane queries damaged.mdb                   the saved queries as SQL\n"
     "tolvane check repaired.mdb                    whether a database is consistent"},
    {ECommand::Repair, "repair", "writes what can be recovered into a new database",
     "An existing file is replaced only with --overwrite, and the damaged one never. The new database gets "
     "its name when it is whole and on the disk.",
     "tolvane repair damaged.mdb\n"
     "tolvane repair damaged.mdb -o repaired.mdb --overwrite\n"
     "tolvane repair damaged.mdb --report report.html     and a page that says what was lost\n"
     "tolvane repair damaged.mdb --template backup.mdb    definitions from a healthy copy\n"
     "tolvane repair damaged.mdb --dry-run --json         what would be saved, for a program"},
    {ECommand::Tables, "tables", "lists the tables that can be recovered, with their columns and indexes", "",
     "tolvane tables damaged.mdb\n"
     "tolvane tables damaged.mdb --all --json"},
    {ECommand::Preview, "preview", "shows the first rows of a table", "",
     "tolvane preview damaged.mdb Customers\n"
     "tolvane preview damaged.mdb page:27 --rows 100      the table that is defined on page 27"},
    {ECommand::Export, "export",
     "writes recovered rows as CSV, JSON lines, an SQL script or an SQLite database",
     "CSV (RFC 4180): a field without a value is nothing, an empty text is \"\".\n"
     "JSON lines: values have their own types; numbers have all their digits, dates are ISO 8601, complex "
     "columns arrays.\n"
     "SQL and SQLite: one file with tables, rows, keys, indexes and foreign keys; an SQLite database has "
     "saved queries as views, too.",
     "tolvane export damaged.mdb Customers > customers.csv\n"
     "tolvane export damaged.mdb --to folder              one file a table\n"
     "tolvane export damaged.mdb --to folder --ole files  objects and attachments as files of their own\n"
     "tolvane export damaged.mdb --format sqlite -o new.db\n"
     "tolvane export damaged.mdb --format sql --dialect postgresql -o new.sql"},
    {ECommand::Queries, "queries", "lists the saved queries that can be rebuilt: name, kind and SQL text", "",
     "tolvane queries damaged.mdb\n"
     "tolvane queries damaged.mdb --json"},
    {ECommand::Objects, "objects", "lists everything that the file holds, with what became of it",
     "Tables, links, queries, relationships, forms, reports, macros and modules, each recovered, damaged, "
     "lost or not carried over.",
     "tolvane objects damaged.mdb\n"
     "tolvane objects damaged.mdb --all --json"},
    {ECommand::Inspect, "inspect",
     "shows what each page of the file is, and which are damaged or belong to no table", "",
     "tolvane inspect damaged.mdb\n"
     "tolvane inspect damaged.mdb --json"},
    {ECommand::Check, "check",
     "proves that a database is consistent: pages, definitions, rows, indexes, catalogue",
     "It repairs nothing.",
     "tolvane check database.mdb\n"
     "tolvane check repaired.accdb --json"},
    {ECommand::Engines, "engines", "lists the database engines that can write a new database",
     "The program has one of its own. On Windows an installed DAO engine can be taken instead, with tolvane "
     "repair --engine dao.",
     "tolvane engines\n"
     "tolvane engines --json"},
    {ECommand::Help, "help", "shows the help of a command", "", "tolvane help repair"},
    {ECommand::Manual, "man", "writes the manual page of the program or of a command", "",
     "tolvane man repair | man -l -"},
    {ECommand::Completion, "completion", "writes the completions of a shell", "",
     "tolvane completion bash > ~/.local/share/bash-completion/completions/tolvane"},
}};

constexpr size_t kTextColumn = 26;
constexpr size_t kUsualWidth = 80;

// "  NAME            TEXT", the text in its column or below.
std::string DrawEntry(const std::string& name, const std::string& text, size_t width) {
  std::string entry = "  " + name;
  if (entry.size() + 2 > kTextColumn)
    entry += "\n" + std::string(kTextColumn, ' ');
  else
    entry.resize(kTextColumn, ' ');
  return entry + WrapWords(text, kTextColumn, width) + "\n";
}

std::string DrawNames(const SOptionForm& option) {
  std::string name = option.names.front().starts_with("--") ? "    " : "";
  for (size_t i = 0; i < option.names.size(); ++i) name += (i == 0 ? "" : ", ") + option.names[i];
  if (option.isPositional) return option.names.front();
  return option.argument.empty() ? name : name + " " + option.argument;
}

std::string DrawOptions(const SCommandForm& form, bool arePositional, size_t width) {
  std::string text;
  for (const SOptionForm& option : form.options)
    if (option.isPositional == arePositional) text += DrawEntry(DrawNames(option), option.text, width);
  return text;
}

// One a line; what an example does goes below it where the line is too long.
std::string DrawExampleLines(std::string_view lines, size_t width) {
  constexpr size_t kExampleIndent = 2, kRemarkIndent = 6;
  std::string text;
  while (!lines.empty()) {
    const std::string_view line = CutPart(lines, '\n');
    const size_t gap = line.find("  ");
    text += std::string(kExampleIndent, ' ');
    if (gap == std::string_view::npos || kExampleIndent + DisplayWidth(line) <= width) {
      (text += line) += "\n";
      continue;
    }
    const std::string_view remark = line.substr(line.find_first_not_of(' ', gap));
    (text += line.substr(0, gap)) += "\n" + std::string(kRemarkIndent, ' ');
    text += WrapWords(remark, kRemarkIndent, width) + "\n";
  }
  return text;
}

std::string DrawDetails(std::string_view details, size_t width) {
  std::string text;
  while (!details.empty()) text += WrapWords(CutPart(details, '\n'), 0, width) + "\n";
  return text.empty() ? text : text + "\n";
}

}  // namespace

const SCommandWords& WordsOf(ECommand command) {
  return *std::ranges::find(kCommands, command, &SCommandWords::command);
}

const char* NameOf(ECommand command) {
  return WordsOf(command).name;
}

std::vector<std::string> ValuesOf(const SOptionForm& option) {
  std::vector<std::string> values;
  std::string_view rest = option.argument;
  if (rest.find('|') == std::string_view::npos) return values;
  while (!rest.empty()) values.emplace_back(CutPart(rest, '|'));
  return values;
}

std::string UsageOf(const SCommandForm& form) {
  if (form.words->command == ECommand::None) return "tolvane COMMAND [OPTIONS]";
  std::string usage = std::string("tolvane ") + form.words->name;
  for (const SOptionForm& option : form.options) {
    if (!option.isPositional) continue;
    const std::string name = option.names.front() + (option.isRepeated ? "..." : "");
    usage += option.isRequired ? " " + name : " [" + name + "]";
  }
  return usage + " [OPTIONS]";
}

std::string DrawHelp(const SCommandForm& form, std::span<const SCommandForm> forms, size_t width) {
  if (width == 0) width = kUsualWidth;
  const SCommandWords& words = *form.words;
  const std::string name = *words.name == '\0' ? "tolvane" : std::string("tolvane ") + words.name;
  std::string text = WrapWords(name + ": " + words.summary + ".", 2, width) + "\n\nExamples:\n" +
                     DrawExampleLines(words.examples, width) + "\n" + DrawDetails(words.details, width) +
                     "Usage: " + UsageOf(form) + "\n";
  if (const std::string positional = DrawOptions(form, true, width); !positional.empty())
    text += "\nArguments:\n" + positional;
  text += "\nOptions:\n" + DrawOptions(form, false, width);
  if (words.command != ECommand::None) return text;
  text += "\nCommands:\n";
  for (const SCommandForm& command : forms)
    if (command.words->command != ECommand::None)
      text += DrawEntry(command.words->name, command.words->summary, width);
  text += "\nExit statuses:\n";
  for (const SExitStatusWords& status : kExitStatuses)
    text += DrawEntry(std::to_string(static_cast<int>(status.status)), status.meaning, width);
  return text;
}

}  // namespace tolvane
