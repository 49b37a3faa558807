#include "store/FileNameManager.h"

#include "platform/Files.h"
#include "platform/Text.h"

namespace tolvane {

std::u16string CFileNameManager::GetDataFilePath(uint64_t key) const {
  return m_folder + ToDecimal(key);
}

std::u16string CFileNameManager::GetOleListPath() const {
  return m_folder + u"OleFileNameData";
}

std::u16string CFileNameManager::GetSharedFilePath() const {
  return m_folder + u"small_tables";
}

std::u16string CFileNameManager::GetOleFilePath(int32_t number) const {
  return m_folder + u"ole_temp_" + ToDecimal(int64_t{number}) + u".Ole";
}

void CFileNameManager::CreateFolderPath(std::u16string_view path) {
  for (size_t end = 0; end < path.size(); ++end) {
    end = path.find(kPathSeparator, end);
    const std::u16string_view folder = path.substr(0, end);
    if (!folder.empty() && folder.back() != kPathSeparator) CreateFolder(folder);
    if (end == std::u16string_view::npos) return;
  }
}

}  // namespace tolvane
