#include "cli/Completion.h"

namespace tolvane {

namespace {

// What may stand in an option's or a positional's place.
enum class EPlaceKind : uint8_t { Any, File, Folder, Command, Value };

EPlaceKind PlaceKindOf(const SOptionForm& option) {
  if (option.argument == "FILE") return EPlaceKind::File;
  if (option.argument == "FOLDER") return EPlaceKind::Folder;
  if (option.argument == "COMMAND") return EPlaceKind::Command;
  return ValuesOf(option).empty() ? EPlaceKind::Any : EPlaceKind::Value;
}

std::string Join(const std::vector<std::string>& words, const char* between = " ") {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

std::vector<std::string> NamesOf(std::span<const SCommandForm> forms) {
  std::vector<std::string> names;
  for (const SCommandForm& form : forms)
    if (form.words->command != ECommand::None) names.emplace_back(form.words->name);
  return names;
}

std::vector<std::string> WordsFor(const SOptionForm& option, std::span<const SCommandForm> forms) {
  return PlaceKindOf(option) == EPlaceKind::Command ? NamesOf(forms) : ValuesOf(option);
}

// In single quotes.
std::string Quote(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// --- bash ---

std::string DrawBashReply(const SOptionForm& option, std::span<const SCommandForm> forms) {
  switch (PlaceKindOf(option)) {
    case EPlaceKind::File:
      return "_tolvane_paths -f";
    case EPlaceKind::Folder:
      return "_tolvane_paths -d";
    case EPlaceKind::Command:
    case EPlaceKind::Value:
      return "_tolvane_words " + Quote(Join(WordsFor(option, forms)));
    case EPlaceKind::Any:
      break;
  }
  return ":";
}

constexpr const char* kBashHead = R"(# Completions of tolvane for bash.
_tolvane_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur"); }
_tolvane_paths() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen "$1" -- "$cur")
}
_tolvane() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command= i
  COMPREPLY=()
  # The shell takes "--option=value" for three words.
  if [ "$cur" = = ]; then cur=
  elif [ "$prev" = = ]; then prev=${COMP_WORDS[COMP_CWORD-2]}; fi
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in -*) ;; *) command=${COMP_WORDS[i]}; break ;; esac
  done
)";

std::string DrawBash(std::span<const SCommandForm> forms) {
  std::string values, options, places;
  for (const SCommandForm& form : forms) {
    const std::string name = form.words->name;
    std::vector<std::string> switches;
    for (const SOptionForm& option : form.options) {
      if (option.isPositional) continue;
      switches.insert(switches.end(), option.names.begin(), option.names.end());
      if (option.argument.empty()) continue;
      std::vector<std::string> patterns;
      for (const std::string& word : option.names) patterns.push_back(name + ":" + word);
      values += "    " + Join(patterns, "|") + ") " + DrawBashReply(option, forms) + "; return ;;\n";
    }
    options += "      " + Quote(name) + ") _tolvane_words " + Quote(Join(switches)) + " ;;\n";
    for (const SOptionForm& option : form.options)
      if (option.isPositional && PlaceKindOf(option) != EPlaceKind::Any) {
        places += "    " + Quote(name) + ") " + DrawBashReply(option, forms) + " ;;\n";
        break;
      }
  }
  return std::string(kBashHead) + "  case $command:$prev in\n" + values + "  esac\n" +
         "  if [[ $cur == -* ]]; then\n    case $command in\n" + options + "    esac\n    return\n  fi\n" +
         "  case $command in\n    '') _tolvane_words " + Quote(Join(NamesOf(forms))) + " ;;\n" + places +
         "  esac\n}\ncomplete -F _tolvane tolvane\n";
}

// --- zsh ---

// A text inside a specification: brackets and colons mean something there.
std::string EscapeZsh(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string DrawZshPlace(const SOptionForm& option, std::span<const SCommandForm> forms) {
  switch (PlaceKindOf(option)) {
    case EPlaceKind::File:
      return ":file:_files";
    case EPlaceKind::Folder:
      return ":folder:_files -/";
    case EPlaceKind::Command:
    case EPlaceKind::Value:
      return ":value:(" + Join(WordsFor(option, forms)) + ")";
    case EPlaceKind::Any:
      break;
  }
  return ":" + (option.argument.empty() ? option.names.front() : option.argument) + ": ";
}

std::string DrawZshArguments(const SCommandForm& form, std::span<const SCommandForm> forms,
                             const std::string& indent) {
  std::string text;
  for (const SOptionForm& option : form.options) {
    if (option.isPositional) {
      text +=
          " \\\n" + indent + Quote(std::string(option.isRepeated ? "*" : "") + DrawZshPlace(option, forms));
      continue;
    }
    for (const std::string& name : option.names)
      text += " \\\n" + indent +
              Quote(name + "[" + EscapeZsh(option.text) + "]" +
                    (option.argument.empty() ? std::string() : DrawZshPlace(option, forms)));
  }
  return text;
}

std::string DrawZsh(std::span<const SCommandForm> forms) {
  std::string names, cases;
  for (const SCommandForm& form : forms) {
    if (form.words->command == ECommand::None) continue;
    names += "    " + Quote(std::string(form.words->name) + ":" + form.words->summary) + "\n";
    cases += std::string("    ") + form.words->name + ")\n      _arguments -s" +
             DrawZshArguments(form, forms, "        ") + " ;;\n";
  }
  return "#compdef tolvane\n# Completions of tolvane for zsh.\n_tolvane() {\n  local -a commands\n  local "
         "state line\n  commands=(\n" +
         names + "  )\n  _arguments -C" + DrawZshArguments(forms.front(), forms, "    ") +
         " \\\n    '1:command:->command' '*::argument:->argument'\n  case $state in\n  command) _describe "
         "command commands ;;\n  argument)\n    case $words[1] in\n" +
         cases +
         "    esac ;;\n  esac\n}\n"
         // Loaded by name it is the completion itself, read in it announces it.
         "if [ \"$funcstack[1]\" = _tolvane ]; then _tolvane \"$@\"; else compdef _tolvane tolvane; fi\n";
}

// --- fish ---

std::string DrawFishOption(const SOptionForm& option, const std::string& condition,
                           std::span<const SCommandForm> forms) {
  std::string line = "complete -c tolvane -n " + Quote(condition);
  for (const std::string& name : option.names) {
    if (option.isPositional) continue;
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  switch (PlaceKindOf(option)) {
    case EPlaceKind::File:
      line += " -r -F";
      break;
    case EPlaceKind::Folder:
      line += " -x -a '(__fish_complete_directories)'";
      break;
    case EPlaceKind::Command:
    case EPlaceKind::Value:
      line += " -x -a " + Quote(Join(WordsFor(option, forms)));
      break;
    case EPlaceKind::Any:
      line += option.argument.empty() ? "" : " -x";
      break;
  }
  return line + " -d " + Quote(option.text) + "\n";
}

std::string DrawFish(std::span<const SCommandForm> forms) {
  std::string text = "# Completions of tolvane for fish.\ncomplete -c tolvane -n __fish_use_subcommand -f\n";
  for (const SCommandForm& form : forms) {
    const bool isProgram = form.words->command == ECommand::None;
    const std::string condition =
        isProgram ? "__fish_use_subcommand" : std::string("__fish_seen_subcommand_from ") + form.words->name;
    if (!isProgram)
      text += std::string("complete -c tolvane -n __fish_use_subcommand -a ") + form.words->name + " -d " +
              Quote(form.words->summary) + "\n";
    for (const SOptionForm& option : form.options)
      if (!option.isPositional || PlaceKindOf(option) == EPlaceKind::Value ||
          PlaceKindOf(option) == EPlaceKind::Command)
        text += DrawFishOption(option, condition, forms);
  }
  return text;
}

}  // namespace

std::string DrawCompletion(std::string_view shell, std::span<const SCommandForm> forms) {
  if (shell == "zsh") return DrawZsh(forms);
  return shell == "fish" ? DrawFish(forms) : DrawBash(forms);
}

}  // namespace tolvane
