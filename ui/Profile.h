// What the program remembers in the user's registry between two runs. Only a convenience: what cannot be
// written is forgotten.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/RecentFiles.h"
#include "app/Settings.h"
#include "app/WindowPlace.h"

namespace tolvane {

class CProfile : public CRecentFileStore {
 public:
  // `maker` is the key below "Software" under which the program's own key lies.
  void SetKey(std::u16string_view maker);

  // CRecentFileStore
  std::vector<std::u16string> Load() override;
  void Save(const std::vector<std::u16string>& paths) override;

  [[nodiscard]] std::optional<SWindowPlace> LoadPlace() const;
  void SavePlace(const SWindowPlace& place) const;
  // All but the prefix, which is as in `settings`.
  [[nodiscard]] SSettings LoadSettings(SSettings settings) const;
  void SaveSettings(const SSettings& settings) const;

 private:
  std::wstring m_key;
};

}  // namespace tolvane
