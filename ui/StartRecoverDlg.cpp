#include "ui/StartRecoverDlg.h"

#include "ui/Resource.h"
#include "ui/WindowDialogs.h"

namespace tolvane {

CStartRecoverDlg::CStartRecoverDlg(SStartChoice choice)
    : CDialog(IDD_START_RECOVER), m_choice(std::move(choice)) {}

void CStartRecoverDlg::OnInitDialog() {
  GetItem(IDC_START_STANDARD_TEXT).SetText(kStandardModeText);
  GetItem(IDC_START_TEMPLATE_TEXT).SetText(kTemplateModeText);
  CheckRadioButton(m_window, IDC_START_STANDARD, IDC_START_TEMPLATE,
                   m_choice.isTemplateMode ? IDC_START_TEMPLATE : IDC_START_STANDARD);
  ShowChoice();
}

void CStartRecoverDlg::ShowChoice() const {
  GetItem(IDC_START_FILE).SetText(m_choice.corruptedFile);
  GetItem(IDC_START_TEMPLATE_FILE).SetText(m_choice.templateFile);
  for (const UINT identifier : {IDC_START_TEMPLATE_LABEL, IDC_START_TEMPLATE_FILE, IDC_START_CHOOSE_TEMPLATE})
    GetItem(identifier).Show(m_choice.isTemplateMode);
}

// Paths can be typed and pasted.
void CStartRecoverDlg::OnCommand(UINT identifier, UINT notification) {
  switch (identifier) {
    case IDC_START_FILE:
    case IDC_START_TEMPLATE_FILE:
      if (notification == EN_CHANGE)
        (identifier == IDC_START_FILE ? m_choice.corruptedFile : m_choice.templateFile) =
            ReadTypedPath(GetItem(identifier).GetText());
      return;
    case IDC_START_STANDARD:
    case IDC_START_TEMPLATE:
      m_choice.isTemplateMode = identifier == IDC_START_TEMPLATE;
      break;
    case IDC_START_CHOOSE_FILE:
      Ask(AskForCorruptedFile(EAskedFrom::StartDialog), m_choice.corruptedFile);
      break;
    case IDC_START_CHOOSE_TEMPLATE:
      Ask(AskForTemplateFile(EAskedFrom::StartDialog), m_choice.templateFile);
      break;
    default:
      return;
  }
  ShowChoice();
}

void CStartRecoverDlg::Ask(const SFileQuestion& question, std::u16string& path) {
  const std::u16string chosen = CWindowDialogs(m_window).ChooseOpenFile(question);
  if (!chosen.empty()) path = chosen;
}

void CStartRecoverDlg::OnOk() {
  if (const auto complaint = CheckStartChoice(m_choice))
    ShowMessage(*complaint);
  else
    CDialog::OnOk();
}

}  // namespace tolvane
