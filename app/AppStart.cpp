#include "app/AppStart.h"

#include "app/RecentFiles.h"
#include "app/ViewTexts.h"

namespace tolvane {

bool InitInstance(CStartActions& actions, CDialogs& dialogs, std::u16string_view path) {
  if (!actions.InitialiseOle()) {
    dialogs.ShowMessage(kCloseQuestion, EMessageIcon::Information);
    return false;
  }
  actions.EnableControlContainer();
  actions.LoadProfile(kRegistryKey, CRecentFiles::kMaximum);
  actions.SetVisualStyle();
  actions.RegisterDocument();
  if (actions.IsAlreadyRunning(kInstanceName)) {
    dialogs.ShowMessage(u"Tolvane for Access is already running.", EMessageIcon::Information);
    return false;
  }
  std::u16string problem;
  if (!actions.MakeWorkFolder(problem)) {
    dialogs.ShowMessage(u"There is no folder for temporary files: " + problem, EMessageIcon::Warning);
    return false;
  }
  if (!actions.OpenMainWindow(path)) return false;
  actions.UpdateMainWindow();
  return true;
}

}  // namespace tolvane
