#include "ui/ViewParts.h"

#include <windows.h>
// After windows.h, whose types it needs.
#include <commctrl.h>

#include <string>

#include "ui/Resource.h"
#include "ui/ViewControls.h"
#include "ui/win/DarkParts.h"
#include "ui/win/Theme.h"

namespace tolvane {

bool SViewParts::Create(HWND view) {
  for (const SControl& control : GetViewControls()) {
    bool isCreated = true;
    switch (control.identifier) {
      case IDC_FILE:
        isCreated = file.Create(view, IDC_FILE, EEditForm::LineToType);
        break;
      case IDC_TEMPLATE_FILE:
        isCreated = templateFile.Create(view, IDC_TEMPLATE_FILE, EEditForm::LineToType);
        break;
      case IDC_OUTPUT:
        isCreated = output.Create(view, IDC_OUTPUT, EEditForm::Line);
        break;
      case IDC_SUMMARY:
        isCreated = summary.Create(view, IDC_SUMMARY, EEditForm::Lines);
        break;
      case IDC_LOG:
        isCreated = log.CreatePane(view, IDC_LOG);
        break;
      case IDC_MODE_STANDARD:
        isCreated = standardMode.Create(view, IDC_MODE_STANDARD);
        break;
      case IDC_MODE_TEMPLATE:
        isCreated = advanceMode.Create(view, IDC_MODE_TEMPLATE);
        break;
      case IDC_PROGRESS:
        isCreated = progress.Create(view, IDC_PROGRESS);
        break;
      case IDC_TREE:
        isCreated = tree.Create(view, IDC_TREE);
        break;
      case IDC_MAP:
        isCreated = map.Create(view, IDC_MAP, [view](const std::u16string& text) {
          CWnd(view).GetItem(IDC_MAP_NOTE).SetText(text);
        });
        break;
      case IDC_FIND:
      case IDC_RECORDS:
      case IDC_CELL:
        isCreated = records.CreateControl(view, control.identifier);
        break;
      default:
        isCreated = CreateStandardControl(view, control);
        break;
    }
    if (!isCreated) return false;
  }
  CWnd(view).GetItem(IDC_MODE_STANDARD_TEXT).SetText(kStandardModeText);
  CWnd(view).GetItem(IDC_MODE_TEMPLATE_TEXT).SetText(kTemplateModeText);
  standardMode.Choose(true);
  recentFiles.Attach(GetDlgItem(view, IDC_RECENT_LIST));
  return true;
}

void SViewParts::ApplyTheme(HWND view) const {
  for (const SControl& control : GetViewControls())
    CTheme::Get().ApplyToControl(GetDlgItem(view, static_cast<int>(control.identifier)));
  ColourTree(tree.GetHandle());
  ColourList(GetDlgItem(view, IDC_RECORDS));
  ColourBar(progress.GetHandle());
  ColourBar(GetDlgItem(view, IDC_OVERALL));
  RedrawWindow(view, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

void SViewParts::ApplyFonts(HWND view, const SFonts& fonts, UINT step) {
  for (const SControl& control : GetViewControls()) {
    const CFont* font = &fonts.message;
    if (control.face == EFace::Title) font = &fonts.title;
    if (control.face == EFace::Log) font = &fonts.log;
    if (control.face == EFace::Bold || control.identifier == step) font = &fonts.bold;
    CWnd(view).GetItem(control.identifier).SetFont(font->GetHandle());
  }
}

}  // namespace tolvane
