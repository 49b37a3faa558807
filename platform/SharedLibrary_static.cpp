// For programs that carry their C library within them: a library of the system's would bring another one.

#include "platform/SharedLibrary.h"
#include "platform/Text.h"

namespace tolvane {

bool CSharedLibrary::Open(const SLibraryName& name, std::u16string& problem) {
  problem = u"this portable program loads no libraries (" + FromAscii(name.posix) + u")";
  return false;
}

CSharedLibrary::Function CSharedLibrary::Find(const char*) const {
  return nullptr;
}

}  // namespace tolvane
