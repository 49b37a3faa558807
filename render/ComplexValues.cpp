#include "render/ComplexValues.h"

#include <algorithm>

#include "format/TextKey.h"
#include "store/RowReader.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kFurtherItems = u"...";

// 0, which no record has, where there is none.
int32_t KeyOf(std::span<const uint8_t> record) {
  SValue value;
  if (!TakeValue({.type = kTypeLong}, record, value) || value.isNull) return 0;
  return std::max(GetLittle<int32_t>(value.bytes, 0), 0);
}

uint64_t HashOf(std::span<const uint8_t> bytes) {
  uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
  for (const uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3;
  return hash;
}

bool IsFileData(const CAccessColumn& column) {
  return FilePartOf(column) == kFilePartData;
}

}  // namespace

CComplexValues::CComplexValues(const CAccessTable& table, size_t column, const SFlatTable& flat,
                               const SRecoveryRules& rules)
    : m_flat(flat), m_texts(flat.table->columns, rules) {
  LoadKeys(table, column);
  LoadValues();
  m_seen = {};
  std::ranges::stable_sort(m_places, {}, &SPlace::key);
}

void CComplexValues::LoadKeys(const CAccessTable& table, size_t column) {
  CTableRowReader reader(table.columns.GetCount());
  std::vector<uint8_t> record;
  if (!reader.Open(table.GetRecords())) return;
  while (reader.BeginRow()) {
    for (size_t i = 0; i <= column; ++i) reader.ReadRecord(record);
    if (const int32_t key = KeyOf(record); key > 0) m_keys.push_back(key);
  }
  std::ranges::sort(m_keys);
  for (size_t i = 1; i < m_keys.size(); ++i)
    if (m_keys[i] == m_keys[i - 1]) m_sharedKeys.insert(m_keys[i]);
  m_keys.erase(std::unique(m_keys.begin(), m_keys.end()), m_keys.end());
}

void CComplexValues::LoadValues() {
  const CAccessColumnList& columns = m_flat.table->columns;
  CTableRowReader reader(columns.GetCount());
  if (!reader.Open(m_flat.table->GetRecords())) return;
  std::unordered_set<int32_t> numbers;
  std::vector<uint8_t> record, itemRecord;
  while (reader.BeginRow()) {
    const uint64_t row = reader.GetStream().GetPosition() - kCountBytes;
    int32_t key = 0, number = 0;
    for (size_t i = 0; i < columns.GetCount(); ++i) {
      reader.ReadRecord(i == m_flat.item ? itemRecord : record);
      if (i == m_flat.key) key = KeyOf(record);
      if (i == m_flat.number) number = KeyOf(record);
    }
    SValue item;
    if (!TakeValue(KindOf(*columns.GetAt(m_flat.item)), itemRecord, item)) item.isNull = true;
    const EFate fate = Judge(key, item);
    m_fates.push_back(fate);
    ++m_counts[static_cast<size_t>(fate)];
    if (fate != EFate::Attached) continue;
    m_places.push_back({key, row});
    m_areNumbersUnique = number > 0 && numbers.insert(number).second && m_areNumbersUnique;
  }
}

CComplexValues::EFate CComplexValues::Judge(int32_t key, const SValue& item) {
  if (!std::ranges::binary_search(m_keys, key)) return EFate::WithoutRecord;
  if (m_flat.kind == EFlatKind::Versions) return EFate::Attached;
  if (item.isNull) return EFate::Empty;
  std::vector<uint8_t> what;
  AppendLittle(what, key);
  if (!IsTextType(item.type) || !AppendJet4TextKey(item.bytes, EKeyOrder::Ascending, what))
    what.insert(what.end(), item.bytes.begin(), item.bytes.end());
  return m_seen.insert(HashOf(what)).second ? EFate::Attached : EFate::Repeated;
}

// Empty, too, when the data file cannot be read.
std::span<const CComplexValues::SPlace> CComplexValues::FindPlaces(int32_t key) {
  const auto first = std::ranges::lower_bound(m_places, key, {}, &SPlace::key);
  const auto last = std::find_if(first, m_places.end(), [key](const SPlace& a) { return a.key != key; });
  if (first == last || (IsShared(key) && !m_given.insert(key).second)) return {};
  if (!m_reader.IsOpen() && !m_reader.Open(m_flat.table->GetRecords())) return {};
  return {first, last};
}

void CComplexValues::MakeText(int32_t key, std::u16string& text) {
  text.clear();
  for (const SPlace& place : FindPlaces(key)) {
    uint32_t count = 0;
    if (!m_reader.Find(place.row, m_flat.item, count)) continue;
    m_texts.Read(m_reader.GetStream(), count, m_flat.item, m_item, kMostUnits + 1);
    if (!text.empty()) text += kBetweenItems;
    text += m_item;
    if (text.size() <= kMostUnits) continue;
    text.resize(kMostUnits);
    text += kFurtherItems;
    return;
  }
}

size_t CComplexValues::FindColumn(bool (*isWanted)(const CAccessColumn&)) const {
  const CAccessColumnList& columns = m_flat.table->columns;
  for (size_t i = 0; i < columns.GetCount(); ++i)
    if (isWanted(*columns.GetAt(i))) return i;
  return SFlatTable::kNoColumn;
}

// False, with a place of no bytes, where they are lost.
bool CComplexValues::ReadPlace(uint64_t row, size_t column, SObjectPlace& place) {
  uint32_t count = 0;
  if (column != SFlatTable::kNoColumn && m_reader.Find(row, column, count) &&
      m_texts.ReadPlace(m_reader.GetStream(), count, m_flat.table->GetObjectFilePath(), place))
    return true;
  place.length = 0;
  return false;
}

SValue CComplexValues::ReadValue(uint64_t row, size_t column, std::vector<uint8_t>& record) {
  SValue value;
  uint32_t count = 0;
  record.clear();
  if (column == SFlatTable::kNoColumn || !m_reader.Find(row, column, count) ||
      !m_reader.GetStream().ReadRecord(count, record) ||
      !TakeValue(KindOf(*m_flat.table->columns.GetAt(column)), record, value))
    return {};
  return value;
}

void CComplexValues::ForEachItem(int32_t key, const std::function<void(const SItem&)>& take) {
  const bool areFiles = m_flat.kind == EFlatKind::Files;
  const size_t data = areFiles ? FindColumn(IsFileData) : SFlatTable::kNoColumn;
  const size_t date = m_flat.kind == EFlatKind::Versions ? FindColumn(IsVersionDate) : SFlatTable::kNoColumn;
  std::vector<uint8_t> record, dateRecord;
  for (const SPlace& place : FindPlaces(key)) {
    SItem item{ReadValue(place.row, m_flat.item, record), ReadValue(place.row, date, dateRecord), {}};
    if (areFiles) ReadPlace(place.row, data, item.place);
    take(item);
  }
}

std::vector<CComplexValues::SFile> CComplexValues::ListFiles(int32_t key) {
  std::vector<SFile> files;
  const size_t data = m_flat.kind == EFlatKind::Files ? FindColumn(IsFileData) : SFlatTable::kNoColumn;
  if (data == SFlatTable::kNoColumn) return files;
  for (const SPlace& place : FindPlaces(key)) {
    SFile file;
    uint32_t count = 0;
    if (m_reader.Find(place.row, m_flat.item, count))
      m_texts.Read(m_reader.GetStream(), count, m_flat.item, file.name);
    ReadPlace(place.row, data, file.place);
    files.push_back(std::move(file));
  }
  return files;
}

}  // namespace tolvane
