// The commands. Each gets a session whose files have been checked, prints its result and answers how it
// ended; a failure is told by the caller.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/FileExport.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "cli/Session.h"

namespace tolvane {

struct SCommandEnd {
  EExitStatus status = EExitStatus::Done;
  std::optional<SFailure> failure;

  SCommandEnd(EExitStatus ended) : status(ended) {}
  SCommandEnd(SFailure failed) : status(failed.status), failure(std::move(failed)) {}
};

SCommandEnd RunRepair(CSession& session);
SCommandEnd RunTables(CSession& session);
SCommandEnd RunPreview(CSession& session);
SCommandEnd RunExport(CSession& session);
// Of the formats that are one file with all tables.
SCommandEnd ExportToDatabase(CSession& session, const SFileExportTask& task);
SCommandEnd RunQueries(CSession& session);
SCommandEnd RunObjects(CSession& session);
SCommandEnd RunInspect(CSession& session);
SCommandEnd RunCheck(CSession& session);
// Without a file.
SCommandEnd RunEngines(const SArguments& arguments);

// What several commands do.

// Recovers the tables; a failure also when nothing was recovered.
std::optional<SFailure> RecoverSomething(CSession& session);
// One line about what `repair` would tell in detail.
void MentionDamage(CSession& session);
// "There is no table ..."
SFailure NoSuchTable(const SArguments& arguments);
// A text on standard output; a failure when it cannot be written.
std::optional<SFailure> Print(std::string_view text);
SFailure OutputLost();
// The end of a command that prints its result.
SCommandEnd EndWith(const std::string& text, EExitStatus status);
SCommandEnd EndWith(const Json& result, EExitStatus status);
// The same of what was recovered: damage is mentioned, and for programs the source stands in front of the
// command's own members and the damage behind them.
SCommandEnd EndRecovery(CSession& session, const std::string& text, EExitStatus status);
SCommandEnd EndRecovery(CSession& session, const Json& members, EExitStatus status);

}  // namespace tolvane
