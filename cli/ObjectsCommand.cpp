// objects: everything that the file holds, with what became of it.
#include <algorithm>
#include <string>
#include <vector>

#include "app/ObjectList.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

Json DescribeObject(const SListedObject& object) {
  return {{"kind", object.kind},
          {"name", object.name.empty() ? Json() : Json(ToUtf8(object.name))},
          {"state", NameOf(object.state)},
          {"isSystem", object.isSystem},
          {"remark", object.reason.empty() ? Json() : Json(ToUtf8(object.reason))}};
}

std::string DrawObjects(const std::vector<SListedObject>& objects, size_t hidden, const SPageStyle& style) {
  CTextTable drawn{{"Kind"}, {"Name"}, {"State"}, {"Remark", EAlign::Wrapped}};
  for (const SListedObject& object : objects)
    drawn.AddRow({std::string(object.kind), object.name.empty() ? "(name lost)" : ToDisplay(object.name),
                  WordsOf(object.state), ToDisplay(object.reason)});
  std::string text = "\n";
  text += objects.empty() ? "No object was found.\n" : drawn.Draw(style.width);
  if (hidden > 0)
    text += "\n" + std::to_string(hidden) + " of the system's own are not shown; --all lists them, too.\n";
  return text;
}

}  // namespace

SCommandEnd RunObjects(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  const CAccessData& data = session.GetData();
  std::vector<SListedObject> objects;
  if (!ListObjects(data, objects))
    return SFailure{EExitStatus::Failed, u"The temporary files of the recovered rows cannot be read."};
  const size_t all = objects.size();
  if (!arguments.withSystemTables)
    std::erase_if(objects, [](const SListedObject& object) { return object.isSystem; });
  const bool isAnyLost = std::ranges::any_of(
      objects, [](const SListedObject& object) { return object.state != EObjectState::Recovered; });
  const EExitStatus status = isAnyLost ? EExitStatus::Incomplete : DecideRepairStatus(data, nullptr);
  if (arguments.isJson)
    return EndRecovery(session, Json{{"objects", Json::list(objects, DescribeObject)}}, status);
  const SPageStyle style = OutputStyle();
  return EndRecovery(session,
                     DrawSource(data, arguments, style) + DrawObjects(objects, all - objects.size(), style),
                     status);
}

}  // namespace tolvane
