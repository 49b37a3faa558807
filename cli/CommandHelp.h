// What the commands are for and how they are called, in words: the one source of the help texts, the manual
// pages and the shells' completions.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "cli/CommandArguments.h"

namespace tolvane {

// The words of a command that its options do not say themselves.
struct SCommandWords {
  ECommand command;
  const char* name;
  const char* summary;   // one line, without a stop
  const char* details;   // sentences, one paragraph a line; may be empty
  const char* examples;  // one a line; what it does follows behind two blanks at least
};

const SCommandWords& WordsOf(ECommand command);

// An option or a positional word, as the parser knows it.
struct SOptionForm {
  std::vector<std::string> names;  // "-o", "--output"; of a positional its one name
  std::string argument;            // "FILE", "FOLDER", "NUMBER", "csv|jsonl"; empty: a switch
  std::string text;
  bool isPositional = false;
  bool isRequired = false;
  bool isRepeated = false;
};

struct SCommandForm {
  const SCommandWords* words;
  std::vector<SOptionForm> options;
};

// The values of an argument like "csv|jsonl"; empty for any other.
std::vector<std::string> ValuesOf(const SOptionForm& option);
// "tolvane preview SOURCE TABLE [OPTIONS]"
std::string UsageOf(const SCommandForm& form);
// What --help shows. `forms`: all commands, which the program's own help lists. `width`: 0 for any.
std::string DrawHelp(const SCommandForm& form, std::span<const SCommandForm> forms, size_t width);

}  // namespace tolvane
