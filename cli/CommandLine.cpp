#include "cli/CommandLine.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "cli/CommandArguments.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/RepairBatch.h"
#include "cli/ReportJson.h"
#include "cli/Summary.h"
#include "platform/Terminal.h"

namespace tolvane {

namespace {

SCommandEnd RunChosen(CSession& session) {
  using Run = SCommandEnd (*)(CSession&);
  static constexpr std::pair<ECommand, Run> kRuns[] = {
      {ECommand::Repair, RunRepair},   {ECommand::Tables, RunTables},   {ECommand::Preview, RunPreview},
      {ECommand::Export, RunExport},   {ECommand::Queries, RunQueries}, {ECommand::Objects, RunObjects},
      {ECommand::Inspect, RunInspect}, {ECommand::Check, RunCheck}};
  const ECommand command = session.GetArguments().command;
  if (command == ECommand::Engines) return RunEngines(session.GetArguments());
  if (auto failure = session.CheckFiles()) return *failure;
  const auto* const run = std::ranges::find(kRuns, command, &std::pair<ECommand, Run>::first);
  return run != std::end(kRuns) ? run->second(session) : EExitStatus::WrongUsage;
}

// What failed is worth a report, too.
SCommandEnd RunCommand(CSession& session) {
  SCommandEnd end = RunChosen(session);
  if (end.failure) session.GetReport().Write(end.status, end.failure->message);
  return end;
}

// With the verdict, where the file itself is the reason.
Json DescribeFailure(CSession& session, const SFailure& failure) {
  Json result = MakeFailure(session.GetArguments(), failure);
  if (failure.status != EExitStatus::Stopped && session.GetReport().IsVerdictKnown())
    result["verdict"] = DescribeVerdict(session.GetReport().Collect());
  if (const COvFileSave& save = session.GetJob().GetSave(); save.HasRun())
    AddEngineErrors(save.GetSummary(), result);
  return result;
}

}  // namespace

int RunTolvane(const std::vector<std::u16string>& words) {
  PrepareTerminal();
  const SParsedArguments parsed = ParseArguments(words);
  if (parsed.isEnd) {
    if (parsed.status == EExitStatus::Done) {
      if (WriteStream(EStream::Output, parsed.text)) return static_cast<int>(parsed.status);
      if (!IsReaderGone()) WriteMessage(OutputLost().message, EMeaning::Bad);
      return static_cast<int>(EExitStatus::Failed);
    }
    const size_t width = IsTerminal(EStream::Error) ? GetTerminalWidth(EStream::Error) : 0;
    WriteStream(EStream::Error,
                words.empty() ? parsed.text : WrapWords("tolvane: " + parsed.text, 2, width) + "\n");
    return static_cast<int>(parsed.status);
  }
  ListenForInterrupt();
  ChooseColors(parsed.arguments.color);
  if (IsBatch(parsed.arguments)) return static_cast<int>(RunRepairBatch(parsed.arguments));
  CSession session(parsed.arguments);
  const SCommandEnd end = RunCommand(session);
  if (end.failure) {
    // Whoever reads has seen enough.
    if (IsReaderGone()) return static_cast<int>(end.status);
    session.Complain(end.failure->message);
    if (parsed.arguments.isJson) PrintJson(DescribeFailure(session, *end.failure));
  }
  return static_cast<int>(end.status);
}

std::u16string_view WhyNothing(CSession& session) {
  const CAccessData& data = session.GetData();
  if (data.GetLedger().GetCount(EDamage::LostTable) > 0)
    return u": the definitions of all tables are gone. If there is a healthy database of the same structure, "
           u"name it with --template.";
  if (!data.source.otherStarts.empty())
    return u": the file holds pages of several databases, and no table of the first one is among those that "
           u"could be told to be its own. Name the place of another one with --start.";
  if (session.GetSource().HasPages())
    return u": pages of an Access database are in the file, but no table of the user's is among them.";
  return u". It does not look like an Access database, or all of its pages are destroyed.";
}

std::optional<SFailure> RecoverSomething(CSession& session) {
  if (auto failure = session.Recover()) return failure;
  const CAccessData& data = session.GetData();
  if (!IsNothingRecovered(data)) return std::nullopt;
  const std::u16string& templatePath = session.GetArguments().templatePath;
  if (!templatePath.empty())
    return SFailure{EExitStatus::Nothing,
                    AboutFile(templatePath,
                              u"No row of the damaged file fits a table of this template, so nothing could "
                              u"be recovered. Name a healthy database of the same structure, such as a "
                              u"backup or an empty copy, or leave --template out.")};
  return SFailure{EExitStatus::Nothing,
                  AboutFile(session.GetArguments().source,
                            u"Nothing could be recovered" + std::u16string(WhyNothing(session)))};
}

void MentionDamage(CSession& session) {
  if (!IsRecoveryWhole(session.GetData()))
    session.Mention(u"Something was lost or is doubtful; tolvane repair --dry-run tells what.");
}

SFailure NoSuchTable(const SArguments& arguments) {
  return {EExitStatus::Nothing,
          AboutFile(arguments.source, u"No table \"" + arguments.table +
                                          u"\" was recovered. tolvane tables --all lists what there is.")};
}

SFailure OutputLost() {
  return {EExitStatus::Failed, u"Standard output is closed or full; the result is not complete."};
}

std::optional<SFailure> Print(std::string_view text) {
  if (WriteStream(EStream::Output, text)) return std::nullopt;
  return OutputLost();
}

SCommandEnd EndWith(const std::string& text, EExitStatus status) {
  if (auto failure = Print(text)) return *failure;
  return status;
}

SCommandEnd EndWith(const Json& result, EExitStatus status) {
  if (!PrintJson(result)) return OutputLost();
  return status;
}

SCommandEnd EndRecovery(CSession& session, const std::string& text, EExitStatus status) {
  SCommandEnd end = EndWith(text, status);
  if (!end.failure) MentionDamage(session);
  return end;
}

SCommandEnd EndRecovery(CSession& session, const Json& members, EExitStatus status) {
  Json result = MakeResult(session.GetArguments(), status);
  result["source"] = DescribeSource(session.GetData(), session.GetArguments());
  for (const auto& [name, value] : std::get<Json::CObject>(members.Get())) result[name] = value;
  result["damage"] = DescribeDamage(session.GetData());
  return EndWith(result, status);
}

}  // namespace tolvane
