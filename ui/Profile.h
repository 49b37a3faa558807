// What the program remembers in the user's registry between two runs. Only a convenience: what cannot be
// written is forgotten.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/RecentFiles.h"
#include "app/WindowPlace.h"
#include "model/RecoveryRules.h"

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
  // Of the next repair.
  [[nodiscard]] ERules LoadRules() const;
  void SaveRules(ERules rules) const;

 private:
  std::wstring m_key;
};

}  // namespace tolvane
