#include "ui/DlgSettings.h"

#include "platform/Wide_win.h"
#include "ui/Resource.h"

namespace tolvane {

CDlgSettings::CDlgSettings(SSettings settings)
    : CDialog(IDD_SETTINGS), m_settings(std::move(settings)), m_engines(FindInstalledEngines()) {}

void CDlgSettings::OnInitDialog() {
  GetItem(IDC_SETTINGS_PREFIX).SetText(m_settings.prefix);
  const CWnd rules = GetItem(IDC_SETTINGS_RULES);
  for (const std::u16string_view note : {kExactRulesNote, kStandardRulesNote})
    rules.Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ToWide(note).c_str()));
  rules.Send(CB_SETCURSEL, m_settings.rules == ERules::Exact ? 0 : 1);
  ShowEngines();
}

// The installed one is offered where there is one; otherwise the reason stands below.
void CDlgSettings::ShowEngines() {
  const CWnd engine = GetItem(IDC_SETTINGS_ENGINE);
  const auto add = [&engine](std::u16string_view note) {
    engine.Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ToWide(note).c_str()));
  };
  add(kOwnEngineNote);
  for (const SInstalledEngine& installed : m_engines.engines)
    if (installed.problem.empty()) {
      add(std::u16string(kInstalledEngineNote) + installed.className + u", version " + installed.version);
      break;
    }
  engine.Send(CB_SETCURSEL, m_settings.usesInstalledEngine && m_engines.IsUsable() ? 1 : 0);
  if (!m_engines.IsUsable()) GetItem(IDC_SETTINGS_ENGINE_NOTE).SetText(m_engines.problem);
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
  m_settings.usesInstalledEngine = GetItem(IDC_SETTINGS_ENGINE).Send(CB_GETCURSEL) == 1;
  CDialog::OnOk();
}

}  // namespace tolvane
