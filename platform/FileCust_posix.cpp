#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <system_error>
#include <utility>

#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"
#include "platform/Text.h"
#include "platform/WriteWorker_posix.h"

namespace tolvane {

static_assert(sizeof(off_t) == 8, "files beyond 2 GiB need the large file interface");

const uint32_t kWriteFaultError = EIO;
const uint32_t kDiskFullError = ENOSPC;

std::u16string SystemMessage(uint32_t code) {
  return FromUtf8(std::generic_category().message(static_cast<int>(code)));
}

bool RunCompletions(uint32_t) {
  return false;
}

struct CFileCust::SHandle {
  int descriptor = -1;
  std::shared_ptr<uint32_t> pending = std::make_shared<uint32_t>(0);
};

namespace {

int OpenFlags(EFileAccess access, EFileCreation creation) {
  int flags = O_CLOEXEC | O_NOCTTY;
  switch (access) {
    case EFileAccess::Read:
      flags |= O_RDONLY;
      break;
    case EFileAccess::Write:
      flags |= O_WRONLY;
      break;
    case EFileAccess::ReadWrite:
      flags |= O_RDWR;
      break;
  }
  switch (creation) {
    case EFileCreation::CreateNew:
      return flags | O_CREAT | O_EXCL;
    case EFileCreation::CreateAlways:
      return flags | O_CREAT | O_TRUNC;
    case EFileCreation::OpenExisting:
      return flags;
    case EFileCreation::OpenAlways:
      return flags | O_CREAT;
  }
  return flags;
}

// -1 with errno on failure. Never waits for the other end of a pipe: one that nobody reads cannot be opened
// to write, one that nobody writes has no bytes.
int OpenDescriptor(const std::string& path, int flags) {
  int descriptor = -1;
  do {
    descriptor = open(path.c_str(), flags | O_NONBLOCK, 0666);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) return -1;
  struct stat status {};
  if (fstat(descriptor, &status) == 0 && !S_ISDIR(status.st_mode)) {
    if (!S_ISREG(status.st_mode)) fcntl(descriptor, F_SETFL, flags & O_ACCMODE);
    return descriptor;
  }
  const int error = S_ISDIR(status.st_mode) ? EISDIR : errno;
  close(descriptor);
  errno = error;
  return -1;
}

// Offsets of the system are signed.
bool IsOffset(uint64_t offset) {
  return offset <= static_cast<uint64_t>(std::numeric_limits<off_t>::max());
}

}  // namespace

CFileCust::CFileCust() = default;
CFileCust::~CFileCust() {
  Close();
}

bool CFileCust::Open(std::u16string_view path, EFileAccess access, EFileShare, EFileCreation creation,
                     EFileFlags flags) {
  Close();
  m_path = path;
  m_lastError = kNoSystemError;
  const std::string native = ToNativePath(path);
  // A zero byte would cut the name and open another file.
  const bool isName = native.find('\0') == std::string::npos;
  const int descriptor = isName ? OpenDescriptor(native, OpenFlags(access, creation)) : -1;
  if (descriptor < 0) {
    m_lastError = static_cast<uint32_t>(isName ? errno : ENOENT);
    return false;
  }
  if (flags == EFileFlags::Sequential) posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
  m_handle = std::make_unique<SHandle>();
  m_handle->descriptor = descriptor;
  return true;
}

void CFileCust::Close() {
  if (!m_handle) return;
  COverlappedLedger::Instance().WaitForFile(*m_handle->pending, std::numeric_limits<uint32_t>::max());
  // Never again after EINTR: the descriptor is gone by then and may belong to another thread.
  if (close(m_handle->descriptor) != 0) m_lastError = static_cast<uint32_t>(errno);
  m_handle.reset();
}

uint64_t CFileCust::GetLength() {
  struct stat status {};
  if (m_handle && fstat(m_handle->descriptor, &status) == 0) {
    // Block devices answer 0 here.
    if (!S_ISBLK(status.st_mode)) return static_cast<uint64_t>(status.st_size);
    const off_t here = lseek(m_handle->descriptor, 0, SEEK_CUR);
    const off_t end = lseek(m_handle->descriptor, 0, SEEK_END);
    lseek(m_handle->descriptor, here, SEEK_SET);
    if (end >= 0) return static_cast<uint64_t>(end);
  }
  m_lastError = static_cast<uint32_t>(m_handle ? errno : EBADF);
  return 0;
}

SFileStamp CFileCust::GetStamp() {
  struct stat status {};
  if (!m_handle || fstat(m_handle->descriptor, &status) != 0) return {};
  constexpr uint64_t kNanoseconds = 1'000'000'000;
  return {static_cast<uint64_t>(status.st_size), static_cast<uint64_t>(status.st_mtim.tv_sec) * kNanoseconds +
                                                     static_cast<uint64_t>(status.st_mtim.tv_nsec)};
}

uint64_t CFileCust::GetPosition() {
  const off_t position = m_handle ? lseek(m_handle->descriptor, 0, SEEK_CUR) : -1;
  if (position >= 0) return static_cast<uint64_t>(position);
  m_lastError = static_cast<uint32_t>(m_handle ? errno : EBADF);
  return 0;
}

bool CFileCust::SetPosition(uint64_t position) {
  if (m_handle && IsOffset(position) &&
      lseek(m_handle->descriptor, static_cast<off_t>(position), SEEK_SET) >= 0) {
    return true;
  }
  m_lastError = static_cast<uint32_t>(!m_handle ? EBADF : IsOffset(position) ? errno : EINVAL);
  return false;
}

size_t CFileCust::Read(std::span<uint8_t> buffer, CErrorHandler& handler) {
  size_t done = 0;
  while (done < buffer.size()) {
    const size_t count = std::min(buffer.size() - done, kMaxTransfer);
    const ssize_t n = m_handle ? read(m_handle->descriptor, buffer.data() + done, count) : -1;
    if (n < 0 && m_handle && errno == EINTR) continue;
    if (n < 0) Report(static_cast<uint32_t>(m_handle ? errno : EBADF), handler);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  return done;
}

size_t CFileCust::ReadAt(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler) {
  size_t done = 0;
  while (done < buffer.size()) {
    const size_t count = std::min(buffer.size() - done, kMaxTransfer);
    const bool isPossible = m_handle && IsOffset(offset + done);
    const ssize_t n = isPossible ? pread(m_handle->descriptor, buffer.data() + done, count,
                                         static_cast<off_t>(offset + done))
                                 : -1;
    if (n < 0 && isPossible && errno == EINTR) continue;
    if (n < 0) Report(static_cast<uint32_t>(isPossible ? errno : m_handle ? EINVAL : EBADF), handler);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  return done;
}

bool CFileCust::Truncate(uint64_t length) {
  if (!SetPosition(length)) return false;
  int result = -1;
  do {
    result = ftruncate(m_handle->descriptor, static_cast<off_t>(length));
  } while (result != 0 && errno == EINTR);
  if (result != 0) m_lastError = static_cast<uint32_t>(errno);
  return result == 0;
}

bool CFileCust::Flush() {
  if (!m_handle) {
    m_lastError = EBADF;
    return false;
  }
  int result = -1;
  do {
    result = fsync(m_handle->descriptor);
  } while (result != 0 && errno == EINTR);
  // EINVAL: a device or pipe, which has nothing to hand on.
  if (result == 0 || errno == EINVAL) return true;
  m_lastError = static_cast<uint32_t>(errno);
  return false;
}

void CFileCust::Write(std::span<const uint8_t> bytes) {
  if (!m_handle) Throw(EBADF);
  for (size_t done = 0; done < bytes.size();) {
    const size_t count = std::min(bytes.size() - done, kMaxTransfer);
    const ssize_t n = write(m_handle->descriptor, bytes.data() + done, count);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) Throw(static_cast<uint32_t>(errno));
    if (n == 0) Throw(kWriteFaultError);
    done += static_cast<size_t>(n);
  }
}

void CFileCust::WriteAt(uint64_t offset, std::span<const uint8_t> bytes) {
  if (!m_handle) Throw(EBADF);
  if (!IsOffset(offset)) Throw(EINVAL);
  const uint32_t error = WriteAllAt(m_handle->descriptor, bytes.data(), bytes.size(), offset);
  if (error != kNoSystemError) Throw(error);
}

void CFileCust::WriteOverlapped(std::vector<uint8_t> buffer, uint64_t offset,
                                std::shared_ptr<COverlappedEvent> event) {
  if (!m_handle) Throw(EBADF);
  if (!IsOffset(offset)) Throw(EINVAL);
  CWriteWorker::Instance().Submit(m_handle->descriptor,
                                  {std::move(buffer), offset, std::move(event), m_handle->pending});
}

}  // namespace tolvane
