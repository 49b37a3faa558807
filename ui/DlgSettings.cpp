#include "ui/DlgSettings.h"

#include <algorithm>
#include <string>

#include "format/ColumnType.h"
#include "platform/Wide_win.h"
#include "render/LocalText.h"
#include "ui/Resource.h"

namespace tolvane {

namespace {

// A date and a number as the lists would show them.
std::u16string MakeExample(const CLocalText& local) {
  std::u16string date = u"2026-12-31 18:30:00", number = u"1234.5";
  local.Localise(kTypeDate, date);
  local.Localise(kTypeDouble, number);
  return date + u"; " + number;
}

}  // namespace

CDlgSettings::CDlgSettings(SSettings settings)
    : CDialog(IDD_SETTINGS), m_settings(std::move(settings)), m_engines(FindInstalledEngines()) {}

void CDlgSettings::OnInitDialog() {
  GetItem(IDC_SETTINGS_PREFIX).SetText(m_settings.prefix);
  Offer(IDC_SETTINGS_RULES, {kExactRulesNote, kStandardRulesNote});
  Choose(IDC_SETTINGS_RULES, m_settings.rules != ERules::Exact);
  Offer(IDC_SETTINGS_VALUES, {std::u16string(kLocalValuesNote) + MakeExample(CLocalText(ReadLocaleFacts())),
                              std::u16string(kPlainValuesNote) + MakeExample({})});
  Choose(IDC_SETTINGS_VALUES, !m_settings.showsLocally);
  ShowEngines();
}

void CDlgSettings::Offer(UINT list, std::initializer_list<std::u16string_view> notes) const {
  for (const std::u16string_view note : notes)
    GetItem(list).Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ToWide(note).c_str()));
}

void CDlgSettings::Choose(UINT list, bool isSecond) const {
  GetItem(list).Send(CB_SETCURSEL, isSecond ? 1 : 0);
}

bool CDlgSettings::IsSecond(UINT list) const {
  return GetItem(list).Send(CB_GETCURSEL) == 1;
}

// The installed one is offered where there is one; otherwise the reason stands below.
void CDlgSettings::ShowEngines() {
  Offer(IDC_SETTINGS_ENGINE, {kOwnEngineNote});
  const auto installed = std::ranges::find_if(
      m_engines.engines, [](const SInstalledEngine& engine) { return engine.problem.empty(); });
  if (installed != m_engines.engines.end())
    Offer(IDC_SETTINGS_ENGINE,
          {std::u16string(kInstalledEngineNote) + installed->className + u", version " + installed->version});
  Choose(IDC_SETTINGS_ENGINE, m_settings.usesInstalledEngine && m_engines.IsUsable());
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
  m_settings.rules = IsSecond(IDC_SETTINGS_RULES) ? ERules::Standard : ERules::Exact;
  m_settings.showsLocally = !IsSecond(IDC_SETTINGS_VALUES);
  m_settings.usesInstalledEngine = IsSecond(IDC_SETTINGS_ENGINE);
  CDialog::OnOk();
}

}  // namespace tolvane
