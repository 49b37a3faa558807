#include "app/RecentFiles.h"

#include "app/TextSearch.h"
#include "platform/Files.h"

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

std::u16string ShortenPath(std::u16string_view path, const std::function<bool(std::u16string_view)>& fits) {
  if (fits(path)) return std::u16string(path);
  const std::u16string_view folder = FolderOf(path);
  const std::u16string_view name = path.substr(folder.size());
  // The last of these that fits: `removed` units of the folder's middle are gone.
  std::u16string shown;
  size_t least = 1;
  size_t most = folder.size();
  while (least <= most) {
    const size_t removed = least + (most - least) / 2;
    const size_t left = (folder.size() - removed) / 2;
    std::u16string shorter(folder.substr(0, left));
    ((shorter += u"...") += folder.substr(left + removed)) += name;
    if (fits(shorter)) {
      shown = std::move(shorter);
      most = removed - 1;
    } else {
      least = removed + 1;
    }
  }
  return shown.empty() ? std::u16string(name) : shown;
}

}  // namespace tolvane
