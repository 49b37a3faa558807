#include "ui/RecordCopy.h"

#include <windows.h>
// After windows.h, whose types it needs.
#include <commctrl.h>

namespace tolvane {

namespace {

// A limit to what is copied at once, in units.
constexpr size_t kMostUnits = 32u << 20;

}  // namespace

void CRecordCopy::Begin(HWND list, const CRecordStore& records, size_t columns, std::u16string headings) {
  m_list = list;
  m_records = &records;
  m_generation = records.GetGeneration();
  m_columns = columns;
  m_row = -1;
  const LRESULT rows = SendMessageW(list, LVM_GETITEMCOUNT, 0, 0);
  m_allRows = SendMessageW(list, LVM_GETSELECTEDCOUNT, 0, 0) == rows ? rows : 0;
  m_rows = 0;
  m_text = std::move(headings);
  m_state = EState::Copying;
}

// To ask the list for each of many rows takes longer than to copy it.
LRESULT CRecordCopy::NextRow() const {
  if (m_allRows > 0) return m_row + 1 < m_allRows ? m_row + 1 : -1;
  return SendMessageW(m_list, LVM_GETNEXTITEM, static_cast<WPARAM>(m_row), LVNI_SELECTED);
}

CRecordCopy::EState CRecordCopy::Continue(ULONGLONG end) {
  if (m_state != EState::Copying) return m_state;
  if (m_generation != m_records->GetGeneration()) return m_state = EState::Idle;
  do {
    if (m_text.size() > kMostUnits) return m_state = EState::PartDone;
    m_row = NextRow();
    if (m_row < 0) return m_state = EState::Done;
    m_records->AppendLine(static_cast<size_t>(m_row), m_columns, m_text);
    m_text += u"\r\n";
    ++m_rows;
  } while (GetTickCount64() < end);
  return m_state;
}

}  // namespace tolvane
