// The log pane: the growing text of a run, always at its end.
#pragma once

#include "app/LogText.h"
#include "ui/ReadOnlyEdit.h"

namespace tolvane {

class CLogEdit : public CReadOnlyEdit {
 public:
  // The same text again changes and scrolls nothing.
  void SetLogText(std::u16string_view text);
  void ClearLog();
  [[nodiscard]] const std::u16string& GetLogText() const { return m_text.Get(); }

 private:
  CLogText m_text;
};

// The log pane of the main window, with what users do with a log.
class CLogEditView : public CLogEdit {
 public:
  bool CreatePane(HWND parent, UINT identifier) { return Create(parent, identifier, EEditForm::Lines); }
  // The whole log, whatever is selected.
  [[nodiscard]] bool CopyLog() const;
  // As UTF-8, with `more` behind the log. What the system says on failure, else empty.
  [[nodiscard]] std::u16string SaveLog(std::u16string_view path, std::u16string_view more) const;
};

}  // namespace tolvane
