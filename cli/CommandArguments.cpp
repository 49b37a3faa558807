#include "cli/CommandArguments.h"

#include <algorithm>
#include <array>
#include <utility>

#include "cli/CommandGrammar.h"
#include "cli/Completion.h"
#include "cli/DisplayText.h"
#include "cli/ManualPage.h"
#include "cli/Version.h"
#include "platform/Files.h"
#include "platform/Terminal.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

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

// Standard input or output where a stream is meant.
constexpr std::string_view kDash = "-";

// What belongs to one file, and is of no use to several.
constexpr std::array<const char*, 5> kOneFileOptions{"--output", "--log", "--start", "--map", "--report"};
// What a repair of several files does itself.
constexpr std::array<const char*, 7> kBatchOptions{"--to-dir",  "--jobs",  "--json", "--quiet",
                                                   "--verbose", "--color", "--brief"};

// Rules between options, as far as the words alone tell; empty when all is well. `chosen`: the command.
std::string FindRepairConflict(const SArguments& arguments, const CLI::App& chosen) {
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
    if (chosen.get_option(name)->count() > 0)
      return std::string("repair: ") + name + " belongs to one file; give one SOURCE";
  return {};
}

// `tolvane export TABLE -o -`, as other programs take it; a database is no stream.
bool IsStream(const SArguments& arguments) {
  return arguments.command == ECommand::Export && arguments.exporting.format != EExportFormat::Sqlite;
}

std::string FindConflict(const SArguments& arguments, const SExportWords& exporting, const CLI::App& chosen) {
  for (const CLI::Option* option : chosen.get_options()) {
    const std::string kind = option->get_type_name();
    const bool isName = kind == kFileArgument || kind == kFolderArgument;
    if (isName && std::ranges::count(option->results(), std::string()) > 0)
      return option->get_name() + ": an empty name names nothing";
    const bool mayBeDash =
        option->get_positional() || (option->get_name() == "--output" && IsStream(arguments));
    if (isName && !mayBeDash && std::ranges::count(option->results(), kDash) > 0)
      return option->get_name() + ": needs a file with a name (./- is the one called -)";
  }
  if (arguments.isBrief && !arguments.isJson) return "--brief shortens what --json writes; give both";
  if (arguments.command == ECommand::Export) return FindExportConflict(exporting, arguments);
  return arguments.command == ECommand::Repair ? FindRepairConflict(arguments, chosen) : std::string();
}

// Of a repair: what each of several files gets.
std::vector<std::u16string> ListSharedWords(const CLI::App& chosen) {
  std::vector<std::u16string> shared;
  for (const CLI::Option* option : chosen.get_options()) {
    const std::string name = option->get_name();
    if (option->count() == 0 || option->get_positional() || std::ranges::count(kBatchOptions, name) > 0)
      continue;
    shared.push_back(FromNativePath(name));
    if (option->get_expected_max() > 0)
      for (const std::string& value : option->results()) shared.push_back(FromNativePath(value));
  }
  return shared;
}

SArguments TakeWords(const CCommandGrammar& grammar) {
  SArguments arguments = grammar.GetArguments();
  const SWords& words = grammar.GetWords();
  if (arguments.sources.empty()) arguments.sources = {arguments.source};
  arguments.source = arguments.sources.front();
  if (arguments.command == ECommand::Repair) arguments.shared = ListSharedWords(*grammar.GetChosen());
  if (words.color == "always") arguments.color = EColor::Always;
  if (words.color == "never") arguments.color = EColor::Never;
  if (words.rules == "exact") arguments.rules = ERules::Exact;
  if (words.rules == "standard") arguments.rules = ERules::Standard;
  if (words.outputFormat == "jet3") arguments.outputFormat = EOutputFormat::Jet3;
  if (words.outputFormat == "jet4") arguments.outputFormat = EOutputFormat::Jet4;
  if (words.outputFormat == "ace") arguments.outputFormat = EOutputFormat::Ace;
  if (words.engine == "dao") arguments.engine = EEngineChoice::Dao;
  TakeExportWords(words.exporting, arguments);
  if (arguments.output == kStandardInput && IsStream(arguments)) arguments.output.clear();
  return arguments;
}

// The command whose help fits to a complaint.
std::string HelpHint(const CCommandGrammar& grammar) {
  const CLI::App* const chosen = grammar.GetChosen();
  return " (see tolvane " + (chosen == nullptr ? std::string() : chosen->get_name() + " ") + "--help)";
}

// `name`: of a command; empty for the program itself.
SParsedArguments ShowTopic(const CCommandGrammar& grammar, const std::string& name, bool asManual) {
  const std::vector<SCommandForm> forms = grammar.Describe();
  for (const SCommandForm& form : forms)
    if (form.words->name == name)
      return asManual ? End(DrawManualPage(form, forms)) : End(DrawHelp(form, forms, HelpWidth()));
  return Complain("there is no command \"" + ToDisplay(FromNativePath(name)) + "\" (see tolvane --help)");
}

SParsedArguments Answer(const CCommandGrammar& grammar, SArguments arguments) {
  const SWords& words = grammar.GetWords();
  switch (arguments.command) {
    case ECommand::Help:
      return ShowTopic(grammar, words.topic, false);
    case ECommand::Manual:
      return ShowTopic(grammar, words.topic, true);
    case ECommand::Completion:
      return End(DrawCompletion(words.shell, grammar.Describe()));
    default:
      break;
  }
  SParsedArguments parsed;
  parsed.arguments = std::move(arguments);
  return parsed;
}

std::string DescribeMissingCommand(const std::vector<std::u16string>& words) {
  for (const std::u16string& word : words)
    if (!word.starts_with(u"-"))
      return FileExists(word)
                 ? "\"" + ToDisplay(word) + "\" is not a command; tolvane repair SOURCE repairs that file"
                 : "there is no command \"" + ToDisplay(word) + "\"";
  return "name a command";
}

}  // namespace

SParsedArguments ParseArguments(const std::vector<std::u16string>& words) {
  CCommandGrammar grammar;
  if (words.empty()) return Complain(ShowTopic(grammar, {}, false).text);
  std::vector<std::string> reversed;  // as the parser wants them
  for (auto word = words.rbegin(); word != words.rend(); ++word) reversed.push_back(ToNativePath(*word));
  try {
    grammar.GetParser().parse(std::move(reversed));
  } catch (const CLI::CallForVersion&) {
    return End(DescribeVersion());
  } catch (const CLI::Success&) {
    const CLI::App* const chosen = grammar.GetChosen();
    return ShowTopic(grammar, chosen == nullptr ? std::string() : chosen->get_name(), false);
  } catch (const CLI::RequiredError& error) {
    if (grammar.GetChosen() == nullptr) return Complain(DescribeMissingCommand(words) + HelpHint(grammar));
    return Complain(error.what() + HelpHint(grammar));
  } catch (const CLI::ParseError& error) {
    return Complain(error.what() + HelpHint(grammar));
  }
  SArguments arguments = TakeWords(grammar);
  const std::string conflict = FindConflict(arguments, grammar.GetWords().exporting, *grammar.GetChosen());
  if (!conflict.empty()) return Complain(conflict + HelpHint(grammar));
  return Answer(grammar, std::move(arguments));
}

}  // namespace tolvane
