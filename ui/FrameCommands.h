// The commands of the main window: which of them the page allows, and what each does.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "app/FrontEnd.h"
#include "app/RecentFiles.h"
#include "app/RepairWorkflow.h"
#include "app/Settings.h"
#include "dao/dao.h"
#include "ui/OrlinVexaFileScanView.h"
#include "ui/Profile.h"
#include "ui/WindowDialogs.h"

namespace tolvane {

class CFrameCommands {
 public:
  // All must outlive this object.
  CFrameCommands(CProfile& profile, CRecentFiles& recentFiles, CWindowDialogs& dialogs,
                 COrlinVexaFileScanView& view)
      : m_profile(profile), m_recentFiles(recentFiles), m_dialogs(dialogs), m_view(view) {}
  // Once, when the window is there.
  // `engine`: the program's own.
  void Start(HWND frame, CRepairWorkflow& workflow, CDaoEngine& engine,
             std::function<void(std::u16string_view)> notice);

  // What buttons and menus offer from now on.
  void SetSwitches(const SCommandSwitches& switches) { m_switches = switches; }
  [[nodiscard]] const SCommandSwitches& GetSwitches() const { return m_switches; }
  // From a button, a menu or a key; nothing happens where the page does not offer it.
  void Run(UINT identifier);
  // A file that was dropped or named when the program was started.
  void SelectFile(std::u16string_view path);
  // How the user's region writes dates and numbers may have changed.
  void FollowRegion() const;

 private:
  [[nodiscard]] bool IsChoosing() const;
  [[nodiscard]] bool CanSave() const;
  void RunInView(UINT identifier);
  void RunOnRecords(UINT identifier);
  void GoOn();
  void GoBack();
  void Stop();
  void SelectRecentFile(const std::u16string& path);
  void AskForNewRepair();
  void AskForSettings();
  void SaveLog();
  void Export();
  void OpenFolder() const;
  void ShowHelp() const;
  void ShowAbout() const;
  void TakeEngine();

  HWND m_frame = nullptr;
  CProfile& m_profile;
  CRecentFiles& m_recentFiles;
  CWindowDialogs& m_dialogs;
  COrlinVexaFileScanView& m_view;
  CRepairWorkflow* m_workflow = nullptr;
  std::function<void(std::u16string_view)> m_notice;
  CDaoEngine* m_ownEngine = nullptr;
  // By rules; a save may be at work with one while the other is chosen.
  std::map<ERules, std::unique_ptr<CDaoEngine>> m_installed;
  SCommandSwitches m_switches;
  SSettings m_settings;
};

}  // namespace tolvane
