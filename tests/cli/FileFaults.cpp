// Loaded in front of the C library into a program under test: counts its file calls below one folder and lets
// one of them fail, or the file under it change.
//
//   TOLVANE_FAULT_FOLDER   calls on other files are left alone
//   TOLVANE_FAULT          KIND:NUMBER:once|ever:ERROR   which call, counted from 1; ERROR is a number of
//   errno.h TOLVANE_FAULT_LOG      a line a call is added to this file: KIND PATH, tab between
//
// Kinds: open make read write sync rename remove list, and of reads and writes also short (half of the
// bytes), shrink (the file loses its second half before the read), change (its middle is overwritten before
// the read), vanish (its name is gone before the read) and slow (so many milliseconds later, where the number
// stands).
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <string>

namespace {

struct SFault {
  std::string kind;
  long number = 0;
  bool isForGood = false;
  int error = EIO;
};

struct SState {
  std::string folder;
  SFault fault;
  int log = -1;

  SState() {
    const auto variable = [](const char* name) {
      const char* const value = getenv(name);
      return std::string(value != nullptr ? value : "");
    };
    folder = variable("TOLVANE_FAULT_FOLDER");
    const std::string path = variable("TOLVANE_FAULT_LOG");
    if (!path.empty())
      log = static_cast<int>(
          syscall(SYS_openat, AT_FDCWD, path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    const std::string text = variable("TOLVANE_FAULT");
    const size_t first = text.find(':');
    if (first == std::string::npos) return;
    const size_t second = text.find(':', first + 1), third = text.find(':', second + 1);
    fault.kind = text.substr(0, first);
    fault.number = atol(text.c_str() + first + 1);
    fault.isForGood = text.substr(second + 1, third - second - 1) == "ever";
    fault.error = atoi(text.c_str() + third + 1);
  }
};

SState& State() {
  static SState state;
  return state;
}

// A kind of the fault, and the kinds of calls that it counts.
bool IsMeant(const std::string& fault, const char* call) {
  if (fault == "shrink" || fault == "change" || fault == "vanish") return strcmp(call, "read") == 0;
  if (fault == "short" || fault == "slow") return strcmp(call, "read") == 0 || strcmp(call, "write") == 0;
  return fault == call;
}

// Writes the call down. True: it is the one that the fault hits.
bool Hits(const char* call, const std::string& path, const std::string& more = {}) {
  static std::atomic<long> count{0};
  SState& state = State();
  if (state.folder.empty() || path.compare(0, state.folder.size(), state.folder) != 0) return false;
  if (state.log >= 0) {
    const std::string line = std::string(call) + "\t" + path + (more.empty() ? "" : "\t" + more) + "\n";
    syscall(SYS_write, state.log, line.data(), line.size());
  }
  if (!IsMeant(state.fault.kind, call)) return false;
  const long number = ++count;
  const bool isHit = number == state.fault.number || (state.fault.isForGood && number > state.fault.number);
  if (!isHit || state.fault.kind != "slow") return isHit;
  const timespec pause{state.fault.error / 1000, state.fault.error % 1000 * 1'000'000L};
  nanosleep(&pause, nullptr);
  return false;
}

std::string PathAt(int folder, const char* path) {
  if (path[0] == '/') return path;
  std::array<char, 4096> buffer{};
  const std::string link = folder == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(folder);
  const ssize_t size = readlink(link.c_str(), buffer.data(), buffer.size());
  return std::string(buffer.data(), size > 0 ? static_cast<size_t>(size) : 0) + "/" + path;
}

std::string PathOf(int descriptor) {
  std::array<char, 4096> buffer{};
  const ssize_t size =
      readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), buffer.data(), buffer.size());
  return {buffer.data(), size > 0 ? static_cast<size_t>(size) : 0};
}

int Fail() {
  errno = State().fault.error;
  return -1;
}

// What happens to a read or a write of `size` bytes: its size from now on, or a failure.
bool Meets(const char* call, int descriptor, size_t& size) {
  const std::string path = PathOf(descriptor);
  if (!Hits(call, path)) return false;
  const std::string& kind = State().fault.kind;
  if (kind == "short") {
    size = (size + 1) / 2;
    return false;
  }
  if (kind == "vanish") {
    syscall(SYS_unlink, path.c_str());
    return false;
  }
  if (kind != "shrink" && kind != "change") return true;
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return false;
  if (kind == "shrink") {
    if (truncate(path.c_str(), status.st_size / 2) != 0) abort();
    return false;
  }
  const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path.c_str(), O_WRONLY, 0));
  const std::string junk(8192, 'x');
  syscall(SYS_pwrite64, file, junk.data(), junk.size(), status.st_size / 2);
  syscall(SYS_close, file);
  return false;
}

int OpenAt(int folder, const char* path, int flags, mode_t mode) {
  if (Hits((flags & O_CREAT) != 0 ? "make" : "open", PathAt(folder, path))) return Fail();
  return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

mode_t ModeOf(int flags, va_list arguments) {
  return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeOf(flags, arguments);
  va_end(arguments);
  return OpenAt(AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeOf(flags, arguments);
  va_end(arguments);
  return OpenAt(AT_FDCWD, path, flags, mode);
}

ssize_t read(int descriptor, void* bytes, size_t size) {
  return Meets("read", descriptor, size) ? Fail() : syscall(SYS_read, descriptor, bytes, size);
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t offset) {
  return Meets("read", descriptor, size) ? Fail() : syscall(SYS_pread64, descriptor, bytes, size, offset);
}
ssize_t pread64(int descriptor, void* bytes, size_t size, off64_t offset) {
  return pread(descriptor, bytes, size, offset);
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
  return Meets("write", descriptor, size) ? Fail() : syscall(SYS_write, descriptor, bytes, size);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset) {
  return Meets("write", descriptor, size) ? Fail() : syscall(SYS_pwrite64, descriptor, bytes, size, offset);
}
ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off64_t offset) {
  return pwrite(descriptor, bytes, size, offset);
}

int ftruncate(int descriptor, off_t length) noexcept {
  size_t size = 0;
  return Meets("write", descriptor, size) ? Fail()
                                          : static_cast<int>(syscall(SYS_ftruncate, descriptor, length));
}
int ftruncate64(int descriptor, off64_t length) noexcept {
  return ftruncate(descriptor, length);
}

int fsync(int descriptor) {
  return Hits("sync", PathOf(descriptor)) ? Fail() : static_cast<int>(syscall(SYS_fsync, descriptor));
}
int fdatasync(int descriptor) {
  return fsync(descriptor);
}

int syncfs(int descriptor) noexcept {
  return Hits("sync", PathOf(descriptor), "whole") ? Fail()
                                                   : static_cast<int>(syscall(SYS_syncfs, descriptor));
}

int rename(const char* from, const char* to) noexcept {
  if (Hits("rename", PathAt(AT_FDCWD, from), PathAt(AT_FDCWD, to))) return Fail();
  return static_cast<int>(syscall(SYS_rename, from, to));
}

int unlinkat(int folder, const char* path, int flags) noexcept {
  if (Hits("remove", PathAt(folder, path))) return Fail();
  return static_cast<int>(syscall(SYS_unlinkat, folder, path, flags));
}
int unlink(const char* path) noexcept {
  return unlinkat(AT_FDCWD, path, 0);
}
int rmdir(const char* path) noexcept {
  return unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}

int mkdir(const char* path, mode_t mode) noexcept {
  if (Hits("make", PathAt(AT_FDCWD, path))) return Fail();
  return static_cast<int>(syscall(SYS_mkdir, path, mode));
}

DIR* opendir(const char* path) {
  static const auto next = reinterpret_cast<DIR* (*)(const char*)>(dlsym(RTLD_NEXT, "opendir"));
  if (!Hits("list", PathAt(AT_FDCWD, path))) return next(path);
  Fail();
  return nullptr;
}

}  // extern "C"
