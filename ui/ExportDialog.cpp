#include "ui/ExportDialog.h"

#include "app/StartChoice.h"
#include "platform/Files.h"
#include "platform/Wide_win.h"
#include "ui/Resource.h"
#include "ui/WindowDialogs.h"

namespace tolvane {

CExportDialog::CExportDialog(const CRepairWorkflow& workflow, std::u16string table)
    : CDialog(IDD_EXPORT), m_table(std::move(table)), m_choice(workflow.OfferExport(m_table)) {}

void CExportDialog::OnInitDialog() {
  const auto add = [this](UINT list, std::u16string_view text) {
    GetItem(list).Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ToWide(text).c_str()));
  };
  add(IDC_EXPORT_TABLES, kAllTables);
  if (!m_table.empty()) add(IDC_EXPORT_TABLES, m_table);
  for (const SExportForm& form : GetExportForms()) add(IDC_EXPORT_FORM, form.caption);
  GetItem(IDC_EXPORT_TABLES).Send(CB_SETCURSEL, m_table.empty() ? 0 : 1);
  GetItem(IDC_EXPORT_FORM).Send(CB_SETCURSEL, 0);
  TakeChoice();
}

// The place follows the choice, until the user names one.
void CExportDialog::TakeChoice() {
  const bool isOwnPath = !m_choice.path.empty() && m_choice.path != DefaultExportPath(m_choice);
  m_choice.table = GetItem(IDC_EXPORT_TABLES).Send(CB_GETCURSEL) > 0 ? m_table : std::u16string();
  m_choice.form = static_cast<size_t>(GetItem(IDC_EXPORT_FORM).Send(CB_GETCURSEL));
  GetItem(IDC_EXPORT_NOTE).SetText(m_choice.GetForm().note);
  GetItem(IDC_EXPORT_PLACE_LABEL).SetText(m_choice.IsFolder() ? u"Into the &folder:" : u"To the &file:");
  if (isOwnPath) return;
  m_choice.path = DefaultExportPath(m_choice);
  GetItem(IDC_EXPORT_PLACE).SetText(m_choice.path);
}

void CExportDialog::Browse() {
  CWindowDialogs dialogs(m_window);
  const std::u16string path = m_choice.IsFolder()
                                  ? dialogs.ChooseFolder({.title = u"Export into the folder",
                                                          .folder = std::u16string(FolderOf(m_choice.path))})
                                  : dialogs.ChooseSaveFile(AskForExportFile(m_choice));
  if (path.empty()) return;
  if (!m_choice.IsFolder()) m_choice.replaced = path;
  GetItem(IDC_EXPORT_PLACE).SetText(path);
}

void CExportDialog::OnCommand(UINT identifier, UINT notification) {
  switch (identifier) {
    case IDC_EXPORT_TABLES:
    case IDC_EXPORT_FORM:
      if (notification == CBN_SELCHANGE) TakeChoice();
      return;
    case IDC_EXPORT_PLACE:
      if (notification == EN_CHANGE) m_choice.path = ReadTypedPath(GetItem(identifier).GetText());
      return;
    case IDC_EXPORT_BROWSE:
      return Browse();
    default:
      return;
  }
}

void CExportDialog::OnOk() {
  if (const auto complaint = CheckExportChoice(m_choice)) return ShowMessage(*complaint);
  m_choice.path = GetAbsolutePath(m_choice.path);
  CDialog::OnOk();
}

}  // namespace tolvane
