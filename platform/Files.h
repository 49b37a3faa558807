// Files and folders by name: tests, creation, removal, and where things belong. Thread-safe; nothing throws.
// A false result leaves the reason in the system's last error, read with LastSystemError at once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

extern const char16_t kPathSeparator;  // '\\' on Windows, '/' elsewhere

uint32_t LastSystemError();

// DeadLink: a link to nothing; Other: device, pipe, socket. What may not be looked at counts as a file:
// opening it tells why.
enum class EFileKind : uint8_t { Missing, File, Folder, DeadLink, Other };
EFileKind GetFileKind(std::u16string_view path);  // follows links
bool FileExists(std::u16string_view path);        // anything with that name
// False: the system takes no file of that name, which is too long above all.
bool IsNamePossible(std::u16string_view path);
// The access test of the system's C library; opening may still fail.
bool CanRead(std::u16string_view path);
bool CanWrite(std::u16string_view path);
// The same file under two names: hard link, symbolic link, case, short name.
bool IsSameFile(std::u16string_view a, std::u16string_view b);
// Bytes; 0 when it cannot be told.
uint64_t GetFileLength(std::u16string_view path);

bool CreateFolder(std::u16string_view path);  // one level
// The same, closed to other users where the system knows such a thing for a single folder.
bool CreatePrivateFolder(std::u16string_view path);
bool RemoveFile(std::u16string_view path);
// A folder with all it holds; true when there is none. Links inside, and a link itself, are removed, never
// followed.
bool RemoveFolderTree(std::u16string_view path);
// Hands all that was written into the folder, and into folders in it, to the disk.
bool SyncFolderTree(std::u16string_view path);
// The same of the names in a folder, after files were made or renamed there. An empty path is the current
// one.
void SyncNames(std::u16string_view folder);
// Replaces an existing target in one step.
bool RenameFile(std::u16string_view from, std::u16string_view to);
// Names only, sorted. False: there may be more than those.
bool ReadFolder(std::u16string_view path, std::vector<std::u16string>& names);
// The same where it does not matter.
std::vector<std::u16string> ListFolder(std::u16string_view path);

// With their separator at the end.
std::u16string GetExecutableFolder();
std::u16string GetUserCacheFolder();
std::u16string GetTempFolder();
// The folders for temporary files, best first: TMPDIR when it is set to an absolute path, then the system's.
std::vector<std::u16string> GetTempFolders();

std::u16string GetAbsolutePath(std::u16string_view path);
// On Windows both separators and the colon of a drive count.
std::u16string_view FileNameOf(std::u16string_view path);
std::u16string_view FolderOf(std::u16string_view path);     // with its separator; empty when there is none
std::u16string_view ExtensionOf(std::u16string_view path);  // without the dot; empty when there is none

}  // namespace tolvane
