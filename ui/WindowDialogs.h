// The modal questions and messages, as boxes and dialogs of the system.
#pragma once

#include <windows.h>

#include "app/FrontEnd.h"

namespace tolvane {

class CWindowDialogs : public CDialogs {
 public:
  explicit CWindowDialogs(HWND owner = nullptr) : m_owner(owner) {}
  void SetOwner(HWND owner) { m_owner = owner; }

  void ShowMessage(std::u16string_view text, EMessageIcon icon) override;
  bool AskYesNo(std::u16string_view text) override;
  std::u16string ChooseOpenFile(const SFileQuestion& question) override;
  std::u16string ChooseSaveFile(const SFileQuestion& question) override;
  std::u16string ChooseFolder(const SFileQuestion& question) override;

 private:
  HWND m_owner;
};

}  // namespace tolvane
