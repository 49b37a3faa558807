// One value in full, however long.
#pragma once

#include <string>

#include "ui/ReadOnlyEdit.h"
#include "ui/win/Dialog.h"

namespace tolvane {

class CCellDialog : public CDialog {
 public:
  CCellDialog(std::u16string caption, std::u16string text);

 protected:
  void OnInitDialog() override;
  void OnSize() override;
  void OnCommand(UINT identifier, UINT notification) override;

 private:
  std::u16string m_caption;
  std::u16string m_text;
  CReadOnlyEdit m_edit;
};

}  // namespace tolvane
