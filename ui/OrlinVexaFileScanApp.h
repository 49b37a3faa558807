// The program: its start, its message loop and what lives as long as it.
#pragma once

#include <memory>
#include <string>

#include "app/AppStart.h"
#include "app/RecentFiles.h"
#include "app/StartChoice.h"
#include "platform/InstanceChecker.h"
#include "store/WorkFolder.h"
#include "ui/MainFrame.h"
#include "ui/Profile.h"
#include "ui/WindowDialogs.h"

namespace tolvane {

// What a program of a window system begins with and runs.
class CWinApp {
 public:
  virtual ~CWinApp() = default;
  virtual bool InitInstance() = 0;
  // Until the last window is gone; the exit status.
  virtual int Run() = 0;
};

class COrlinVexaFileScanApp : public CWinApp, private CStartActions {
 public:
  explicit COrlinVexaFileScanApp(SStartWords words);
  ~COrlinVexaFileScanApp() override;

  bool InitInstance() override;
  int Run() override;

 private:
  bool InitialiseOle() override;
  void EnableControlContainer() override {}  // no control of others is used
  void LoadProfile(std::u16string_view registryKey, size_t recentFiles) override;
  void SetVisualStyle() override;
  void RegisterDocument() override;
  bool IsAlreadyRunning(std::u16string_view name) override;
  bool MakeWorkFolder(std::u16string& problem) override;
  bool OpenMainWindow(std::u16string_view path) override;
  void UpdateMainWindow() override;

  SStartWords m_words;
  bool m_hasOle = false;
  CInstanceChecker m_instanceChecker;
  CProfile m_profile;
  CRecentFiles m_recentFiles{m_profile};
  CWindowDialogs m_dialogs;
  CRunFolder m_runFolder;
  std::unique_ptr<CMainFrame> m_frame;
};

}  // namespace tolvane
