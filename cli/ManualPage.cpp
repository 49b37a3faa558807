#include "cli/ManualPage.h"

#include <algorithm>
#include <array>
#include <utility>

#include "cli/Version.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

constexpr std::array<std::pair<const char*, const char*>, 4> kVariables{{
    {"NO_COLOR", "When set to anything, output has no colours."},
    {"SOURCE_DATE_EPOCH",
     "Seconds since 1970; the date of everything in a new database, which is then the same at each repair."},
    {"TMPDIR", "Where temporary files go when the user's cache folder cannot take them."},
    {"XDG_CACHE_HOME", "The user's cache folder, ~/.cache if not set."},
}};

// Text as it stands: no character of it means anything to the formatter.
std::string Escape(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\')
      escaped += "\\e";
    else if (c == '-')
      escaped += "\\-";
    else
      escaped += c;
  }
  const bool isRequest = escaped.starts_with('.') || escaped.starts_with('\'');
  return isRequest ? "\\&" + escaped : escaped;
}

std::string TitleOf(const SCommandForm& form) {
  const bool isProgram = form.words->command == ECommand::None;
  return isProgram ? "tolvane" : std::string("tolvane-") + form.words->name;
}

// Calls `take` with each line.
template <class F>
void ForEachLine(std::string_view lines, const F& take) {
  while (!lines.empty()) take(CutPart(lines, '\n'));
}

std::string DrawTag(const std::string& tag, const std::string& text) {
  return ".TP\n" + tag + "\n" + Escape(text) + "\n";
}

std::string Bold(const std::string& text) {
  return "\\fB" + Escape(text) + "\\fR";
}

std::string DrawOption(const SOptionForm& option) {
  if (option.isPositional) return DrawTag("\\fI" + Escape(option.names.front()) + "\\fR", option.text);
  std::string tag;
  for (const std::string& name : option.names) tag += (tag.empty() ? "" : ", ") + Bold(name);
  if (!option.argument.empty()) tag += " \\fI" + Escape(option.argument) + "\\fR";
  return DrawTag(tag, option.text);
}

std::string DrawExamples(const char* examples) {
  std::string text = ".SH EXAMPLES\n";
  ForEachLine(examples, [&](std::string_view line) {
    const size_t gap = std::min(line.find("  "), line.size());
    const size_t remark = std::min(line.find_first_not_of(' ', gap), line.size());
    text += (text.ends_with("EXAMPLES\n") ? "" : ".PP\n") + std::string(".nf\n.RS\n") +
            Bold(std::string(line.substr(0, gap))) + "\n.RE\n.fi\n";
    if (remark < line.size()) text += ".RS\n" + Escape(line.substr(remark)) + "\n.RE\n";
  });
  return text;
}

std::string DrawSeeAlso(const SCommandForm& form, std::span<const SCommandForm> forms) {
  std::string text;
  for (const SCommandForm& other : forms)
    if (other.words != form.words)
      text += (text.empty() ? "" : " ,\n") + std::string(".BR ") + Escape(TitleOf(other)) + " (1)";
  return ".SH SEE ALSO\n" + text + "\n";
}

}  // namespace

std::string DrawManualPage(const SCommandForm& form, std::span<const SCommandForm> forms) {
  const SCommandWords& words = *form.words;
  const bool isProgram = words.command == ECommand::None;
  std::string title = TitleOf(form);
  std::ranges::transform(title, title.begin(),
                         [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  std::string text = ".TH " + title + " 1 \"" + kReleaseDate + "\" \"tolvane " + kVersion +
                     "\" \"User Commands\"\n.SH NAME\n" + Escape(TitleOf(form)) + " \\- " +
                     Escape(words.summary) + "\n.SH SYNOPSIS\n" + Bold(UsageOf(form)) + "\n";
  text += ".SH DESCRIPTION\nThe command " + std::string(words.summary) + ".\n";
  if (isProgram) text.replace(text.find("The command"), 11, "Tolvane");
  ForEachLine(words.details, [&](std::string_view line) { text += ".PP\n" + Escape(line) + "\n"; });
  if (isProgram) {
    text += ".SH COMMANDS\n";
    for (const SCommandForm& other : forms)
      if (&other != &form && other.words != form.words)
        text += DrawTag(Bold(other.words->name), std::string(other.words->summary) + ".");
  }
  text += ".SH OPTIONS\n";
  for (const SOptionForm& option : form.options) text += DrawOption(option);
  text += ".SH EXIT STATUS\n";
  for (const SExitStatusWords& status : kExitStatuses)
    text += DrawTag(Bold(std::to_string(static_cast<int>(status.status))), status.meaning);
  text += ".SH ENVIRONMENT\n";
  for (const auto& [name, meaning] : kVariables) text += DrawTag(Bold(name), meaning);
  return text + DrawExamples(words.examples) + DrawSeeAlso(form, forms);
}

}  // namespace tolvane
