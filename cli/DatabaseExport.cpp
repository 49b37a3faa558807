// export --format sql and sqlite: all tables as one script or database.

#include "app/FileExport.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/ExportWatch.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "platform/Text.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

// Tells what the tables lack. False when one lacks something.
bool TellCounts(CSession& session, const SSqlSchema& schema, const std::vector<SSqlCount>& counts) {
  bool isWhole = true;
  for (size_t i = 0; i < counts.size(); ++i) {
    const auto tell = [&](uint64_t count, const std::string& noun, std::u16string_view what) {
      if (count == 0) return;
      isWhole = false;
      session.Say(u"Table " + Quoted(FromUtf8(schema.tables[i].name)) + u": " +
                  FromUtf8(Counted(count, noun)) + u" " + std::u16string(what));
    };
    tell(counts[i].lostRows, "row", u"could not be brought over.");
    tell(counts[i].lostValues, "value", u"that the database does not take: NULL stands there.");
    tell(counts[i].changedValues, "value",
         u"changed: digits or characters that the database does not hold, or bytes that are lost.");
  }
  return isWhole;
}

SCommandEnd PrintTables(CSession& session, const SSqlSchema& schema, const std::vector<SSqlCount>& counts,
                        EExitStatus status) {
  const SArguments& arguments = session.GetArguments();
  if (!arguments.isJson) {
    CTextTable drawn{{"Table"}, {"Rows", EAlign::Right}};
    for (size_t i = 0; i < counts.size(); ++i)
      drawn.AddRow({ToDisplay(FromUtf8(schema.tables[i].name)), std::to_string(counts[i].rows)});
    return EndRecovery(session, drawn.Draw(OutputStyle().width), status);
  }
  Json result = {{"path", ToUtf8(arguments.output)}, {"tables", Json::array()}};
  for (size_t i = 0; i < counts.size(); ++i)
    result["tables"].push_back({{"table", schema.tables[i].name},
                                {"rows", counts[i].rows},
                                {"rowsLost", counts[i].lostRows},
                                {"valuesLost", counts[i].lostValues},
                                {"valuesChanged", counts[i].changedValues}});
  result["remarks"] = Json::list(schema.remarks);
  MentionDamage(session);
  return EndRecovery(session, result, status);
}

}  // namespace

SCommandEnd ExportToDatabase(CSession& session, const SFileExportTask& task) {
  const bool isToFile = !task.file.empty();
  SDatabaseExport exported;
  const auto write = [&] {
    BeginExport(session, CountRows(ListExportedFiles(session.GetData(), task)));
    exported = WriteDatabaseFile(session.GetData(), task, WatchOf(session));
  };
  if (auto failure = WatchExport(session, isToFile, write)) return *failure;
  if (!exported.refusal.empty()) return SFailure{EExitStatus::Failed, exported.refusal};
  if (exported.verdict.state != EOutputState::Ok) return RefuseOutput(task.file, exported.verdict);
  switch (exported.end) {
    case EExportEnd::Stopped:
      return isToFile ? StoppedByUser()
                      : SFailure{EExitStatus::Stopped, u"Stopped. The output is not complete."};
    case EExportEnd::NotWritten:
      return SFailure{EExitStatus::Failed,
                      isToFile ? AboutFile(task.file, u"The file cannot be written: " + exported.problem)
                               : exported.problem + u" The output is not complete."};
    case EExportEnd::Done:
      break;
  }
  const bool isWhole = TellCounts(session, exported.schema, exported.counts) && exported.areKeysWhole;
  for (const std::u16string& remark : exported.schema.remarks) session.Mention(remark);
  const EExitStatus status = isWhole ? DecideStatus(session.GetData(), nullptr) : EExitStatus::Incomplete;
  if (isToFile) return PrintTables(session, exported.schema, exported.counts, status);
  MentionDamage(session);
  return status;
}

}  // namespace tolvane
