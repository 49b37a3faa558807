#include "app/RecentFiles.h"

#include "app/TextSearch.h"

namespace tolvane {

void CRecentFiles::Load() {
  m_paths.clear();
  for (const std::u16string& path : m_store.Load()) {
    if (path.empty() || m_paths.size() == kMaximum) continue;
    Erase(path);
    m_paths.push_back(path);
  }
}

void CRecentFiles::Add(std::u16string_view path) {
  if (path.empty()) return;
  const std::u16string added(path);  // `path` may be one of the list's own
  Erase(added);
  m_paths.insert(m_paths.begin(), added);
  if (m_paths.size() > kMaximum) m_paths.resize(kMaximum);
  m_store.Save(m_paths);
}

void CRecentFiles::Remove(std::u16string_view path) {
  Erase(std::u16string(path));
  m_store.Save(m_paths);
}

void CRecentFiles::Erase(std::u16string_view path) {
  std::erase_if(m_paths, [path](const std::u16string& other) { return FoldCase(other) == FoldCase(path); });
}

}  // namespace tolvane
