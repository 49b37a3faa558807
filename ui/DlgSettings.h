// The settings: the rules of the next repair, the engine of the next save, and the prefix of file names.
#pragma once

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

  SSettings m_settings;
  SInstalledEngines m_engines;
};

}  // namespace tolvane
