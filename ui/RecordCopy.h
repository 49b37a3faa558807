// Copying of the selected rows, a piece at a time so that the window stays alive and the user can stop it.
#pragma once

#include <windows.h>

#include <string>

#include "app/RecordStore.h"

namespace tolvane {

class CRecordCopy {
 public:
  enum class EState : uint8_t { Idle, Copying, Done, PartDone };

  // The rows that are selected in the list, below `headings`, which may be empty.
  void Begin(HWND list, const CRecordStore& records, size_t columns, std::u16string headings);
  void Cancel() { m_state = EState::Idle; }
  // Takes rows until that tick of the system. PartDone: there are more than a clipboard should hold.
  EState Continue(ULONGLONG end);
  [[nodiscard]] EState GetState() const { return m_state; }
  [[nodiscard]] size_t GetRowCount() const { return m_rows; }
  [[nodiscard]] const std::u16string& GetText() const { return m_text; }

 private:
  [[nodiscard]] LRESULT NextRow() const;

  HWND m_list = nullptr;
  const CRecordStore* m_records = nullptr;
  uint32_t m_generation = 0;
  size_t m_columns = 0;
  LRESULT m_row = -1;
  LRESULT m_allRows = 0;  // where every row is selected
  size_t m_rows = 0;
  std::u16string m_text;
  EState m_state = EState::Idle;
};

}  // namespace tolvane
