#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <system_error>

#include "platform/DiskRoom.h"
#include "platform/Files.h"
#include "platform/Terminal.h"
#include "platform/Text.h"

namespace tolvane {

const char16_t kPathSeparator = u'/';

namespace {

// A name for the system; empty, which names nothing, when a zero byte would cut it.
std::string SystemPath(std::u16string_view path) {
  std::string native = ToNativePath(path);
  if (native.find('\0') != std::string::npos) native.clear();
  return native;
}

bool GetStatus(std::u16string_view path, struct stat& status) {
  return stat(SystemPath(path).c_str(), &status) == 0;
}

bool Fail(int error) {
  errno = error;
  return false;
}

std::u16string WithSeparator(std::u16string folder) {
  if (!folder.ends_with(kPathSeparator)) folder += kPathSeparator;
  return folder;
}

bool IsAbsolute(std::u16string_view path) {
  return path.starts_with(kPathSeparator);
}

std::u16string HomeFolder() {
  std::u16string home = GetEnvironment(u"HOME");
  if (IsAbsolute(home)) return home;
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 4096> buffer{};
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return {};
  return FromNativePath(found->pw_dir);
}

}  // namespace

uint32_t LastSystemError() {
  return static_cast<uint32_t>(errno);
}

EFileKind GetFileKind(std::u16string_view path) {
  struct stat status {};
  if (!GetStatus(path, status)) {
    if (errno == EACCES) return EFileKind::File;
    return lstat(SystemPath(path).c_str(), &status) == 0 ? EFileKind::DeadLink : EFileKind::Missing;
  }
  if (S_ISREG(status.st_mode)) return EFileKind::File;
  return S_ISDIR(status.st_mode) ? EFileKind::Folder : EFileKind::Other;
}

bool IsNamePossible(std::u16string_view path) {
  struct stat status {};
  return lstat(SystemPath(path).c_str(), &status) == 0 || errno != ENAMETOOLONG;
}

bool CanRead(std::u16string_view path) {
  return access(SystemPath(path).c_str(), R_OK) == 0;
}
bool CanWrite(std::u16string_view path) {
  return access(SystemPath(path).c_str(), W_OK) == 0;
}

bool IsSameFile(std::u16string_view a, std::u16string_view b) {
  struct stat first {};
  struct stat second {};
  return GetStatus(a, first) && GetStatus(b, second) && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

uint64_t GetFileLength(std::u16string_view path) {
  struct stat status {};
  return GetStatus(path, status) && S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0;
}

std::optional<uint64_t> GetFreeBytes(std::u16string_view folder) {
  struct statvfs disk {};
  if (statvfs(folder.empty() ? "." : ToNativePath(folder).c_str(), &disk) != 0) return std::nullopt;
  return uint64_t{disk.f_bavail} * disk.f_frsize;
}

bool CreateFolder(std::u16string_view path) {
  return mkdir(SystemPath(path).c_str(), 0777) == 0;
}

bool CreatePrivateFolder(std::u16string_view path) {
  return mkdir(SystemPath(path).c_str(), 0700) == 0;
}

bool RemoveFile(std::u16string_view path) {
  return unlink(SystemPath(path).c_str()) == 0;
}

bool RemoveFolderTree(std::u16string_view path) {
  std::string native = SystemPath(path);
  // With a separator at its end a link would be followed.
  while (native.size() > 1 && native.back() == '/') native.pop_back();
  struct stat status {};
  if (native.empty() || lstat(native.c_str(), &status) != 0) return !native.empty() && errno == ENOENT;
  if (!S_ISDIR(status.st_mode) && !S_ISLNK(status.st_mode)) return Fail(ENOTDIR);
  std::error_code error;
  std::filesystem::remove_all(native, error);
  return !error || Fail(error.value());
}

bool RenameFile(std::u16string_view from, std::u16string_view to) {
  return rename(SystemPath(from).c_str(), SystemPath(to).c_str()) == 0;
}

// One call for any number of files.
bool SyncFolderTree(std::u16string_view path) {
  const int folder = open(SystemPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return false;
  const int error = syncfs(folder) == 0 ? 0 : errno;
  close(folder);
  return error == 0 || Fail(error);
}

void SyncNames(std::u16string_view folder) {
  const int opened =
      open(folder.empty() ? "." : SystemPath(folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0) return;
  fsync(opened);
  close(opened);
}

bool ReadFolder(std::u16string_view path, std::vector<std::u16string>& names) {
  names.clear();
  struct SCloser {
    void operator()(DIR* folder) const { closedir(folder); }
  };
  const std::unique_ptr<DIR, SCloser> folder(opendir(SystemPath(path).c_str()));
  if (!folder) return false;
  errno = 0;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.push_back(FromNativePath(name));
    errno = 0;
  }
  const int error = errno;
  std::ranges::sort(names);
  return error == 0 || Fail(error);
}

std::u16string GetExecutableFolder() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return WithSeparator(GetAbsolutePath(u"."));
  return std::u16string(FolderOf(FromNativePath(program.native())));
}

std::u16string GetUserCacheFolder() {
  const std::u16string cache = GetEnvironment(u"XDG_CACHE_HOME");
  // A relative one is to be ignored, as its standard says.
  if (IsAbsolute(cache)) return WithSeparator(cache);
  const std::u16string home = HomeFolder();
  return home.empty() ? GetTempFolder() : WithSeparator(home) + u".cache/";
}

std::u16string GetTempFolder() {
  return GetTempFolders().front();
}

std::vector<std::u16string> GetTempFolders() {
  std::vector<std::u16string> folders;
  if (std::u16string chosen = GetEnvironment(u"TMPDIR"); IsAbsolute(chosen))
    folders.push_back(WithSeparator(std::move(chosen)));
  folders.push_back(u"/tmp/");
  return folders;
}

std::u16string GetAbsolutePath(std::u16string_view path) {
  if (IsAbsolute(path)) return std::u16string(path);
  std::error_code error;
  const std::filesystem::path here = std::filesystem::current_path(error);
  if (error) return std::u16string(path);
  while (path.starts_with(u"./")) path.remove_prefix(std::min(path.find_first_not_of(u'/', 1), path.size()));
  std::u16string folder = FromNativePath(here.native());
  return path.empty() || path == u"." ? folder : WithSeparator(std::move(folder)).append(path);
}

}  // namespace tolvane
