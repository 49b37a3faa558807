// Why a command ends early: the sentence that names the file and says what to do, and the exit status.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/OutputFile.h"
#include "cli/ExitStatus.h"
#include "engine/SourceCheck.h"
#include "store/WorkFolder.h"

namespace tolvane {

// "PATH: message", as all messages about a file are.
std::u16string AboutFile(std::u16string_view path, std::u16string_view message);
// A file with which it cannot be done, and one with which it must not be asked for.
SFailure FailedOn(std::u16string_view path, std::u16string_view message);
SFailure WrongUsageOf(std::u16string_view path, std::u16string_view message);
SFailure StoppedByUser();
// Of the source, where no place of damage says so.
inline constexpr std::u16string_view kSourceChanged =
    u"The file was changed while it was read; what was found may be of two states. Work on a copy.";
SFailure NoWorkFolder(const CRunFolder& folder);
// A folder that was named with an option; made where it is missing. Nothing to do for an empty path.
std::optional<SFailure> MakeFolder(const std::u16string& path, std::u16string_view option);
SFailure NoThread();
// What is the matter with a source that cannot be repaired, and what to do about it.
SFailure RefuseSource(const std::u16string& path, const SSourceVerdict& verdict);
// What is the matter with an output, and what to do about it.
// `option` names another one.
SFailure RefuseOutput(const std::u16string& path, const SOutputVerdict& verdict,
                      std::u16string_view option = u"-o");

}  // namespace tolvane
