// The hand-off of a save to the external save engine: it is told of the recovered tables through the
// parsed-information file, reads their data files itself and writes the database. No command does this; the
// program saves with its own writer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "model/AccessData.h"
#include "platform/ExternalEngineLauncher.h"
#include "platform/Files.h"
#include "platform/ProcessManager.h"

namespace tolvane {

// A running engine's window, and the message that follows the text it is sent.
inline constexpr std::u16string_view kServerWindowTitle =
    u"W_7F105639-5C10-4a5b-8C7E-BDA4CED80280_ServerWindow";
inline constexpr uint32_t kServerMessage = 32770;

struct SHandOff {
  const CAccessData& data;
  std::u16string outputPath;
  std::u16string engineFolder = GetExecutableFolder();  // with its separator
  WindowHandle mainWindow = 0;
};

struct SHandOffResult {
  bool isStarted = false;
  uint32_t exitCode = 0;  // of an engine that was started
  std::u16string
      problem;  // one sentence, also in the log; empty when the engine wrote the file and ended well
};

// Blocks until the engine has ended; for a worker thread. Reports through the status objects like any save,
// CSavingStatus last: its launch-failed flag, then the end of saving.
SHandOffResult SaveThroughExternalEngine(const SHandOff& handOff, CProcessManager& processes,
                                         CExternalEngineLauncher& launcher);

}  // namespace tolvane
