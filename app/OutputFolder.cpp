#include "app/OutputFolder.h"

#include <utility>
#include <vector>

#include "app/OutputFile.h"
#include "platform/Files.h"

namespace tolvane {

namespace {

// Folder by folder, without recursion; each folder is left empty.
bool MoveContent(const std::u16string& from, const std::u16string& to) {
  std::vector<std::pair<std::u16string, std::u16string>> folders{{from, to}};
  while (!folders.empty()) {
    const auto [source, target] = std::move(folders.back());
    folders.pop_back();
    if (GetFileKind(target) != EFileKind::Folder && !CreateFolder(target)) return false;
    std::vector<std::u16string> names;
    if (!ReadFolder(source, names)) return false;
    for (const std::u16string& name : names) {
      std::u16string inner = source + kPathSeparator + name, there = target + kPathSeparator + name;
      if (GetFileKind(inner) == EFileKind::Folder)
        folders.emplace_back(std::move(inner), std::move(there));
      else if (!RenameFile(inner, there))
        return false;
    }
  }
  return true;
}

}  // namespace

COutputFolder::~COutputFolder() {
  Discard();
}

void COutputFolder::Reserve(std::u16string path) {
  Discard();
  m_path = std::move(path);
  RemoveStalePartials(m_path);
  m_partialPath = MakePartialPath(m_path);
}

bool COutputFolder::Complete() {
  if (GetFileKind(m_partialPath) != EFileKind::Folder) return true;
  if (!SyncFolderTree(m_partialPath)) return false;
  if (!FileExists(m_path)) {
    if (!RenameFile(m_partialPath, m_path)) return false;
    m_partialPath.clear();
    return true;
  }
  return MoveContent(m_partialPath, m_path);
}

void COutputFolder::Discard() {
  if (!m_partialPath.empty() && GetFileKind(m_partialPath) == EFileKind::Folder)
    RemoveFolderTree(m_partialPath);
  m_partialPath.clear();
}

}  // namespace tolvane
