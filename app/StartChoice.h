// The choice of mode and files: the texts of the start dialog, when it is complete, and the file dialogs.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/FrontEnd.h"

namespace tolvane {

inline constexpr std::u16string_view kStandardModeText =
    u"This is default mode to repair corrupted MS Access file";
inline constexpr std::u16string_view kTemplateModeText =
    u"Select this mode if you have template file having same structure";

struct SStartChoice {
  bool isTemplateMode = false;
  std::u16string corruptedFile;
  std::u16string templateFile;
};

// The message, shown with the information icon, that keeps the dialog open; none when the choice is complete.
std::optional<std::u16string> CheckStartChoice(const SStartChoice& choice);

// What a user typed or pasted as a path: without blanks around it, and without the quotation marks that other
// programs copy with it.
std::u16string ReadTypedPath(std::u16string_view text);

// Where a file is asked for: the titles differ.
enum class EAskedFrom : uint8_t { MainView, StartDialog };
SFileQuestion AskForCorruptedFile(EAskedFrom from);
SFileQuestion AskForTemplateFile(EAskedFrom from);

// The words of the program's command line.
struct SStartWords {
  std::u16string file = {};  // to select, or empty
  std::u16string message =
      {};  // to show instead of the window: what the program takes, or what it does not know
  std::u16string notice = {};  // to show in the window, or empty
};
SStartWords ReadStartWords(const std::vector<std::u16string>& words);

}  // namespace tolvane
