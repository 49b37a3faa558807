#include "app/ResultView.h"

#include "app/ViewTexts.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "render/ExactText.h"
#include "status/Status.h"
#include "writer/AttachmentSource.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

constexpr size_t kObjectBytes = 65536;  // of an OLE object that are shown

}  // namespace

const CAccessData* CResultView::FindData() const {
  return m_job.IsRepairing() ? nullptr : m_job.GetManager().GetData();
}

const CAccessTable* CResultView::FindTable() const {
  const CAccessData* const data = FindData();
  return data ? data->GetTables().FindTable(m_item) : nullptr;
}

// --- the whole result ---

void CResultView::Show(const std::u16string& path) {
  m_item.clear();
  m_object.reset();
  if (const CAccessData* const data = FindData()) {
    m_objects.Load(*data);
    m_pages.Start(*data, path);
    m_view.SetTables(ListTables(*data));
    m_view.SetObjects(m_objects.GetItems());
  }
  ShowSummary();
}

void CResultView::Discard() {
  Abort();
  m_view.SetTables({});
  m_objects.Clear();
  m_object.reset();
  m_item.clear();
  ClearRecords();
  m_view.SetSummary({});
  m_view.SetOutputPath({});
}

void CResultView::Abort() {
  AbortPreview();
  m_pages.Stop();
}

void CResultView::AbortPreview() {
  CPreviewThreadStatus& status = CPreviewThreadStatus::Instance();
  if (status.IsBusy()) {
    status.SetAbort(1);
    m_wait([&status] { return status.IsBusy(); });
  }
  m_preview.Join();
}

void CResultView::ClearRecords() {
  m_texts.reset();
  m_records.Clear();
  m_view.RefreshRecords();
}

void CResultView::ShowSummary() {
  if (m_object) return m_view.SetSummary(m_objects.Describe(*m_object));
  if (m_item.empty() || m_item == kTreeRoot) return m_view.SetSummary(DescribeRepair(m_job.GetManager()));
  const CAccessTable* const table = FindTable();
  m_view.SetSummary(table ? DescribeTable(*table, *FindData()) : std::u16string());
}

// --- the tree ---

void CResultView::SelectItem(std::u16string_view name) {
  const bool isNew = !name.empty() && name != m_item;
  m_item = name;
  if (!isNew || m_job.IsRepairing()) return;
  m_object.reset();
  AbortPreview();
  ClearRecords();
  ShowSummary();
  if (const CAccessTable* const table = FindTable()) {
    m_records.SetTable(*table, *FindData());
    m_preview.Start(*table, *FindData(), m_records);
  }
}

void CResultView::SelectObject(size_t index) {
  if (m_job.IsRepairing()) return;
  AbortPreview();
  m_item.clear();
  ClearRecords();
  m_object = index;
  ShowSummary();
}

// --- single values ---

bool CResultView::IsObject(size_t column) const {
  const CAccessTable* table = FindTable();
  return table && column < table->columns.GetCount() && table->columns.GetAt(column)->type == kTypeOle;
}

CComplexValues* CResultView::FindValues(CRecordStore::SPlace place, int32_t& key) {
  const CAccessTable* const table = FindTable();
  if (!table || place.column >= table->columns.GetCount() ||
      table->columns.GetAt(place.column)->type != kTypeComplex)
    return nullptr;
  key = static_cast<int32_t>(LeadingInteger(m_records.GetStoredText(place.item, place.column)));
  if (!m_texts)
    m_texts = std::make_unique<CPreviewText>(*table, &FindData()->GetTables(), FindData()->source.pageSize,
                                             FindData()->GetRules(), m_own);
  CComplexValues* const values = key > 0 ? m_texts->GetValues(place.column) : nullptr;
  // Only the first record of a key has its values, and which one that is the preview has decided.
  return values && !values->IsShared(key) ? values : nullptr;
}

std::u16string CResultView::ListValues(CComplexValues& values, int32_t key) const {
  std::u16string text, item;
  uint64_t count = 0;
  values.ForEachItem(key, [&](const CComplexValues::SItem& value) {
    MakeExactText(value.value, item);
    m_local.Localise(value.value.type, item);
    text += u"\r\n" + ToGroupedDecimal(++count) + u". " + item;
    if (!value.date.isNull) {
      MakeExactText(value.date, item);
      m_local.Localise(value.date.type, item);
      text += u" (" + item + u")";
    }
    if (value.place.path.empty()) return;
    CAttachmentSource file;
    const bool isThere = value.place.length > 0 && file.Open(value.place);
    text += isThere ? u" - " + Counted(file.GetLength(), u"byte", ToGroupedDecimal)
                    : std::u16string(u" - its bytes are lost");
  });
  return count == 0 ? text : Counted(count, u"value", ToGroupedDecimal) + u":" + text;
}

std::u16string CResultView::DescribeValue(CRecordStore::SPlace place, size_t maxUnits) {
  if (!FindData()) return {};
  int32_t key = 0;
  if (CComplexValues* const values = FindValues(place, key))
    return ListValues(*values, key).substr(0, maxUnits);
  if (!IsObject(place.column)) return m_records.GetWholeCell(place.item, place.column, maxUnits);
  // Of a row without an object nothing is stored, and nothing shown.
  const bool isThere = !m_records.GetCell(place.item, place.column).empty();
  return isThere ? DescribeObject(m_records.GetObjectPlace(place.item, place.column), kObjectBytes)
                 : std::u16string();
}

std::vector<SSavedObject> CResultView::ListObjects(CRecordStore::SPlace place) {
  std::vector<SSavedObject> objects;
  int32_t key = 0;
  if (CComplexValues* const values = FindValues(place, key)) {
    for (CComplexValues::SFile& file : values->ListFiles(key))
      if (file.place.length > 0) objects.push_back({std::move(file.place), std::move(file.name), true});
  } else if (IsObject(place.column)) {
    SObjectPlace object = m_records.GetObjectPlace(place.item, place.column);
    if (!object.path.empty() && FileExists(object.path))
      objects.push_back({std::move(object), m_item + u" row " + ToDecimal(place.item + 1) + u".bin", false});
  }
  return objects;
}

}  // namespace tolvane
