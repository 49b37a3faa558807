#include "store/WorkFolder.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <vector>

#include "platform/FileCust.h"
#include "platform/Files.h"
#include "store/FileNameManager.h"
#include "store/RunMark.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kFolderName = u"TolvaneforAccess";
constexpr std::u16string_view kRunPrefix = u"run-";

struct SWorkFolder {
  std::mutex mutex;
  std::u16string path;  // empty: not set
};

SWorkFolder& WorkFolder() {
  static SWorkFolder folder;
  return folder;
}

std::u16string WithSeparator(std::u16string_view folder) {
  std::u16string text(folder);
  if (!text.empty() && text.back() != kPathSeparator) text += kPathSeparator;
  return text;
}

std::u16string FolderBesideProgram() {
  return WithSeparator(GetExecutableFolder() + std::u16string(kFolderName));
}

// What the paths of run folders begin with, up to their prefix, in the order in which to try them. A folder
// for temporary files may belong to all users: a folder of ours in it would belong to the first of them.
std::vector<std::u16string> BasePaths(std::u16string_view baseFolder) {
  if (!baseFolder.empty()) return {WithSeparator(baseFolder)};
  const std::u16string name(kFolderName);
  std::vector<std::u16string> bases{FolderBesideProgram(),
                                    WithSeparator(WithSeparator(GetUserCacheFolder()) + name)};
  for (const std::u16string& place : GetTempFolders()) bases.push_back(WithSeparator(place) + name + u"-");
  return bases;
}

// The system's error code; kNoSystemError when a file can be created and filled in `folder`.
uint32_t TryToWrite(const std::u16string& folder) {
  const std::u16string path = folder + u"probe";
  CFileCust file;
  if (!file.Open(path, EFileAccess::Write, EFileShare::Read, EFileCreation::CreateAlways))
    return file.GetLastErrorCode();
  uint32_t error = kNoSystemError;
  try {
    constexpr std::array<uint8_t, 1> kAnything{0x2E};
    file.Write(kAnything);
  } catch (const CFileCustException& exception) {
    error = exception.GetCode();
  }
  file.Close();
  RemoveFile(path);
  return error;
}

}  // namespace

std::u16string GetWorkFolder() {
  SWorkFolder& folder = WorkFolder();
  const std::lock_guard lock(folder.mutex);
  if (folder.path.empty()) folder.path = FolderBesideProgram();
  return folder.path;
}

void RestoreWorkFolder() {
  std::u16string folder = GetWorkFolder();
  folder.pop_back();
  if (GetFileKind(folder) != EFileKind::Missing) return;
  CFileNameManager::CreateFolderPath(FolderOf(folder));
  CreatePrivateFolder(folder);
}

void SetWorkFolder(std::u16string_view path) {
  SWorkFolder& folder = WorkFolder();
  const std::lock_guard lock(folder.mutex);
  folder.path = WithSeparator(path);
}

CRunFolder::~CRunFolder() {
  Remove();
}

bool CRunFolder::Create(std::u16string_view baseFolder) {
  Remove();
  m_problem.clear();
  const std::vector<std::u16string> bases = BasePaths(baseFolder);
  return std::ranges::any_of(bases, [this](const auto& base) { return CreateUnder(base); });
}

bool CRunFolder::CreateUnder(std::u16string_view basePath) {
  CFileNameManager::CreateFolderPath(FolderOf(basePath));
  const std::u16string path =
      std::u16string(basePath) + std::u16string(kRunPrefix) + MakeRunMark() + kPathSeparator;
  uint32_t error = kNoSystemError;
  // It holds what the user's database held.
  if (!CreatePrivateFolder(std::u16string_view(path).substr(0, path.size() - 1))) {
    error = LastSystemError();
  } else {
    error = TryToWrite(path);
    if (error == kNoSystemError) {
      m_path = path;
      SetWorkFolder(path);
      return true;
    }
    RemoveFolderTree(path);
  }
  m_problem = std::u16string(FolderOf(basePath)) + u": " + SystemMessage(error);
  return false;
}

void CRunFolder::RemoveStale(std::u16string_view baseFolder) {
  for (const std::u16string& base : BasePaths(baseFolder)) {
    const std::u16string folder(FolderOf(base));
    const std::u16string prefix = std::u16string(FileNameOf(base)) + std::u16string(kRunPrefix);
    for (const std::u16string& name : ListFolder(folder)) {
      if (!name.starts_with(prefix)) continue;
      const std::u16string path = folder + name;
      const std::u16string_view mark = std::u16string_view(name).substr(prefix.size());
      if (IsStaleRunMark(mark) && GetFileKind(path) == EFileKind::Folder) RemoveFolderTree(path);
    }
  }
}

void CRunFolder::Remove() {
  if (m_path.empty()) return;
  if (GetWorkFolder() == m_path) SetWorkFolder({});
  RemoveFolderTree(std::u16string_view(m_path).substr(0, m_path.size() - 1));
  m_path.clear();
}

}  // namespace tolvane
