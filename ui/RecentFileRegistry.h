// The list of recent files in the user's registry.
#pragma once

#include "app/RecentFiles.h"

namespace tolvane {

class CRecentFileRegistry : public CRecentFileStore {
 public:
  // `maker` is the key below "Software" under which the program's own key lies.
  void SetKey(std::u16string_view maker);
  std::vector<std::u16string> Load() override;
  void Save(const std::vector<std::u16string>& paths) override;

 private:
  std::wstring m_key;
};

}  // namespace tolvane
