#include "app/ResultPreview.h"

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
  m_texts.reset();
  m_records.Clear();
  m_view.RefreshRecords();
}

bool CResultPreview::IsObject(const CAccessData* data, size_t column) const {
  const CAccessTable* table = FindTable(data);
  return table && column < table->columns.GetCount() && table->columns.GetAt(column)->type == kTypeOle;
}

CComplexValues* CResultPreview::FindValues(const CAccessData* data, CRecordStore::SPlace place,
                                           int32_t& key) {
  const CAccessTable* const table = FindTable(data);
  if (!table || place.column >= table->columns.GetCount() ||
      table->columns.GetAt(place.column)->type != kTypeComplex)
    return nullptr;
  key = static_cast<int32_t>(LeadingInteger(m_records.GetStoredText(place.item, place.column)));
  if (!m_texts)
    m_texts = std::make_unique<CPreviewText>(*table, &data->GetTables(), data->source.pageSize,
                                             data->GetRules(), m_own);
  CComplexValues* const values = key > 0 ? m_texts->GetValues(place.column) : nullptr;
  // Only the first record of a key has its values, and which one that is the preview has decided.
  return values && !values->IsShared(key) ? values : nullptr;
}

std::u16string CResultPreview::ListValues(CComplexValues& values, int32_t key) const {
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

std::u16string CResultPreview::DescribeValue(const CAccessData* data, CRecordStore::SPlace place,
                                             size_t maxUnits) {
  int32_t key = 0;
  if (CComplexValues* const values = FindValues(data, place, key))
    return ListValues(*values, key).substr(0, maxUnits);
  if (!IsObject(data, place.column)) return m_records.GetWholeCell(place.item, place.column, maxUnits);
  // Of a row without an object nothing is stored, and nothing shown.
  const bool isThere = !m_records.GetCell(place.item, place.column).empty();
  return isThere ? DescribeObject(m_records.GetObjectPlace(place.item, place.column), kObjectBytes)
                 : std::u16string();
}

std::vector<SSavedObject> CResultPreview::ListObjects(const CAccessData* data, CRecordStore::SPlace place) {
  std::vector<SSavedObject> objects;
  int32_t key = 0;
  if (CComplexValues* const values = FindValues(data, place, key)) {
    for (CComplexValues::SFile& file : values->ListFiles(key))
      if (file.place.length > 0) objects.push_back({std::move(file.place), std::move(file.name), true});
  } else if (IsObject(data, place.column)) {
    SObjectPlace object = m_records.GetObjectPlace(place.item, place.column);
    if (!object.path.empty() && FileExists(object.path))
      objects.push_back({std::move(object), m_item + u" row " + ToDecimal(place.item + 1) + u".bin", false});
  }
  return objects;
}

}  // namespace tolvane
