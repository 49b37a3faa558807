#include "app/StartChoice.h"

namespace tolvane {

namespace {

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
          .defaultExtension = u"accdb",
          .defaultName = {}};
}

SFileQuestion AskForTemplateFile(EAskedFrom from) {
  return {.title = from == EAskedFrom::MainView ? u"Select file having same structure as corrupted file..."
                                                : u"Select template file...",
          .filter = std::u16string(kFilter),
          .defaultExtension = u"ACCDB",
          .defaultName = {}};
}

}  // namespace tolvane
