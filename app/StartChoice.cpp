#include "app/StartChoice.h"

#include <algorithm>

#include "platform/Files.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kUsage =
    u"TolvaneForAccess [DATABASE]\n\nOpens the window with this .mdb or .accdb file selected. Nothing starts "
    u"by itself, and the file is only read.\n\nFor scripts there is the program tolvane: tolvane --help "
    u"tells what it can do.";

bool IsHelp(std::u16string_view word) {
  return word == u"--help" || word == u"-h" || word == u"-?" || word == u"/?" || word == u"/h" ||
         word == u"/help";
}

// A file may be called so, too.
bool IsOption(const std::u16string& word) {
  return word.size() > 1 && (word[0] == u'-' || word[0] == u'/') && !FileExists(word);
}

constexpr std::u16string_view kFilter = u"MS Access Files(*.mdb;*.accdb)|*.mdb;*.accdb||";

}  // namespace

std::optional<std::u16string> CheckStartChoice(const SStartChoice& choice) {
  if (choice.corruptedFile.empty()) return u"Please Select Corrupted MS Access Database File.";
  if (choice.isTemplateMode && choice.templateFile.empty())
    return u"Please Select Template MS Access Database File.";
  return std::nullopt;
}

SFileQuestion AskForCorruptedFile(EAskedFrom from) {
  return {.title = from == EAskedFrom::MainView ? u"Select corrupted file to repair..."
                                                : u"Select Corrupted MS Access file...",
          .filter = std::u16string(kFilter),
          .defaultExtension = u"accdb"};
}

SFileQuestion AskForTemplateFile(EAskedFrom from) {
  return {.title = from == EAskedFrom::MainView ? u"Select file having same structure as corrupted file..."
                                                : u"Select template file...",
          .filter = std::u16string(kFilter),
          .defaultExtension = u"ACCDB"};
}

std::u16string ReadTypedPath(std::u16string_view text) {
  const auto strip = [&text](std::u16string_view units) {
    text.remove_prefix(std::min(text.find_first_not_of(units), text.size()));
    text.remove_suffix(text.size() - (text.find_last_not_of(units) + 1));
  };
  strip(u" \t\r\n");
  if (text.size() > 1 && text.front() == u'"' && text.back() == u'"') strip(u"\"");
  return std::u16string(text);
}

SStartWords ReadStartWords(const std::vector<std::u16string>& words) {
  SStartWords read;
  for (const std::u16string& word : words) {
    if (IsHelp(word)) return {.message = std::u16string(kUsage)};
    if (IsOption(word))
      return {.message = u"The option " + word + u" is not known.\n\n" + std::u16string(kUsage)};
    if (read.file.empty())
      read.file = word;
    else if (!word.empty())
      read.notice = u"Only the first of the named files was chosen; the others can be repaired after it.";
  }
  return read;
}

}  // namespace tolvane
