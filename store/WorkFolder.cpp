#include "store/WorkFolder.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"
#include "store/FileNameManager.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kFolderName = u"TolvaneforAccess";
constexpr std::u16string_view kRunPrefix = u"run-";
constexpr std::u16string_view kHexDigits = u"0123456789abcdef";
constexpr size_t kRandomBytes = 8;

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

// The folders to try, in their order.
std::vector<std::u16string> BaseFolders(std::u16string_view baseFolder) {
  if (!baseFolder.empty()) return {WithSeparator(baseFolder)};
  return {FolderBesideProgram(), WithSeparator(GetUserCacheFolder() + std::u16string(kFolderName))};
}

std::u16string MakeRunName() {
  std::u16string name = std::u16string(kRunPrefix) + ToDecimal(uint64_t{GetProcessNumber()}) + u"-";
  const SGuidBytes random = MakeGuid();
  for (size_t i = 0; i < kRandomBytes; ++i) {
    // From the end: the front of a GUID may hold a clock.
    const uint8_t byte = random.bytes[sizeof(random.bytes) - 1 - i];
    name += kHexDigits[byte >> 4];
    name += kHexDigits[byte & 0x0F];
  }
  return name;
}

// The process number in a name that MakeRunName could have made.
std::optional<uint32_t> ProcessOfRunName(std::u16string_view name) {
  if (!name.starts_with(kRunPrefix)) return std::nullopt;
  name.remove_prefix(kRunPrefix.size());
  const size_t dash = name.find(u'-');
  if (dash == std::u16string_view::npos || dash == 0) return std::nullopt;
  const std::u16string_view random = name.substr(dash + 1);
  if (random.size() != 2 * kRandomBytes || random.find_first_not_of(kHexDigits) != std::u16string_view::npos)
    return std::nullopt;
  uint64_t process = 0;
  for (const char16_t unit : name.substr(0, dash)) {
    if (unit < u'0' || unit > u'9') return std::nullopt;
    process = process * 10 + (unit - u'0');
    if (process > UINT32_MAX) return std::nullopt;
  }
  return static_cast<uint32_t>(process);
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
  const std::vector<std::u16string> bases = BaseFolders(baseFolder);
  return std::any_of(bases.begin(), bases.end(), [this](const auto& base) { return CreateUnder(base); });
}

bool CRunFolder::CreateUnder(std::u16string_view baseFolder) {
  CFileNameManager().CreateFolderPath(baseFolder);
  const std::u16string path = std::u16string(baseFolder) + MakeRunName() + kPathSeparator;
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
  m_problem = std::u16string(baseFolder) + u": " + SystemMessage(error);
  return false;
}

void CRunFolder::RemoveStale(std::u16string_view baseFolder) {
  for (const std::u16string& base : BaseFolders(baseFolder)) {
    for (const std::u16string& name : ListFolder(base)) {
      const std::optional<uint32_t> process = ProcessOfRunName(name);
      const std::u16string path = base + name;
      if (process && !IsProcessAlive(*process) && GetFileKind(path) == EFileKind::Folder)
        RemoveFolderTree(path);
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
