// The settings: the rules of the next repair, and the prefix of file names.
#pragma once

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
  SSettings m_settings;
};

}  // namespace tolvane
