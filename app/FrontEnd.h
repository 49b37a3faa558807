// What a front end draws and asks on behalf of the workflow. It holds no decision: every text, order and
// condition is the workflow's. All calls come on the main thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/ShowPageState.h"

namespace tolvane {

enum class EMessageIcon : uint8_t { None, Information, Warning };

// A file dialog. The filter is in pairs of caption and patterns, each ended by '|', the last by "||".
struct SFileQuestion {
  std::u16string title;  // empty: the system's own
  std::u16string filter = {};
  std::u16string defaultExtension = {};
  std::u16string defaultName = {};
  std::u16string folder = {};  // where the dialog starts; empty: where the system thinks best
};

// Modal questions and messages.
class CDialogs {
 public:
  virtual ~CDialogs() = default;
  virtual void ShowMessage(std::u16string_view text, EMessageIcon icon) = 0;
  // With the question icon; true for Yes.
  virtual bool AskYesNo(std::u16string_view text) = 0;
  // The full path; empty when cancelled.
  virtual std::u16string ChooseOpenFile(const SFileQuestion& question) = 0;
  // Asks before it answers with an existing file; a name without an extension gets the default one.
  virtual std::u16string ChooseSaveFile(const SFileQuestion& question) = 0;
  // Of what the question asks, only title and folder count.
  virtual std::u16string ChooseFolder(const SFileQuestion& question) = 0;
};

// Time, for the waits of the main thread; tests have one of their own.
class CWaitClock {
 public:
  virtual ~CWaitClock() = default;
  virtual double GetSeconds();  // since some fixed moment; never goes back
  virtual void Sleep(uint32_t milliseconds);
};

// The root of the tree of recovered tables.
inline constexpr std::u16string_view kTreeRoot = u"Recovered Tables";

// One line of that tree.
struct STableItem {
  std::u16string name;
  uint64_t rows = 0;
  bool isCutShort = false;  // further rows had no room in the work folder
};

// What stands in the tree below the tables.
enum class EObjectGroup : uint8_t { Query, Relationship };
struct SObjectItem {
  EObjectGroup group;
  std::u16string label;
};

// The pages and their controls.
class CMainViewWindow {
 public:
  virtual ~CMainViewWindow() = default;
  // Shows the controls of the page and hides all others; the controls of template mode only when asked for.
  virtual void ShowPage(EPageState page, bool isTemplateMode) = 0;
  virtual void SetSelectedFile(std::u16string_view path) = 0;  // empty clears the line
  virtual void SetTemplateFile(std::u16string_view path) = 0;
  virtual void SetHint(std::u16string_view text) = 0;
  virtual void SetStatusLine(std::u16string_view text) = 0;
  virtual void SetSummary(std::u16string_view text) = 0;  // lines joined with "\r\n"
  virtual void SetLogText(std::u16string_view text) = 0;  // the same text twice is no change
  virtual void ClearLog() = 0;
  // Fills the tree below its root; an empty list clears it. Selects nothing.
  virtual void SetTables(const std::vector<STableItem>& tables) = 0;
  // Adds these behind the tables, each group under a heading of its own; SetTables removes them.
  virtual void SetObjects(const std::vector<SObjectItem>& items) = 0;
  // The rows of the list come from the workflow's record store, which has just been emptied or begun anew.
  virtual void RefreshRecords() = 0;
  // Where the repaired database is to lie, for the pages of the save; empty clears it.
  virtual void SetOutputPath(std::u16string_view path) = 0;
};

// The switches of the commands.
struct SCommandSwitches {
  bool canRepair = true;
  bool canStop = false;
  bool canSave = false;
  bool operator==(const SCommandSwitches&) const = default;
};

// The frame around the pages: timers, progress bar, commands, the way out.
class CMainFrameWindow {
 public:
  virtual ~CMainFrameWindow() = default;
  virtual void SetTimer(uint32_t identifier, uint32_t milliseconds) = 0;
  virtual void KillTimer(uint32_t identifier) = 0;
  virtual void ShowProgressBar(bool isShown) = 0;
  virtual void StepProgressBar() = 0;  // the bar that shows only that something goes on
  virtual void ResetProgressBar() = 0;
  // Reads CProgressStatus and CStatusProgress anew.
  virtual void RefreshProgress() = 0;
  virtual void EnableCommands(const SCommandSwitches& switches) = 0;
  // Drains the message queue, dispatching paint messages only. Called in every loop that waits.
  virtual void KeepPainting() = 0;
  virtual void RestoreIfMinimised() = 0;
  // A short message that asks for nothing; the empty one ends the one before.
  virtual void ShowNotice(std::u16string_view text) = 0;
  // Ends the own process at once with exit code 0. Returns only in tests.
  virtual void EndProcess() = 0;
};

}  // namespace tolvane
