// The choice of the mode and the files in one dialog.
#pragma once

#include "app/FrontEnd.h"
#include "app/StartChoice.h"
#include "ui/win/Dialog.h"

namespace tolvane {

class CStartRecoverDlg : public CDialog {
 public:
  explicit CStartRecoverDlg(SStartChoice choice);
  [[nodiscard]] const SStartChoice& GetChoice() const { return m_choice; }

 protected:
  void OnInitDialog() override;
  void OnCommand(UINT identifier, UINT notification) override;
  void OnOk() override;

 private:
  void ShowChoice() const;
  void Ask(const SFileQuestion& question, std::u16string& path);

  SStartChoice m_choice;
};

}  // namespace tolvane
