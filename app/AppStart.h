// The start of the window program: what is done in which order, and what ends it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "app/FrontEnd.h"

namespace tolvane {

inline constexpr std::u16string_view kInstanceName = u"46985B92-200C-47a3-81FA-D116CE9E74CF_TolvaneForAccess";
inline constexpr std::u16string_view kRegistryKey = u"Local AppWizard-Generated Applications";

// The steps that need the system.
class CStartActions {
 public:
  virtual ~CStartActions() = default;
  virtual bool InitialiseOle() = 0;
  virtual void EnableControlContainer() = 0;
  // The key of the program's own settings, and the recent files in it.
  virtual void LoadProfile(std::u16string_view registryKey, size_t recentFiles) = 0;
  virtual void SetVisualStyle() = 0;
  virtual void RegisterDocument() = 0;
  virtual bool IsAlreadyRunning(std::u16string_view name) = 0;
  // Removes the folders of runs that have ended and creates this run's own (see CRunFolder). False with the
  // reason in `problem`.
  virtual bool MakeWorkFolder(std::u16string& problem) = 0;
  // The main window, with the first page shown. An empty path selects nothing. False when there is no window.
  virtual bool OpenMainWindow(std::u16string_view path) = 0;
  virtual void UpdateMainWindow() = 0;
};

// `path` is the file named on the command line, or empty. False: the program ends.
bool InitInstance(CStartActions& actions, CDialogs& dialogs, std::u16string_view path);

}  // namespace tolvane
