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
#include "platform/OverlappedLedger.h"
#include "platform/Text.h"

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
};

namespace {

// Bytes in one call; the kernel's own limit is just below 2 GiB.
constexpr size_t kMaxTransfer = size_t{1} << 30;

int OpenFlags(EFileAccess access, EFileCreation creation) {
  constexpr int kAccess[] = {O_RDONLY, O_WRONLY, O_RDWR};                         // by EFileAccess
  constexpr int kCreation[] = {O_CREAT | O_EXCL, O_CREAT | O_TRUNC, 0, O_CREAT};  // by EFileCreation
  return O_CLOEXEC | O_NOCTTY | kAccess[static_cast<size_t>(access)] |
         kCreation[static_cast<size_t>(creation)];
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

struct STransfer {
  size_t count = 0;
  uint32_t error = kNoSystemError;
};

// Calls of the system, each given what is done and how much may follow, until all is done or one does
// nothing.
template <class F>
STransfer TransferAll(size_t size, F call) {
  STransfer total;
  while (total.count < size) {
    const ssize_t n = call(total.count, std::min(size - total.count, kMaxTransfer));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) total.error = static_cast<uint32_t>(errno);
    if (n <= 0) break;
    total.count += static_cast<size_t>(n);
  }
  return total;
}

// 0 or the system's error.
template <class F>
uint32_t WriteAll(size_t size, F call) {
  const STransfer done = TransferAll(size, call);
  return done.error == kNoSystemError && done.count < size ? kWriteFaultError : done.error;
}

uint32_t WriteAllAt(int descriptor, std::span<const uint8_t> bytes, uint64_t offset) {
  return WriteAll(bytes.size(), [&](size_t done, size_t count) {
    return pwrite(descriptor, bytes.data() + done, count, static_cast<off_t>(offset + done));
  });
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
  const STransfer done =
      !m_handle ? STransfer{0, EBADF} : TransferAll(buffer.size(), [&](size_t at, size_t count) {
        return read(m_handle->descriptor, buffer.data() + at, count);
      });
  if (done.error != kNoSystemError) Report(done.error, handler);
  return done.count;
}

size_t CFileCust::ReadAt(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler) {
  const STransfer done =
      !m_handle || !IsOffset(offset)
          ? STransfer{0, static_cast<uint32_t>(m_handle ? EINVAL : EBADF)}
          : TransferAll(buffer.size(), [&](size_t at, size_t count) {
              return pread(m_handle->descriptor, buffer.data() + at, count, static_cast<off_t>(offset + at));
            });
  if (done.error != kNoSystemError) Report(done.error, handler);
  return done.count;
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
  const uint32_t error = WriteAll(bytes.size(), [&](size_t done, size_t count) {
    return write(m_handle->descriptor, bytes.data() + done, count);
  });
  if (error != kNoSystemError) Throw(error);
}

void CFileCust::WriteAt(uint64_t offset, std::span<const uint8_t> bytes) {
  if (!m_handle) Throw(EBADF);
  if (!IsOffset(offset)) Throw(EINVAL);
  const uint32_t error = WriteAllAt(m_handle->descriptor, bytes, offset);
  if (error != kNoSystemError) Throw(error);
}

// Carried out at once: the system takes what is written without waiting for the disk.
void CFileCust::WriteOverlapped(std::vector<uint8_t> buffer, uint64_t offset,
                                std::shared_ptr<COverlappedEvent> event) {
  if (!m_handle) Throw(EBADF);
  if (!IsOffset(offset)) Throw(EINVAL);
  const SOverlappedWrite write{std::move(buffer), offset, std::move(event), nullptr};
  COverlappedLedger::Instance().Issue(write);
  COverlappedLedger::Instance().Complete(write, WriteAllAt(m_handle->descriptor, write.buffer, offset));
}

}  // namespace tolvane
