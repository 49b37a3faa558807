#include "app/ResultPreview.h"

#include "app/ViewTexts.h"
#include "status/Status.h"

namespace tolvane {

namespace {

constexpr size_t kObjectBytes = 65536;  // of an OLE object that are shown

}  // namespace

bool CResultPreview::Remember(std::u16string_view item) {
  const bool isNew = !item.empty() && item != m_item;
  m_item = item;
  return isNew;
}

const CAccessTable* CResultPreview::FindTable(const CAccessData* data) const {
  if (!data) return nullptr;
  for (const auto& table : data->GetTables())
    if (table->name == m_item) return table.get();
  return nullptr;
}

void CResultPreview::Start(const CAccessData* data) {
  const CAccessTable* const table = FindTable(data);
  if (!table) return;
  m_records.SetTable(*table, *data);
  m_preview.Start(*table, *data, m_records);
}

void CResultPreview::Abort() {
  CPreviewThreadStatus& status = CPreviewThreadStatus::Instance();
  if (status.IsBusy()) {
    status.SetAbort(1);
    m_wait([&status] { return status.IsBusy(); });
  }
  m_preview.Join();
}

void CResultPreview::Clear() {
  m_records.Clear();
  m_view.RefreshRecords();
}

bool CResultPreview::IsObject(const CAccessData* data, size_t column) const {
  const CAccessTable* table = FindTable(data);
  return table && column < table->columns.GetCount() && table->columns.GetAt(column)->type == kTypeOle;
}

std::u16string CResultPreview::DescribeValue(const CAccessData* data, CRecordStore::SPlace place,
                                             size_t maxUnits) const {
  if (!IsObject(data, place.column)) return m_records.GetWholeCell(place.item, place.column, maxUnits);
  // Of a row without an object nothing is stored, and nothing shown.
  const bool isThere = !m_records.GetCell(place.item, place.column).empty();
  return isThere ? DescribeObject(m_records.GetObjectPlace(place.item, place.column), kObjectBytes)
                 : std::u16string();
}

}  // namespace tolvane
