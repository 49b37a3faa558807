#include "ui/WindowDialogs.h"

#include <windows.h>
// After windows.h, whose types these need.
#include <commdlg.h>
#include <shlobj.h>

#include <algorithm>
#include <string>

#include "platform/Wide_win.h"
#include "ui/win/Dialog.h"

namespace tolvane {

namespace {

constexpr size_t kLongestPath = 32768;
constexpr DWORD kFlags =
    OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST | OFN_ENABLESIZING;

using AskFunction = BOOL(WINAPI*)(LPOPENFILENAMEW);

std::u16string AskForPath(HWND owner, const SFileQuestion& question, DWORD flags, AskFunction ask) {
  std::wstring filter = ToWide(question.filter);
  std::ranges::replace(filter, L'|', L'\0');
  const std::wstring title = ToWide(question.title);
  const std::wstring extension = ToWide(question.defaultExtension);
  const std::wstring folder = ToWide(question.folder);
  std::wstring path = ToWide(question.defaultName);
  path.resize(kLongestPath);
  OPENFILENAMEW dialog{};
  dialog.lStructSize = sizeof(dialog);
  dialog.hwndOwner = owner;
  dialog.lpstrFilter = filter.c_str();
  dialog.lpstrFile = path.data();
  dialog.nMaxFile = static_cast<DWORD>(path.size());
  dialog.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
  dialog.lpstrTitle = title.empty() ? nullptr : title.c_str();
  dialog.lpstrDefExt = extension.empty() ? nullptr : extension.c_str();
  dialog.Flags = flags;
  return ask(&dialog) ? FromWide(path.c_str()) : std::u16string();
}

int CALLBACK SelectFirstFolder(HWND window, UINT message, LPARAM, LPARAM folder) {
  if (message == BFFM_INITIALIZED) SendMessageW(window, BFFM_SETSELECTIONW, TRUE, folder);
  return 0;
}

}  // namespace

void CWindowDialogs::ShowMessage(std::u16string_view text, EMessageIcon icon) {
  UINT style = MB_OK;
  if (icon == EMessageIcon::Information) style |= MB_ICONINFORMATION;
  if (icon == EMessageIcon::Warning) style |= MB_ICONWARNING;
  MessageBoxW(m_owner, ToWide(text).c_str(), kProgramName, style);
}

bool CWindowDialogs::AskYesNo(std::u16string_view text) {
  return MessageBoxW(m_owner, ToWide(text).c_str(), kProgramName, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

std::u16string CWindowDialogs::ChooseOpenFile(const SFileQuestion& question) {
  return AskForPath(m_owner, question, kFlags | OFN_FILEMUSTEXIST, GetOpenFileNameW);
}

std::u16string CWindowDialogs::ChooseSaveFile(const SFileQuestion& question) {
  return AskForPath(m_owner, question, kFlags | OFN_OVERWRITEPROMPT, GetSaveFileNameW);
}

std::u16string CWindowDialogs::ChooseFolder(const SFileQuestion& question) {
  const std::wstring title = ToWide(question.title);
  BROWSEINFOW dialog{};
  dialog.hwndOwner = m_owner;
  dialog.lpszTitle = title.c_str();
  dialog.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
  const std::wstring folder = ToWide(question.folder);
  dialog.lParam = reinterpret_cast<LPARAM>(folder.c_str());
  dialog.lpfn = SelectFirstFolder;
  const PIDLIST_ABSOLUTE chosen = SHBrowseForFolderW(&dialog);
  if (!chosen) return {};
  wchar_t path[MAX_PATH] = L"";
  const bool isPath = SHGetPathFromIDListW(chosen, path) != FALSE;
  CoTaskMemFree(chosen);
  return isPath ? FromWide(path) : std::u16string();
}

}  // namespace tolvane
