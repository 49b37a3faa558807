#include "automation/EngineProbe.h"

#include <algorithm>
#include <iterator>

#include "automation/EngineCalls.h"
#include "dao/dao.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

std::u16string OwnBitness() {
  return sizeof(void*) == 8 ? u"64" : u"32";
}
std::u16string OtherBitness() {
  return sizeof(void*) == 8 ? u"32" : u"64";
}

constexpr int32_t kVersions[] = {kDaoVersionJet3, kDaoVersionJet4, kDaoVersionAce};

// On trial: what an engine can make only it knows.
void TryFormats(const AutomationObject& object, std::u16string_view folder, SInstalledEngine& engine) {
  for (const int32_t version : kVersions) {
    const std::u16string path = std::u16string(folder) + u"trial-" + ToDecimal(version) +
                                (version == kDaoVersionAce ? u".accdb" : u".mdb");
    CEngineCalls calls(EOperation::Database);
    const AutomationObject database =
        calls.Make(object, u"CreateDatabase", {path, Text(kDaoGeneralLocale), version});
    calls.Do(database, u"Close");
    if (!calls.IsOk()) engine.refused.push_back({version, calls.GetEnd().number, calls.GetResult().text});
    RemoveFile(path);
    if (calls.GetEnd().isGone || engine.refused.size() == std::size(kVersions))
      engine.problem = u"It makes no database: " + engine.refused.back().reason;
    if (calls.GetEnd().isGone) break;
  }
}

SInstalledEngine Probe(CEngineThread& thread, std::u16string_view className, std::u16string_view folder) {
  SInstalledEngine engine{std::u16string(className), {}, {}, {}};
  if (thread.GetServers().FindRegistration(className) == ERegistration::OtherBitness) {
    engine.problem = u"It is installed for " + OtherBitness() + u"-bit programs only, and this one is a " +
                     OwnBitness() + u"-bit program: take the program for " + OtherBitness() + u" bits.";
    return engine;
  }
  AutomationObject object;
  CEngineCalls calls(EOperation::Database);
  if (const SCallEnd made = thread.Create(className, object); !made.IsOk()) {
    engine.problem = u"It cannot be started: " + MakeResult(EOperation::Database, made).text;
    return engine;
  }
  const AutomationValue version = calls.Get(object, u"Version");
  if (const auto* const text = std::get_if<std::u16string>(&version); text != nullptr && !text->empty())
    engine.version = *text;
  else
    engine.problem = u"It does not tell its version. " + calls.GetResult().text;
  if (engine.problem.empty() && !folder.empty()) TryFormats(object, folder, engine);
  return engine;
}

}  // namespace

std::vector<SInstalledEngine> ListInstalledEngines(CEngineThread& thread, std::u16string_view folder) {
  std::vector<SInstalledEngine> engines;
  if (!thread.GetServers().IsThere()) return engines;
  // Each on a thread of its own: one that hangs says nothing of the others.
  for (const std::u16string_view className : kEngineClasses) {
    if (thread.GetServers().FindRegistration(className) == ERegistration::None) continue;
    engines.push_back(Probe(thread, className, folder));
    thread.End();
  }
  return engines;
}

std::u16string DescribeMissingEngine(const CAutomationServers& servers,
                                     const std::vector<SInstalledEngine>& engines) {
  if (!servers.IsThere()) return u"There are no installed DAO engines on this system.";
  if (engines.empty()) return u"No DAO engine is installed.";
  if (std::ranges::any_of(engines, [](const SInstalledEngine& engine) { return engine.problem.empty(); }))
    return {};
  std::u16string text;
  for (const SInstalledEngine& engine : engines)
    text += (text.empty() ? u"" : u" ") + engine.className + u": " + engine.problem;
  return text;
}

}  // namespace tolvane
