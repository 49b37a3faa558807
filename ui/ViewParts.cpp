#include "ui/ViewParts.h"

#include <windows.h>
// After windows.h, whose types it needs.
#include <commctrl.h>

#include <functional>
#include <map>
#include <string>

#include "ui/Resource.h"
#include "ui/ViewControls.h"
#include "ui/win/DarkParts.h"
#include "ui/win/Theme.h"

namespace tolvane {

bool SViewParts::Create(HWND view) {
  const auto tellOfMap = [view](const std::u16string& text) {
    CWnd(view).GetItem(IDC_MAP_NOTE).SetText(text);
  };
  const std::map<UINT, std::function<bool()>> own{
      {IDC_FILE, [&] { return file.Create(view, IDC_FILE, EEditForm::LineToType); }},
      {IDC_TEMPLATE_FILE,
       [&] { return templateFile.Create(view, IDC_TEMPLATE_FILE, EEditForm::LineToType); }},
      {IDC_OUTPUT, [&] { return output.Create(view, IDC_OUTPUT, EEditForm::Line); }},
      {IDC_SUMMARY, [&] { return summary.Create(view, IDC_SUMMARY, EEditForm::Lines); }},
      {IDC_LOG, [&] { return log.CreatePane(view, IDC_LOG); }},
      {IDC_MODE_STANDARD, [&] { return standardMode.Create(view, IDC_MODE_STANDARD); }},
      {IDC_MODE_TEMPLATE, [&] { return advanceMode.Create(view, IDC_MODE_TEMPLATE); }},
      {IDC_PROGRESS, [&] { return progress.Create(view, IDC_PROGRESS); }},
      {IDC_TREE, [&] { return tree.Create(view, IDC_TREE); }},
      {IDC_MAP, [&] { return map.Create(view, IDC_MAP, tellOfMap); }},
      {IDC_FIND, [&] { return records.CreateControl(view, IDC_FIND); }},
      {IDC_RECORDS, [&] { return records.CreateControl(view, IDC_RECORDS); }},
      {IDC_CELL, [&] { return records.CreateControl(view, IDC_CELL); }}};
  for (const SControl& control : GetViewControls()) {
    const auto part = own.find(control.identifier);
    if (!(part != own.end() ? part->second() : CreateStandardControl(view, control))) return false;
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
