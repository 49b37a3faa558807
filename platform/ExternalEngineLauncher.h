// Another program: started beside this one, spoken to through a window, waited for.
//
// The classes are abstract so that tests can play the other program.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace tolvane {

// The system's handle of a window; 0 is none.
using WindowHandle = uintptr_t;

// A started program. Destroying it closes the handle and leaves the program running.
class CExternalProcess {
 public:
  virtual ~CExternalProcess() = default;
  // Waits at most so long, in milliseconds, or without limit; true once the program has ended.
  virtual bool WaitForEnd(std::optional<uint32_t> milliseconds = std::nullopt) = 0;
  // Once it has ended: what it ended with. On POSIX 128 and the number of the signal that ended it.
  virtual uint32_t GetExitCode() = 0;
};

class CExternalEngineLauncher {
 public:
  virtual ~CExternalEngineLauncher() = default;
  // Starts a program, its window maximised, with one path as its only argument; the path travels in double
  // quotes. Null when it cannot be started: LastSystemError then tells why.
  virtual std::unique_ptr<CExternalProcess> Start(std::u16string_view program, std::u16string_view path) = 0;
  // A top-level window of any program with exactly that title; 0 when there is none.
  virtual WindowHandle FindTopLevelWindow(std::u16string_view title) = 0;
  // WM_COPYDATA: the sender and a block of data with identifier 0 that holds the text and a zero unit. Both
  // calls return when the window has answered, or is gone.
  virtual void SendText(WindowHandle window, WindowHandle sender, std::u16string_view text) = 0;
  // Another message with the same arguments. The block's address means nothing to another process.
  virtual void SendWindowMessage(WindowHandle window, uint32_t message, WindowHandle sender,
                                 std::u16string_view text) = 0;
};

// The system's own, for any thread. Systems without window messages have no windows to find.
std::unique_ptr<CExternalEngineLauncher> MakeExternalEngineLauncher();

}  // namespace tolvane
