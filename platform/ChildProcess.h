// Another run of a program, its output in files. One thread at a time.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tolvane {

// The file of the running program.
std::u16string GetProgramPath();

class CChildProcess {
 public:
  // What a program ends with that did not end by itself.
  static constexpr int kCrashed = -1;

  CChildProcess();
  ~CChildProcess();  // ends it at once if it still runs
  CChildProcess(CChildProcess&&) noexcept;
  CChildProcess& operator=(CChildProcess&&) noexcept;

  // `words` do not name the program. What it prints goes to the two files, which are made anew; it has
  // nothing to read. False: the system refuses, see LastSystemError.
  bool Start(const std::u16string& program, const std::vector<std::u16string>& words,
             const std::u16string& outputFile, const std::u16string& errorFile);
  // Its exit status once it has ended; nothing while it runs. Returns at once.
  std::optional<int> Poll();
  // Asks it to stop, as Ctrl+C does. On Windows a console's Ctrl+C reaches it by itself, and nothing else
  // can.
  void Stop();

 private:
  struct SProcess;
  std::unique_ptr<SProcess> m_process;
};

}  // namespace tolvane
