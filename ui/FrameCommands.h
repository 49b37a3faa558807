// The commands of the main window that open a dialog or another program.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

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
  CFrameCommands(CProfile& profile, CWindowDialogs& dialogs, COrlinVexaFileScanView& view)
      : m_profile(profile), m_dialogs(dialogs), m_view(view) {}
  // Once, when the window is there.
  // `engine`: the program's own.
  void Start(HWND frame, CRepairWorkflow& workflow, CDaoEngine& engine,
             std::function<void(std::u16string_view)> notice);

  void AskForNewRepair();
  void AskForSettings();
  // How the user's region writes dates and numbers may have changed.
  void FollowRegion() const;
  void SaveLog();
  void Export();
  void OpenFolder() const;
  void ShowHelp() const;
  void ShowAbout() const;

 private:
  void TakeEngine();

  HWND m_frame = nullptr;
  CProfile& m_profile;
  CWindowDialogs& m_dialogs;
  COrlinVexaFileScanView& m_view;
  CRepairWorkflow* m_workflow = nullptr;
  std::function<void(std::u16string_view)> m_notice;
  CDaoEngine* m_ownEngine = nullptr;
  // By rules; a save may be at work with one while the other is chosen.
  std::map<ERules, std::unique_ptr<CDaoEngine>> m_installed;
  SSettings m_settings;
};

}  // namespace tolvane
