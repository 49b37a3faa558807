// An export while it runs: its rows are counted and drawn as those of a repair are.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "app/FileExport.h"
#include "cli/Session.h"

namespace tolvane {

// What the export asks and tells.
SExportWatch WatchOf(CSession& session);
uint64_t CountRows(const std::vector<SExportedFile>& files);
// Before the first row: how many there will be.
void BeginExport(CSession& session, uint64_t rows);
// Does the work and draws its progress, unless it would mix with rows on the terminal. A failure is one of
// the work as a whole, such as a lack of memory.
std::optional<SFailure> WatchExport(CSession& session, bool isToFile, const std::function<void()>& work);

}  // namespace tolvane
