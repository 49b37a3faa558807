#include "cli/ExportWatch.h"

#include "cli/Interrupt.h"
#include "platform/Terminal.h"

namespace tolvane {

SExportWatch WatchOf(CSession& session) {
  return {.isStopped = IsInterrupted, .rows = &session.GetJob().GetContext().progress};
}

uint64_t CountRows(const std::vector<SExportedFile>& files) {
  uint64_t rows = 0;
  for (const SExportedFile& file : files) rows += file.table->header.rowCount;
  return rows;
}

void BeginExport(CSession& session, uint64_t rows) {
  CJobContext& context = session.GetJob().GetContext();
  context.progress.Begin(rows);
  context.status.SetText(u"Exporting rows");
}

std::optional<SFailure> WatchExport(CSession& session, bool isToFile, const std::function<void()>& work) {
  if (!isToFile && IsTerminal(EStream::Output)) {
    work();
    return std::nullopt;
  }
  std::u16string problem;
  if (session.RunWatched(work, problem)) return std::nullopt;
  return FailedOn(session.GetArguments().source, problem);
}

}  // namespace tolvane
