// The choice of mode and files: the texts of the start dialog, when it is complete, and the file dialogs.
#pragma once

#include <optional>
#include <string>
#include <string_view>

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

// Where a file is asked for: the titles differ.
enum class EAskedFrom : uint8_t { MainView, StartDialog };
SFileQuestion AskForCorruptedFile(EAskedFrom from);
SFileQuestion AskForTemplateFile(EAskedFrom from);

}  // namespace tolvane
