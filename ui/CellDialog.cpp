#include "ui/CellDialog.h"

#include "platform/Wide_win.h"
#include "ui/Clipboard.h"
#include "ui/Resource.h"
#include "ui/win/Area.h"
#include "ui/win/Dpi.h"

namespace tolvane {

namespace {

constexpr int kMargin = 12;
constexpr int kGap = 8;
constexpr int kButtonWidth = 88;
constexpr int kButtonHeight = 26;

}  // namespace

CCellDialog::CCellDialog(std::u16string caption, std::u16string text, const CFont& font)
    : CDialog(IDD_CELL), m_caption(std::move(caption)), m_text(std::move(text)), m_font(font) {}

void CCellDialog::OnInitDialog() {
  SetText(m_caption);
  // A window that can be sized shows an icon, and the system's own is nobody's.
  Send(WM_SETICON, ICON_SMALL,
       reinterpret_cast<LPARAM>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_MAINFRAME),
                                           IMAGE_ICON, GetSystemMetrics(SM_CXSMICON),
                                           GetSystemMetrics(SM_CYSMICON), LR_SHARED)));
  m_edit.Attach(GetDlgItem(m_window, IDC_CELL_TEXT));
  m_edit.SetFont(m_font.GetHandle());
  m_edit.Send(EM_SETLIMITTEXT, 0);
  SetWindowTextW(m_edit.GetHandle(), ToWide(ToEditText(m_text)).c_str());
  OnSize();
}

void CCellDialog::OnSize() {
  const CDpi dpi = CDpi::Of(m_window);
  CArea area = CArea(GetClientArea()).Inset(dpi.Scale(kMargin), dpi.Scale(kMargin));
  CArea buttons = area.CutBottom(dpi.Scale(kButtonHeight), dpi.Scale(kGap));
  CMover mover(m_window);
  mover.Place(IDCANCEL, buttons.CutRight(dpi.Scale(kButtonWidth), dpi.Scale(kGap)));
  mover.Place(IDC_CELL_COPY, buttons.CutRight(dpi.Scale(kButtonWidth)));
  mover.Place(IDC_CELL_TEXT, area);
}

void CCellDialog::OnCommand(UINT identifier, UINT) {
  if (identifier == IDC_CELL_COPY) CopyTextToClipboard(m_window, m_text);
}

}  // namespace tolvane
