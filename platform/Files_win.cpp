#include <shlobj.h>
#include <windows.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/DiskRoom.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Handle_win.h"
#include "platform/Terminal.h"
#include "platform/Wide_win.h"

namespace tolvane {

const char16_t kPathSeparator = u'\\';

namespace {

struct SFindCloser {
  void operator()(HANDLE handle) const {
    const CLastErrorKeeper keeper;
    FindClose(handle);
  }
};
using CFind = std::unique_ptr<void, SFindCloser>;

// A file or folder, links followed; null on failure. Access 0 looks at it and never meets a sharing conflict.
CHandle OpenAnything(std::u16string_view path, DWORD access) {
  const HANDLE handle =
      CreateFileW(SystemPath(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  return CHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

bool GetInformation(std::u16string_view path, BY_HANDLE_FILE_INFORMATION& information) {
  const CHandle handle = OpenAnything(path, 0);
  return handle && GetFileInformationByHandle(handle.get(), &information);
}

bool IsFolder(DWORD attributes) {
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}
bool IsLink(DWORD attributes) {
  return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool Fail(DWORD error) {
  SetLastError(error);
  return false;
}

std::u16string WithSeparator(std::u16string folder) {
  if (!folder.ends_with(kPathSeparator) && !folder.ends_with(u'/')) folder += kPathSeparator;
  return folder;
}

// Calls `visit(name, attributes)` for each entry until one answers false; false then or on failure.
template <class F>
bool VisitFolder(const std::wstring& folder, F visit) {
  WIN32_FIND_DATAW data{};
  const HANDLE first = FindFirstFileW((folder + L"\\*").c_str(), &data);
  if (first == INVALID_HANDLE_VALUE) return false;
  const CFind find(first);
  do {
    const std::wstring_view name = data.cFileName;
    if (name != L"." && name != L".." && !visit(name, data.dwFileAttributes)) return false;
  } while (FindNextFileW(find.get(), &data));
  return GetLastError() == ERROR_NO_MORE_FILES;
}

// A file, a link of either kind or an empty folder.
bool RemoveEntry(const std::wstring& path, DWORD attributes) {
  // Write protection would keep it.
  if (attributes & FILE_ATTRIBUTE_READONLY) SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  return IsFolder(attributes) ? RemoveDirectoryW(path.c_str()) : DeleteFileW(path.c_str());
}

// Removes all that is no folder, adds the folders to `inner`.
bool EmptyFolder(const std::wstring& folder, std::vector<std::wstring>& inner) {
  return VisitFolder(folder, [&](std::wstring_view name, DWORD attributes) {
    std::wstring path = folder + L'\\';
    path += name;
    if (!IsFolder(attributes) || IsLink(attributes)) return RemoveEntry(path, attributes);
    inner.push_back(std::move(path));
    return true;
  });
}

}  // namespace

uint32_t LastSystemError() {
  return GetLastError();
}

EFileKind GetFileKind(std::u16string_view path) {
  const CHandle handle = OpenAnything(path, 0);
  if (!handle) {
    if (GetLastError() == ERROR_ACCESS_DENIED) return EFileKind::File;
    // Of the link itself.
    const bool isThere = GetFileAttributesW(SystemPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
    return isThere ? EFileKind::DeadLink : EFileKind::Missing;
  }
  BY_HANDLE_FILE_INFORMATION information{};
  if (GetFileType(handle.get()) != FILE_TYPE_DISK ||
      !GetFileInformationByHandle(handle.get(), &information)) {
    return EFileKind::Other;
  }
  return IsFolder(information.dwFileAttributes) ? EFileKind::Folder : EFileKind::File;
}

bool IsNamePossible(std::u16string_view path) {
  if (GetFileAttributesW(SystemPath(path).c_str()) != INVALID_FILE_ATTRIBUTES) return true;
  return GetLastError() != ERROR_INVALID_NAME && GetLastError() != ERROR_FILENAME_EXCED_RANGE;
}

// Whether another program keeps it, or its owner, is for the opening to tell, in the system's words.
bool CanRead(std::u16string_view path) {
  return GetFileAttributesW(SystemPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool CanWrite(std::u16string_view path) {
  // For a folder this bit is the right to add a file.
  return OpenAnything(path, FILE_WRITE_DATA) != nullptr;
}

bool IsSameFile(std::u16string_view a, std::u16string_view b) {
  // Both stay open: the numbers are only certain to differ while both files are.
  const CHandle handles[] = {OpenAnything(a, 0), OpenAnything(b, 0)};
  BY_HANDLE_FILE_INFORMATION first{};
  BY_HANDLE_FILE_INFORMATION second{};
  return handles[0] && handles[1] && GetFileInformationByHandle(handles[0].get(), &first) &&
         GetFileInformationByHandle(handles[1].get(), &second) &&
         first.dwVolumeSerialNumber == second.dwVolumeSerialNumber &&
         first.nFileIndexHigh == second.nFileIndexHigh && first.nFileIndexLow == second.nFileIndexLow;
}

uint64_t GetFileLength(std::u16string_view path) {
  BY_HANDLE_FILE_INFORMATION information{};
  if (!GetInformation(path, information) || IsFolder(information.dwFileAttributes)) return 0;
  return uint64_t{information.nFileSizeHigh} << 32 | information.nFileSizeLow;
}

std::optional<uint64_t> GetFreeBytes(std::u16string_view folder) {
  ULARGE_INTEGER free{};
  const std::wstring path = ToWide(folder);
  if (!GetDiskFreeSpaceExW(path.empty() ? nullptr : path.c_str(), &free, nullptr, nullptr))
    return std::nullopt;
  return free.QuadPart;
}

bool CreateFolder(std::u16string_view path) {
  return CreateDirectoryW(SystemPath(path).c_str(), nullptr) != 0;
}

// The user's profile and the program's folder hand on their own access.
bool CreatePrivateFolder(std::u16string_view path) {
  return CreateFolder(path);
}

bool RemoveFile(std::u16string_view path) {
  return DeleteFileW(SystemPath(path).c_str()) != 0;
}

bool RemoveFolderTree(std::u16string_view path) {
  std::wstring root = SystemPath(path, ELongPrefix::Always);
  // With a separator at its end a link would be followed.
  while (root.ends_with(L'\\')) root.pop_back();
  if (root.empty()) return Fail(ERROR_INVALID_NAME);
  const DWORD attributes = GetFileAttributesW(root.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND;
  }
  if (IsLink(attributes)) return RemoveEntry(root, attributes);
  if (!IsFolder(attributes)) return Fail(ERROR_DIRECTORY);

  // The folders from the root down to the one at hand, with their siblings; a folder goes once it is empty.
  std::vector<std::wstring> folders = {std::move(root)};
  while (!folders.empty()) {
    const size_t known = folders.size();
    const std::wstring folder = folders.back();
    if (!EmptyFolder(folder, folders)) return false;
    if (folders.size() > known) continue;
    if (!RemoveEntry(folder, GetFileAttributesW(folder.c_str()))) return false;
    folders.pop_back();
  }
  return true;
}

bool SyncFolderTree(std::u16string_view path) {
  std::vector<std::u16string> folders{std::u16string(path)};
  while (!folders.empty()) {
    const std::u16string folder = std::move(folders.back());
    folders.pop_back();
    std::vector<std::u16string> names;
    if (!ReadFolder(folder, names)) return false;
    for (const std::u16string& name : names) {
      std::u16string inner = folder + kPathSeparator + name;
      if (GetFileKind(inner) == EFileKind::Folder) {
        folders.push_back(std::move(inner));
        continue;
      }
      CFileCust file;
      const bool isSynced =
          file.Open(inner, EFileAccess::ReadWrite, EFileShare::Read, EFileCreation::OpenExisting) &&
          file.Flush();
      if (isSynced) continue;
      SetLastError(file.GetLastErrorCode());
      return false;
    }
  }
  return true;
}

// The system's journal keeps them.
void SyncNames(std::u16string_view) {}

bool RenameFile(std::u16string_view from, std::u16string_view to) {
  return MoveFileExW(SystemPath(from).c_str(), SystemPath(to).c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

bool ReadFolder(std::u16string_view path, std::vector<std::u16string>& names) {
  names.clear();
  const bool isWhole = VisitFolder(SystemPath(path), [&names](std::wstring_view name, DWORD) {
    names.push_back(FromWide(name));
    return true;
  });
  const DWORD error = GetLastError();
  std::ranges::sort(names);
  SetLastError(error);
  return isWhole;
}

std::u16string GetExecutableFolder() {
  const std::u16string program = AskForText([](wchar_t* buffer, DWORD size) {
    // Unlike others of its kind this call cuts the name and answers the buffer's size.
    return GetModuleFileNameW(nullptr, buffer, size);
  });
  return std::u16string(FolderOf(program));
}

std::u16string GetUserCacheFolder() {
  wchar_t* known = nullptr;
  std::u16string folder;
  if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &known))) folder = FromWide(known);
  CoTaskMemFree(known);
  if (folder.empty()) folder = GetEnvironment(u"LOCALAPPDATA");
  return folder.empty() ? GetTempFolder() : WithSeparator(std::move(folder));
}

std::u16string GetTempFolder() {
  return AskForText([](wchar_t* buffer, DWORD size) { return GetTempPathW(size, buffer); });
}

std::vector<std::u16string> GetTempFolders() {
  std::vector<std::u16string> folders;
  std::u16string chosen = AskForText(
      [](wchar_t* buffer, DWORD size) { return GetEnvironmentVariableW(L"TMPDIR", buffer, size); });
  if (!chosen.empty() && GetAbsolutePath(chosen) == chosen)
    folders.push_back(WithSeparator(std::move(chosen)));
  folders.push_back(GetTempFolder());
  return folders;
}

std::u16string GetAbsolutePath(std::u16string_view path) {
  // A zero unit would cut it.
  if (path.find(u'\0') != std::u16string_view::npos) return std::u16string(path);
  const std::wstring wide = ToWide(path);
  std::u16string absolute = AskForText(
      [&wide](wchar_t* buffer, DWORD size) { return GetFullPathNameW(wide.c_str(), size, buffer, nullptr); });
  return absolute.empty() ? std::u16string(path) : absolute;
}

}  // namespace tolvane
