// Paths of the temporary files, and the folders on the way to them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tolvane {

class CFileNameManager {
 public:
  // `folder` is the work folder of one run, with its separator at the end.
  explicit CFileNameManager(std::u16string folder) : m_folder(std::move(folder)) {}

  [[nodiscard]] const std::u16string& GetFolder() const { return m_folder; }
  // The work folder followed by the key in decimal.
  [[nodiscard]] std::u16string GetDataFilePath(uint64_t key) const;
  [[nodiscard]] std::u16string GetOleListPath() const;
  // Of the file that small tables share.
  [[nodiscard]] std::u16string GetSharedFilePath() const;
  // "ole_temp_<number>.Ole" in the work folder.
  [[nodiscard]] std::u16string GetOleFilePath(int32_t number) const;
  // Creates each missing folder along `path`; an existing one is no error. A folder that cannot be created
  // shows when a file is created in it.
  static void CreateFolderPath(std::u16string_view path);

 private:
  std::u16string m_folder;
  std::u16string m_tempName = u"ozn_aqf_xrj_196_temp";  // in no path
};

}  // namespace tolvane
