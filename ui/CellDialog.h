// One value in full, however long.
#pragma once

#include <string>

#include "ui/ReadOnlyEdit.h"
#include "ui/win/Dialog.h"
#include "ui/win/Fonts.h"

namespace tolvane {

class CCellDialog : public CDialog {
 public:
  // The font must outlive the dialog.
  CCellDialog(std::u16string caption, std::u16string text, const CFont& font);

 protected:
  void OnInitDialog() override;
  void OnSize() override;
  void OnCommand(UINT identifier, UINT notification) override;

 private:
  std::u16string m_caption;
  std::u16string m_text;
  const CFont& m_font;
  CReadOnlyEdit m_edit;
};

}  // namespace tolvane
