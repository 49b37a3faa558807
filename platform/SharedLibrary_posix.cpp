#include <dlfcn.h>

#include "platform/SharedLibrary.h"
#include "platform/Text.h"

namespace tolvane {

bool CSharedLibrary::Open(const SLibraryName& name, std::u16string& problem) {
  m_handle = {dlopen(name.posix, RTLD_NOW | RTLD_LOCAL), [](void* handle) { dlclose(handle); }};
  if (m_handle != nullptr) return true;
  const char* const reason = dlerror();
  problem = FromUtf8(reason != nullptr ? reason : name.posix) + u". Install the library (Debian: " +
            FromAscii(name.package) + u")";
  return false;
}

CSharedLibrary::Function CSharedLibrary::Find(const char* name) const {
  return reinterpret_cast<Function>(dlsym(m_handle.get(), name));
}

}  // namespace tolvane
