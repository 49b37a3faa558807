// engines: the database engines that can write a new database, and why one cannot.
#include <string>

#include "app/InstalledEngines.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/EngineChoice.h"
#include "cli/JsonOutput.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "platform/Text.h"
#include "store/WorkFolder.h"

namespace tolvane {

namespace {

std::string_view NameOfVersion(int32_t version) {
  return version == kDaoVersionJet3   ? "Access 97"
         : version == kDaoVersionJet4 ? "Access 2000"
                                      : "Access 2007";
}

// What is said of an engine that can be used.
std::string Remark(const SInstalledEngine& engine) {
  if (!engine.problem.empty()) return ToDisplay(engine.problem);
  std::string text = "can be used";
  for (const SRefusedFormat& refused : engine.refused)
    text += "; makes no " + std::string(NameOfVersion(refused.version)) +
            " databases: " + ToDisplay(refused.reason);
  if (!engine.refused.empty()) text += ". The program's own engine makes these: leave --engine dao out";
  return text;
}

Json DescribeEngine(const char* choice, const SInstalledEngine& engine) {
  Json refused = Json::list(engine.refused, [](const SRefusedFormat& format) {
    return Json{{"format", NameOfVersion(format.version)},
                {"errorNumber", format.number},
                {"reason", ToUtf8(format.reason)}};
  });
  return {{"engine", choice},
          {"class", engine.className.empty() ? Json() : Json(ToUtf8(engine.className))},
          {"version", engine.version.empty() ? Json() : Json(ToUtf8(engine.version))},
          {"usable", engine.problem.empty()},
          {"reason", engine.problem.empty() ? Json() : Json(ToUtf8(engine.problem))},
          {"refusedFormats", std::move(refused)}};
}

}  // namespace

SCommandEnd RunEngines(const SArguments& arguments) {
  CRunFolder folder;  // without one no format is tried
  folder.Create({});
  const SInstalledEngines found = FindInstalledEngines(folder.GetPath());
  const char* const own = NameOf(EEngineChoice::Embedded);
  const char* const installed = NameOf(EEngineChoice::Dao);
  if (arguments.isJson) {
    Json result = MakeResult(arguments, EExitStatus::Done);
    result["engines"].push_back(DescribeEngine(own, {}));
    for (const SInstalledEngine& engine : found.engines)
      result["engines"].push_back(DescribeEngine(installed, engine));
    result["installedUsable"] = found.IsUsable();
    result["reason"] = found.IsUsable() ? Json() : Json(ToUtf8(found.problem));
    return EndWith(result, EExitStatus::Done);
  }
  CTextTable drawn{{"Engine"}, {"Class"}, {"Version"}, {"Remark"}};
  drawn.AddRow({own, "", "", "the program's own; the default"});
  for (const SInstalledEngine& engine : found.engines)
    drawn.AddRow({installed, ToDisplay(engine.className), ToDisplay(engine.version), Remark(engine)});
  std::string text = drawn.Draw(OutputStyle().width);
  if (!found.IsUsable()) text += "\n" + ToDisplay(found.problem) + "\n";
  return EndWith(text, EExitStatus::Done);
}

}  // namespace tolvane
