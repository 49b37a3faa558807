// A library of the system's that is loaded when it is asked for, so that the program runs without it.
#pragma once

#include <string>

namespace tolvane {

struct SLibraryName {
  const char* posix;    // with its version, as the loader knows it
  const char* windows;  // in the system's folder
};

class CSharedLibrary {
 public:
  CSharedLibrary() = default;
  ~CSharedLibrary();
  CSharedLibrary(const CSharedLibrary&) = delete;
  CSharedLibrary& operator=(const CSharedLibrary&) = delete;

  // Once. False when it is not there, with a reason.
  bool Open(const SLibraryName& name, std::u16string& problem);
  using Function = void (*)();
  // Null when there is none. Its calling convention is the caller's to know.
  [[nodiscard]] Function Find(const char* name) const;

 private:
  void* m_handle = nullptr;
};

}  // namespace tolvane
