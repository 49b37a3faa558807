// The settings: the rules of the next repair, how values are shown, the engine of the next save, and the
// prefix of file names.
#pragma once

#include <initializer_list>
#include <string_view>

#include "app/InstalledEngines.h"
#include "app/Settings.h"
#include "ui/win/Dialog.h"

namespace tolvane {

class CDlgSettings : public CDialog {
 public:
  explicit CDlgSettings(SSettings settings);
  [[nodiscard]] const SSettings& GetSettings() const { return m_settings; }

 protected:
  void OnInitDialog() override;
  void OnOk() override;

 private:
  void ShowEngines();
  // Of a list of two entries at most.
  void Offer(UINT list, std::initializer_list<std::u16string_view> notes) const;
  void Choose(UINT list, bool isSecond) const;
  [[nodiscard]] bool IsSecond(UINT list) const;

  SSettings m_settings;
  SInstalledEngines m_engines;
};

}  // namespace tolvane
