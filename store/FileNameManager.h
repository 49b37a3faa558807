// Paths of the temporary files, and the folders on the way to them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tolvane {

class CFileNameManager {
 public:
  // The work folder followed by the key in decimal.
  [[nodiscard]] std::u16string GetDataFilePath(uint64_t key) const;
  [[nodiscard]] std::u16string GetOleListPath() const;
  // "ole_temp_<number>.Ole" in the work folder.
  [[nodiscard]] std::u16string GetOleFilePath(int32_t number) const;
  // Creates each missing folder along `path`; an existing one is no error. A folder that cannot be created
  // shows when a file is created in it.
  void CreateFolderPath(std::u16string_view path) const;

 private:
  std::u16string m_tempName = u"ozn_aqf_xrj_196_temp";  // in no path
};

}  // namespace tolvane
