#include "ui/DlgSettings.h"

#include "platform/Wide_win.h"
#include "ui/Resource.h"

namespace tolvane {

CDlgSettings::CDlgSettings(SSettings settings) : CDialog(IDD_SETTINGS), m_settings(std::move(settings)) {}

void CDlgSettings::OnInitDialog() {
  GetItem(IDC_SETTINGS_PREFIX).SetText(m_settings.prefix);
  const CWnd rules = GetItem(IDC_SETTINGS_RULES);
  for (const std::u16string_view note : {kExactRulesNote, kStandardRulesNote})
    rules.Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ToWide(note).c_str()));
  rules.Send(CB_SETCURSEL, m_settings.rules == ERules::Exact ? 0 : 1);
}

void CDlgSettings::OnOk() {
  std::u16string prefix = GetItem(IDC_SETTINGS_PREFIX).GetText();
  if (const auto complaint = CheckPrefix(prefix)) {
    ShowMessage(*complaint);
    SendMessageW(m_window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetItem(IDC_SETTINGS_PREFIX).GetHandle()),
                 TRUE);
    return;
  }
  m_settings.prefix = std::move(prefix);
  m_settings.rules = GetItem(IDC_SETTINGS_RULES).Send(CB_GETCURSEL) == 0 ? ERules::Exact : ERules::Standard;
  CDialog::OnOk();
}

}  // namespace tolvane
