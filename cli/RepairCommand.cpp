// repair: recovers the tables and writes them into a new database.

#include "app/TextSearch.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/EngineChoice.h"
#include "cli/FixedDate.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/RepairBatch.h"
#include "cli/ReportJson.h"
#include "cli/Summary.h"
#include "platform/Identity.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

EOutputFormat ChooseFormat(const CAccessData& data, const SArguments& arguments) {
  EOutputFormat format = arguments.outputFormat;
  if (format == EOutputFormat::ByRules && arguments.isAccess2000 && data.source.isJet3)
    format = EOutputFormat::Jet4;
  return CAccessSaveRepairedFile::DecideFormat(data, format);
}

// Different files get different identifiers: the seed comes from their first bytes.
uint64_t SeedOf(CSource& source) {
  constexpr uint64_t kFnvStart = 0xCBF29CE484222325, kFnvPrime = 0x100000001B3;
  std::vector<uint8_t> bytes(size_t{1} << 16);
  bytes.resize(source.GetPages().ReadFile(0, bytes));
  uint64_t seed = kFnvStart ^ source.GetPages().GetFileLength();
  for (const uint8_t byte : bytes) seed = (seed ^ byte) * kFnvPrime;
  return seed;
}

// The clock and chance, unless the result is to be the same each time.
std::shared_ptr<CIdentity> MakeIdentity(CSession& session, const SFixedDate& fixed) {
  return fixed.date ? std::make_shared<CIdentity>(*fixed.date, SeedOf(session.GetSource()))
                    : std::make_shared<CIdentity>();
}

// Programs choose their way of opening a database by its ending.
void MentionEnding(CSession& session, const std::u16string& path, EOutputFormat format) {
  const bool isAce = format == EOutputFormat::Ace;
  const std::u16string folded = FoldCase(path);
  if (!folded.ends_with(FoldCase(isAce ? u".mdb" : u".accdb"))) return;
  session.Mention(
      AboutFile(path, isAce ? u"The new database is one of Access 2007 and later, whose files end in .accdb."
                            : u"The new database is one of Access 97 to 2003, whose files end in .mdb; "
                              u"Access opens it under either name."));
}

EExitStatus PrintReport(CSession& session, const SSaveSummary* saved, const std::u16string& outputPath) {
  const SArguments& arguments = session.GetArguments();
  const CAccessData& data = session.GetData();
  const EExitStatus status = session.GetReport().Write(DecideRepairStatus(data, saved));
  const SPageStyle style = OutputStyle();
  std::string text = DrawSource(data, arguments, style) + "\n" + DrawTables(data, arguments, style);
  const auto addPart = [&text](const std::string& part) {
    if (!part.empty()) text += "\n" + part;
  };
  addPart(DrawDamage(data, style));
  addPart(DrawOmitted(data, style));
  if (saved) addPart(DrawSaving(*saved, style));
  text += "\n" + Heading("Output", style);
  if (saved) {
    text += "  " + ToDisplay(outputPath) + "\n  " + Counted(saved->tablesSaved, "table") + ", " +
            Counted(saved->recordsSaved, "record");
    if (saved->valuesSaved > 0)
      text += ", " + Counted(saved->valuesSaved, "value") + " of multi-value and attachment columns";
    if (saved->queriesSaved > 0)
      text += ", " + std::to_string(saved->queriesSaved) + (saved->queriesSaved == 1 ? " query" : " queries");
    if (saved->relationsSaved > 0) text += ", " + Counted(saved->relationsSaved, "relationship");
    if (saved->linksSaved > 0) text += ", " + Counted(saved->linksSaved, "link");
    if (saved->emptyRowsDropped > 0)
      text += "; " + Counted(saved->emptyRowsDropped, "empty row") + " left out";
    text += "\n";
  } else {
    text += "  none (--dry-run)\n";
  }
  // The database is there all the same.
  if (const auto lost = Print(text); lost && !IsReaderGone()) session.Say(lost->message);
  return status;
}

EExitStatus PrintResult(CSession& session, const SSaveSummary* saved, const std::u16string& outputPath) {
  const SArguments& arguments = session.GetArguments();
  if (!arguments.isJson) return PrintReport(session, saved, outputPath);
  const CAccessData& data = session.GetData();
  const SReport report = session.GetReport().Collect();
  const EExitStatus status = session.GetReport().Write(DecideRepairStatus(data, saved));
  Json result = MakeResult(arguments, status);
  result["source"] = DescribeSource(data, arguments);
  result["output"] = saved ? Json(ToUtf8(outputPath)) : Json();
  result["engine"] = NameOf(arguments.engine);
  if (!arguments.isBrief) result["verdict"] = DescribeVerdict(report);
  result["tables"] = Json::array();
  for (const SReportTable& table : report.tables)
    result["tables"].push_back(DescribeTable(*table.table, data, arguments, table.rows));
  result["queries"] = Json::list(report.queries, DescribeQuery);
  result["relationships"] = Json::list(report.relations, DescribeRelation);
  result["damage"] = DescribeDamage(data);
  result["links"] = DescribeLinks(data);
  result["notBroughtBack"] = DescribeOmitted(data);
  if (saved) result["saving"] = DescribeSaving(*saved);
  if (!arguments.isBrief && report.examination && report.examination->isDone)
    DescribePages(*report.examination, result["pages"]);
  PrintJson(result);
  return status;
}

}  // namespace

SCommandEnd RunRepair(CSession& session) {
  const SArguments& arguments = session.GetArguments();
  COvFileSave& save = session.GetJob().GetSave();
  std::unique_ptr<CDaoEngine> engine;
  std::shared_ptr<CIdentity> identity;
  if (!arguments.isDryRun) {
    if (auto failure = MakeFolder(arguments.outputFolder, u"--to-dir")) return *failure;
    const SOutputRequest request{.path = OutputPathFor(arguments.source, arguments),
                                 .source = session.GetSourcePath(),
                                 .templatePath = arguments.templatePath,
                                 .mayReplace = arguments.mayOverwrite};
    const SOutputVerdict verdict = save.ReserveOutput(request);
    if (verdict.state != EOutputState::Ok) return RefuseOutput(request.path, verdict);
    for (const std::u16string& path : save.GetRemoved())
      session.Mention(AboutFile(path, u"Removed; a repair that was killed had left it."));
    // The engine keeps temporary files, too.
    if (auto failure = session.MakeWorkFolder()) return *failure;
    std::u16string problem;
    const SFixedDate fixed = FindFixedDate(arguments);
    if (fixed.isRefused)
      return SFailure{EExitStatus::WrongUsage, u"SOURCE_DATE_EPOCH is no number of seconds since 1970."};
    identity = MakeIdentity(session, fixed);
    engine = MakeEngine(session, identity, problem);
    if (!engine) return SFailure{EExitStatus::Failed, problem};
  }
  if (auto failure = RecoverSomething(session)) return *failure;
  if (arguments.isDryRun) return PrintResult(session, nullptr, {});
  const EOutputFormat format = ChooseFormat(session.GetData(), arguments);
  MentionEnding(session, save.GetOutputPath(), format);
  if (auto failure = session.Save(*engine, {.format = format, .identity = identity})) return *failure;
  return PrintResult(session, &save.GetSummary(), save.GetOutputPath());
}

}  // namespace tolvane
