// A library of the system's that is loaded when it is asked for, so that the program runs without it.
#pragma once

#include <memory>
#include <string>

namespace tolvane {

struct SLibraryName {
  const char* posix;    // with its version, as the loader knows it
  const char* package;  // of Debian, that holds it
  const char* windows;  // in the system's folder, from Windows 10 on
};

class CSharedLibrary {
 public:
  // Once. False when it is not there, with a reason, and what to do about it where something can be done;
  // without a stop at its end.
  bool Open(const SLibraryName& name, std::u16string& problem);
  using Function = void (*)();
  // Null when there is none. Its calling convention is the caller's to know.
  [[nodiscard]] Function Find(const char* name) const;

 private:
  std::unique_ptr<void, void (*)(void*)> m_handle{nullptr, [](void*) {}};  // with what gives it back
};

}  // namespace tolvane
