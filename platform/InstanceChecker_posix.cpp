#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <string>

#include "platform/Files.h"
#include "platform/InstanceChecker.h"
#include "platform/Text.h"

namespace tolvane {

struct CInstanceChecker::SHandle {
  int file = -1;
  ~SHandle() {
    if (file >= 0) close(file);
  }
};

CInstanceChecker::CInstanceChecker() = default;

CInstanceChecker::~CInstanceChecker() = default;

bool CInstanceChecker::IsAlreadyRunning(std::u16string_view name) {
  m_handle = std::make_unique<SHandle>();
  const std::u16string folder = GetUserCacheFolder();
  static_cast<void>(CreateFolder(folder));
  // The file stays: removing it would let a third copy lock a new one beside the second's.
  const std::string path = ToNativePath(folder + std::u16string(name) + u".lock");
  m_handle->file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (m_handle->file < 0) return errno == EACCES;
  return flock(m_handle->file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

}  // namespace tolvane
