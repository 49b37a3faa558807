#include "render/PreviewText.h"

#include "model/MSysComplexColumnsData.h"
#include "platform/Text.h"
#include "render/ExactText.h"
#include "store/ValueStream.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kMidnightSuffix = u"00:00:00";
constexpr size_t kDateUnits = 10;
constexpr size_t kMemoUnits = 100;  // a longer memo is cut
constexpr size_t kMemoUnitsShown = 90;
constexpr std::u16string_view kMemoMark = u"[Memo...]";
constexpr std::u16string_view kOtherComplexData = u"<Complex Data>";
// Complex types by the page of their template table.
constexpr int64_t kMultiValueLong = 27;
constexpr int64_t kMultiValueText = 37;
constexpr int64_t kAttachment = 39;
// In a sound file each key belongs to one row, so that all cells together show each value once. Where damage
// gives one key to many rows, cells are joined until this many times the flat table's text is shown, and some
// more.
constexpr uint64_t kTimesShown = 4;
constexpr uint64_t kUnitsShownAtLeast = 1'000'000;

}  // namespace

bool CPreviewText::Read(CValueStream& stream, uint32_t count, size_t column, std::u16string& text) {
  const bool isMemo = m_table.columns.GetAt(column)->type == kTypeMemo;
  if (!m_records.Read(stream, count, column, text, isMemo ? kMemoUnits + 1 : CValueStream::kAllUnits))
    return false;
  if (count == 0)
    text = kNullText;
  else
    Show(column, text);
  return true;
}

bool CPreviewText::IsShortened(const CAccessColumn& column, std::u16string_view shown) {
  return column.type == kTypeMemo && shown.size() == kMemoUnitsShown + kMemoMark.size() &&
         shown.ends_with(kMemoMark);
}

void CPreviewText::Show(size_t column, std::u16string& text) {
  switch (m_table.columns.GetAt(column)->type) {
    case kTypeDate:
      if (m_rules.recordsHoldTexts && text.size() > kDateUnits &&
          text.find(kMidnightSuffix) != std::u16string::npos)
        text.resize(kDateUnits);
      break;
    case kTypeOle:
      text = u"Ole";
      break;
    case kTypeMemo:
      if (text.size() > kMemoUnits) {
        text.resize(kMemoUnitsShown);
        text += kMemoMark;
      }
      break;
    case kTypeComplex:
      if (m_rules.complexValuesAreData)
        ShowValues(column, text);
      else
        ShowComplex(column, text);
      break;
    default:
      break;
  }
}

void CPreviewText::ShowComplex(size_t column, std::u16string& text) {
  const CMSysComplexColumnsData* const data = m_table.columns.GetAt(column)->GetComplexData();
  if (data == nullptr) {
    text = u"<Data>";
    return;
  }
  const int64_t kind = LeadingInteger(data->complexType);
  if (kind == kAttachment) {
    text = u"Attachement";
    return;
  }
  if (kind != kMultiValueLong && kind != kMultiValueText) {
    text = kOtherComplexData;
    return;
  }
  SFlatTable& flat = GetFlatTable(column);
  const auto found = flat.texts.find(text);
  if (found == flat.texts.end()) {
    text.clear();
  } else if (found->second.size() > flat.unitsLeft) {
    text = kOtherComplexData;
  } else {
    flat.unitsLeft -= found->second.size();
    text = found->second;
  }
}

CComplexValues* CPreviewText::GetValues(size_t column) {
  const auto [entry, isNew] = m_values.try_emplace(column);
  if (isNew && m_tables != nullptr && m_rules.complexValuesAreData)
    if (const auto flat = FindFlatTable(*m_tables, *m_table.columns.GetAt(column), m_pageSize))
      entry->second = std::make_unique<CComplexValues>(m_table, column, *flat, m_rules);
  return entry->second.get();
}

void CPreviewText::ShowValues(size_t column, std::u16string& text) {
  const auto key = static_cast<int32_t>(LeadingInteger(text));
  text.clear();
  if (CComplexValues* const values = GetValues(column); values != nullptr && key > 0)
    values->MakeText(key, text);
}

CPreviewText::SFlatTable& CPreviewText::GetFlatTable(size_t column) {
  const auto [entry, isNew] = m_flatTables.try_emplace(column);
  SFlatTable& flat = entry->second;
  if (!isNew || m_tables == nullptr) return flat;
  const int64_t page = LeadingInteger(m_table.columns.GetAt(column)->GetComplexData()->flatTable);
  if (page <= 0 || page > UINT32_MAX) return flat;
  const CAccessTable* const table = m_tables->FindTable(static_cast<uint64_t>(page) * m_pageSize);
  if (table == nullptr) return flat;
  CComplexParser parser;
  CRecordText records(table->columns, m_rules);
  parser.SetDecoder(&records);
  parser.SetLayout(MultiValueLayoutOf(*table));
  parser.SetPath(table->GetRecords());
  parser.Open();
  flat.unitsLeft = kTimesShown * parser.BuildTexts(flat.texts, m_preview) + kUnitsShownAtLeast;
  parser.Close();
  return flat;
}

}  // namespace tolvane
