#include "ui/FrameMenu.h"

#include <string>

#include "ui/OrlinVexaFileScanView.h"
#include "ui/Resource.h"

namespace tolvane {

namespace {

// Of a path in a menu.
constexpr size_t kMenuUnits = 60;

void Enable(HMENU menu, UINT identifier, bool isEnabled) {
  EnableMenuItem(menu, identifier, MF_BYCOMMAND | static_cast<UINT>(isEnabled ? MF_ENABLED : MF_GRAYED));
}

void PrepareWork(HMENU menu, const SMenuState& state) {
  const EPageState page = state.workflow.GetPage();
  const bool canRepair = state.switches.canRepair;
  const bool isChoosing = page <= EPageState::FileSelected;
  Enable(menu, ID_NEW_REPAIR, canRepair);
  Enable(menu, ID_CHOOSE_FILE, canRepair);
  Enable(menu, ID_CHOOSE_TEMPLATE, canRepair && isChoosing && state.workflow.IsTemplateMode());
  Enable(menu, ID_MODE_STANDARD, isChoosing);
  Enable(menu, ID_MODE_TEMPLATE, isChoosing);
  Enable(menu, ID_REPAIR, canRepair && isChoosing);
  Enable(menu, ID_SAVE_RESULT, state.workflow.CanSave() && state.switches.canSave);
  Enable(menu, ID_FORWARD, state.workflow.IsResultHeld());
  Enable(menu, ID_BACK, canRepair && page >= EPageState::Repaired);
  Enable(menu, ID_STOP, state.switches.canStop);
  Enable(menu, ID_OPEN_FOLDER, page == EPageState::Saved && !state.workflow.HasSaveFailed());
  CheckMenuRadioItem(menu, ID_MODE_STANDARD, ID_MODE_TEMPLATE,
                     state.workflow.IsTemplateMode() ? ID_MODE_TEMPLATE : ID_MODE_STANDARD, MF_BYCOMMAND);
}

void PrepareResult(HMENU menu, const SMenuState& state) {
  const bool hasLog = !state.view.GetLog().GetLogText().empty();
  Enable(menu, ID_SAVE_LOG, hasLog);
  Enable(menu, ID_COPY_LOG, hasLog);
  const bool isResult = state.switches.canSave && state.workflow.HasResult();
  Enable(menu, ID_SAVE_REPORT, isResult);
  Enable(menu, ID_EXPORT, isResult && state.workflow.HasFindings());
  for (const UINT command : {ID_COPY_ROWS, ID_FIND, ID_FIND_NEXT, ID_SHOW_CELL})
    Enable(menu, command, state.view.HasRecords());
}

// Above the way out.
void ListRecentFiles(HMENU menu, const SMenuState& state) {
  for (UINT command = ID_RECENT_FIRST; command <= ID_RECENT_LAST + 1; ++command)
    DeleteMenu(menu, command, MF_BYCOMMAND);
  const auto& paths = state.recentFiles.Get();
  for (size_t i = 0; i < paths.size(); ++i) {
    std::wstring text = L"&" + std::to_wstring(i + 1) + L" ";
    const auto fits = [](std::u16string_view shown) { return shown.size() <= kMenuUnits; };
    for (const char16_t unit : ShortenPath(paths[i], fits))
      text.append(unit == u'&' ? 2 : 1, static_cast<wchar_t>(unit));
    InsertMenuW(menu, ID_EXIT, MF_BYCOMMAND | (state.switches.canRepair ? 0u : MF_GRAYED),
                ID_RECENT_FIRST + i, text.c_str());
  }
  if (!paths.empty()) InsertMenuW(menu, ID_EXIT, MF_BYCOMMAND | MF_SEPARATOR, ID_RECENT_LAST + 1, nullptr);
}

}  // namespace

void PrepareMenu(HMENU menu, const SMenuState& state) {
  PrepareWork(menu, state);
  PrepareResult(menu, state);
  if (GetMenuItemID(menu, 0) == ID_NEW_REPAIR) ListRecentFiles(menu, state);
}

}  // namespace tolvane
