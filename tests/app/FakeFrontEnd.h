// A front end without a window: records what it is told as lines and answers what a test has prepared.
#pragma once

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "app/FrontEnd.h"
#include "platform/ProcessManager.h"
#include "platform/Text.h"

namespace tolvane {

using Lines = std::vector<std::string>;

class CFakeFrontEnd : public CDialogs, public CMainViewWindow, public CMainFrameWindow {
 public:
  Lines calls;
  std::deque<bool> answers;          // to questions; No when there is none left
  std::deque<std::u16string> paths;  // to file dialogs; cancelled when there is none left
  std::function<void()> onQuestion;  // while the question is open

  SFileQuestion lastFileQuestion;
  Lines tables, objects;
  std::string summary, log, status, hint, selectedFile, outputPath, notice;  // what stands there now
  SCommandSwitches switches;

  // The recorded lines that begin with one of the words; all are forgotten.
  Lines Take(const std::vector<std::string_view>& words) {
    Lines taken;
    for (std::string& call : calls)
      if (std::ranges::any_of(words, [&](std::string_view word) { return call.starts_with(word); }))
        taken.push_back(std::move(call));
    calls.clear();
    return taken;
  }

  void ShowMessage(std::u16string_view text, EMessageIcon icon) override {
    constexpr const char* kIcons[] = {" plain: ", " info: ", " warning: "};
    Note("message" + std::string(kIcons[static_cast<size_t>(icon)]) + ToUtf8(text));
  }
  bool AskYesNo(std::u16string_view text) override {
    Note("ask: " + ToUtf8(text));
    if (onQuestion) onQuestion();
    return TakeFrom(answers);
  }
  std::u16string ChooseOpenFile(const SFileQuestion& question) override {
    return Choose("open: " + ToUtf8(question.title), question);
  }
  std::u16string ChooseSaveFile(const SFileQuestion& question) override {
    return Choose("save: " + ToUtf8(question.defaultName), question);
  }
  std::u16string ChooseFolder(const SFileQuestion& question) override {
    return Choose("folder: " + ToUtf8(question.title), question);
  }

  void ShowPage(EPageState page, bool isTemplateMode) override {
    Note("page " + std::to_string(static_cast<int>(page)) + (isTemplateMode ? " template" : ""));
  }
  void SetSelectedFile(std::u16string_view path) override { selectedFile = ToUtf8(path); }
  void SetTemplateFile(std::u16string_view path) override { Note("template " + ToUtf8(path)); }
  void SetHint(std::u16string_view text) override { hint = ToUtf8(text); }
  void SetStatusLine(std::u16string_view text) override { Note("status " + (status = ToUtf8(text))); }
  void SetSummary(std::u16string_view text) override { summary = ToUtf8(text); }
  void SetLogText(std::u16string_view text) override { log = ToUtf8(text); }
  void ClearLog() override { log.clear(); }
  void SetTables(const std::vector<STableItem>& items) override {
    tables.clear();
    for (const STableItem& item : items)
      tables.push_back(ToUtf8(item.name) + " " + std::to_string(item.rows));
    Note("tables " + std::to_string(items.size()));
  }
  void SetObjects(const std::vector<SObjectItem>& items) override {
    objects.clear();
    for (const SObjectItem& item : items) objects.push_back(ToUtf8(item.label));
  }
  void RefreshRecords() override { Note("refresh records"); }
  void SetOutputPath(std::u16string_view path) override { outputPath = ToUtf8(path); }

  void SetTimer(uint32_t identifier, uint32_t milliseconds) override {
    Note("timer " + std::to_string(identifier) + " every " + std::to_string(milliseconds));
  }
  void KillTimer(uint32_t identifier) override { Note("kill " + std::to_string(identifier)); }
  void ShowProgressBar(bool isShown) override { Note(isShown ? "bar shown" : "bar hidden"); }
  void StepProgressBar() override { Note("bar step"); }
  void ResetProgressBar() override { Note("bar reset"); }
  void RefreshProgress() override { Note("progress"); }
  void EnableCommands(const SCommandSwitches& enabled) override { switches = enabled; }
  void KeepPainting() override {}
  void RestoreIfMinimised() override { Note("restore"); }
  void ShowNotice(std::u16string_view text) override { notice = ToUtf8(text); }
  void EndProcess() override { Note("end process"); }

 private:
  void Note(std::string line) { calls.push_back(std::move(line)); }
  std::u16string Choose(std::string line, const SFileQuestion& question) {
    Note(std::move(line));
    lastFileQuestion = question;
    return TakeFrom(paths);
  }
  template <class T>
  static T TakeFrom(std::deque<T>& prepared) {
    if (prepared.empty()) return T{};
    T value = std::move(prepared.front());
    prepared.pop_front();
    return value;
  }
};

// Time that passes only while somebody sleeps.
class CFakeClock : public CWaitClock {
 public:
  double GetSeconds() override { return m_seconds; }
  void Sleep(uint32_t milliseconds) override {
    m_seconds += milliseconds / 1000.0;
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }

 private:
  double m_seconds = 0;
};

class CFakeProcesses : public CProcessManager {
 public:
  Lines ended;

  bool IsRunning(std::u16string_view) override { return true; }
  size_t Terminate(std::u16string_view name) override {
    ended.push_back(ToUtf8(name));
    return 1;
  }
};

}  // namespace tolvane
