#include "app/RecordStore.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>

#include "app/SpillFile.h"
#include "app/StoredRows.h"
#include "app/TextSearch.h"
#include "model/FlatTable.h"
#include "render/ComplexValues.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

bool IsNumber(uint8_t type) {
  return (type >= kTypeByte && type <= kTypeDouble) || type == kTypeDecimal;
}

uint8_t TypeOfValues(const CAccessColumn& column, const CAccessData& data) {
  if (column.type != kTypeComplex) return column.type;
  const auto flat = FindFlatTable(data.GetTables(), column, data.source.pageSize);
  return flat ? flat->table->columns.GetAt(flat->item)->type : column.type;
}

}  // namespace

// A row that is kept is the sequence of its cells that are not empty, each
//
//   0 u32 column   4 u32 units   8 the text in UTF-16
//
// and ends where the next row begins. The row's place in the table's data file, a u64, stands in front of
// them as the text of a column that no table has. Numbers are in the machine's own order: no other program
// reads the file. Of the other rows the place is all that is kept.
class CRecordStore::CState {
 public:
  struct SCell {
    uint32_t column = 0;
    uint32_t units = 0;
    uint64_t at = 0;  // of the text
  };
  static constexpr size_t kCellHead = 8;
  static constexpr uint32_t kPlaceColumn = UINT32_MAX;
  static constexpr uint32_t kPlaceUnits = sizeof(uint64_t) / sizeof(char16_t);

  mutable std::mutex mutex;
  std::vector<SColumn> columns;
  std::vector<uint64_t> rows;  // where each begins: in the kept cells, or in the data file
  mutable CSpillFile cells;
  bool isFull = false;  // the last row may lack cells, and no further one is taken
  uint32_t generation = 0;
  const CAccessTable* table = nullptr;
  const CAccessData* data = nullptr;
  mutable std::optional<CStoredRows> stored;  // of the table
  bool readsCells = false;
  bool showsLocally = false;
  CLocalText local;
  std::vector<uint8_t> valueTypes;  // by column, of a list that of its values; empty where texts stay plain

  [[nodiscard]] uint64_t EndOf(size_t item) const {
    return item + 1 < rows.size() ? rows[item + 1] : cells.GetLength();
  }
  // The cell at `position`, which is moved behind it; false at the end of the row.
  bool NextCell(uint64_t& position, uint64_t end, SCell& cell) const {
    std::array<uint8_t, kCellHead> head{};
    if (position + kCellHead > end || cells.Read(position, head) != kCellHead) return false;
    std::memcpy(&cell.column, head.data(), 4);
    std::memcpy(&cell.units, head.data() + 4, 4);
    cell.at = position + kCellHead;
    position = cell.at + uint64_t{2} * cell.units;
    return position <= end;
  }
  [[nodiscard]] std::u16string ReadText(const SCell& cell, size_t maxUnits) const {
    std::u16string text(std::min<size_t>(cell.units, maxUnits), u'\0');
    const size_t bytes = cells.Read(cell.at, {reinterpret_cast<uint8_t*>(text.data()), 2 * text.size()});
    text.resize(bytes / 2);
    return text;
  }
  void Append(uint32_t column, std::span<const uint8_t> text) {
    const std::array<uint32_t, 2> head{column, static_cast<uint32_t>(text.size() / sizeof(char16_t))};
    isFull = isFull || !cells.Append({reinterpret_cast<const uint8_t*>(head.data()), kCellHead}) ||
             !cells.Append(text);
  }
  [[nodiscard]] std::u16string FindCell(size_t item, uint32_t column, size_t maxUnits) const {
    if (item >= rows.size()) return {};
    if (readsCells) {
      const auto& row = stored->ReadRow(rows[item]);
      return column < row.size() ? row[column].substr(0, maxUnits) : std::u16string();
    }
    uint64_t position = rows[item];
    const uint64_t end = EndOf(item);
    for (SCell cell; NextCell(position, end, cell);)
      if (cell.column == column) return ReadText(cell, maxUnits);
    return {};
  }
  [[nodiscard]] std::optional<uint64_t> PlaceOf(size_t item) const {
    if (!stored || item >= rows.size()) return std::nullopt;
    if (readsCells) return rows[item];
    const std::u16string text = FindCell(item, kPlaceColumn, kPlaceUnits);
    if (text.size() != kPlaceUnits) return std::nullopt;
    uint64_t place = 0;
    std::memcpy(&place, text.data(), sizeof(place));
    return place;
  }
  [[nodiscard]] std::u16string ReadStored(size_t item, size_t column, size_t maxUnits) const {
    const auto place = PlaceOf(item);
    return place ? stored->ReadWhole(*place, column, maxUnits) : std::u16string();
  }
  [[nodiscard]] std::u16string ReadPlain(size_t item, size_t column, size_t maxUnits) const {
    std::u16string shown = FindCell(item, static_cast<uint32_t>(column), SIZE_MAX);
    if (stored && stored->IsShortened(column, shown)) return ReadStored(item, column, maxUnits);
    if (shown.size() > maxUnits) shown.resize(maxUnits);
    return shown;
  }
  void Localise(size_t column, std::u16string& text) const {
    if (column >= valueTypes.size()) return;
    if (table->columns.GetAt(column)->type == kTypeComplex)
      local.LocaliseEach(valueTypes[column], kBetweenItems, text);
    else
      local.Localise(valueTypes[column], text);
  }
  [[nodiscard]] bool Contains(size_t item, const SCell& cell, std::u16string_view folded) const {
    std::u16string text = ReadText(cell, SIZE_MAX);
    if (stored && stored->IsShortened(cell.column, text)) text = ReadStored(item, cell.column, SIZE_MAX);
    if (ContainsFolded(text, folded)) return true;
    if (!showsLocally) return false;
    Localise(cell.column, text);
    return ContainsFolded(text, folded);
  }
  // The first cell of the item from column `first` on that holds the text.
  [[nodiscard]] std::optional<size_t> FindInRow(size_t item, size_t first, std::u16string_view folded) const {
    if (readsCells) return stored->FindInRow(rows[item], first);
    uint64_t position = rows[item];
    const uint64_t end = EndOf(item);
    for (SCell cell; NextCell(position, end, cell);)
      if (cell.column >= first && cell.column != kPlaceColumn && Contains(item, cell, folded))
        return cell.column;
    return std::nullopt;
  }
};

CRecordStore::CRecordStore() : m_state(std::make_unique<CState>()) {}

CRecordStore::~CRecordStore() = default;

void CRecordStore::InsertColumn(size_t index, std::u16string_view heading, int32_t width) {
  const std::lock_guard lock(m_state->mutex);
  const CState& state = *m_state;
  auto& columns = m_state->columns;
  const CAccessColumn* const column =
      state.table && index < state.table->columns.GetCount() ? state.table->columns.GetAt(index) : nullptr;
  SColumn inserted{std::u16string(heading), width, column && IsNumber(column->type)};
  if (column) inserted.heading = SpelledName(*column, state.data->source);
  columns.insert(columns.begin() + static_cast<ptrdiff_t>(std::min(index, columns.size())),
                 std::move(inserted));
}

void CRecordStore::InsertItem(size_t) {
  const std::lock_guard lock(m_state->mutex);
  if (!m_state->isFull) m_state->rows.push_back(m_state->cells.GetLength());
}

void CRecordStore::SetItemText(size_t item, size_t column, std::u16string_view text) {
  const std::lock_guard lock(m_state->mutex);
  CState& state = *m_state;
  if (state.isFull || text.empty() || item + 1 != state.rows.size()) return;
  state.Append(static_cast<uint32_t>(column),
               {reinterpret_cast<const uint8_t*>(text.data()), 2 * text.size()});
}

void CRecordStore::SetItemPlace(size_t item, uint64_t place) {
  const std::lock_guard lock(m_state->mutex);
  CState& state = *m_state;
  if (item + 1 != state.rows.size()) return;
  if (state.readsCells)
    state.rows.back() = place;
  else
    state.Append(CState::kPlaceColumn, {reinterpret_cast<const uint8_t*>(&place), sizeof(place)});
}

bool CRecordStore::ReadsCells() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->readsCells;
}

void CRecordStore::SetTable(const CAccessTable& table, const CAccessData& data) {
  const std::lock_guard lock(m_state->mutex);
  CState& state = *m_state;
  state.stored.emplace(table, data);
  state.readsCells = state.stored->AreAlone();
  state.showsLocally = !data.GetRules().recordsHoldTexts;
  if (state.showsLocally)
    for (const CAccessColumn& column : table.columns) state.valueTypes.push_back(TypeOfValues(column, data));
  state.table = &table;
  state.data = &data;
}

void CRecordStore::SetLocalText(CLocalText local) {
  const std::lock_guard lock(m_state->mutex);
  m_state->local = std::move(local);
}

std::vector<CRecordStore::SColumn> CRecordStore::GetColumns() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->columns;
}

size_t CRecordStore::GetItemCount() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->rows.size();
}

std::u16string CRecordStore::GetCell(size_t item, size_t column, size_t maxUnits) const {
  const std::lock_guard lock(m_state->mutex);
  std::u16string text = m_state->FindCell(item, static_cast<uint32_t>(column), maxUnits);
  m_state->Localise(column, text);
  return text;
}

std::u16string CRecordStore::GetWholeCell(size_t item, size_t column, size_t maxUnits) const {
  const std::lock_guard lock(m_state->mutex);
  std::u16string text = m_state->ReadPlain(item, column, maxUnits);
  m_state->Localise(column, text);
  return text;
}

std::u16string CRecordStore::GetPlainCell(size_t item, size_t column, size_t maxUnits) const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->ReadPlain(item, column, maxUnits);
}

void CRecordStore::AppendLine(size_t item, size_t columns, std::u16string& line) const {
  const std::lock_guard lock(m_state->mutex);
  const CState& state = *m_state;
  const auto append = [&](size_t column, std::u16string_view shown) {
    AppendInOneLine(line, state.stored && state.stored->IsShortened(column, shown)
                              ? state.ReadStored(item, column, SIZE_MAX)
                              : shown);
  };
  size_t column = 0;
  if (state.readsCells && item < state.rows.size()) {
    const auto& cells = state.stored->ReadRow(state.rows[item]);
    for (; column < std::min(columns, cells.size()); ++column) {
      if (column > 0) line += u'\t';
      append(column, cells[column]);
    }
    return;
  }
  uint64_t position = item < state.rows.size() ? state.rows[item] : 0;
  const uint64_t end = item < state.rows.size() ? state.EndOf(item) : 0;
  for (CState::SCell cell; column < columns && state.NextCell(position, end, cell);) {
    if (cell.column >= columns) continue;
    for (; column < cell.column; ++column) line += u'\t';
    append(cell.column, state.ReadText(cell, SIZE_MAX));
  }
  for (; column + 1 < columns; ++column) line += u'\t';
}

void AppendInOneLine(std::u16string& line, std::u16string_view text) {
  for (const char16_t unit : text) line += unit < u' ' ? u' ' : unit;
}

std::u16string CRecordStore::GetStoredText(size_t item, size_t column) const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->ReadStored(item, column, SIZE_MAX);
}

SObjectPlace CRecordStore::GetObjectPlace(size_t item, size_t column) const {
  const std::lock_guard lock(m_state->mutex);
  const auto place = m_state->PlaceOf(item);
  return place ? m_state->stored->ReadObjectPlace(*place, column) : SObjectPlace();
}

uint64_t CRecordStore::GetRowsRead() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->readsCells ? m_state->stored->GetRowsRead() : 0;
}

void CRecordStore::Clear() {
  const std::lock_guard lock(m_state->mutex);
  CState& state = *m_state;
  state.rows = {};
  state.columns.clear();
  state.cells.Clear();
  state.isFull = false;
  state.table = nullptr;
  state.data = nullptr;
  state.stored.reset();
  state.readsCells = state.showsLocally = false;
  state.valueTypes.clear();
  ++state.generation;
}

uint32_t CRecordStore::GetGeneration() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->generation;
}

std::u16string CRecordStore::GetProblem() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->cells.GetProblem();
}

std::optional<CRecordStore::SPlace> CRecordStore::Find(std::u16string_view text, std::optional<SPlace> from,
                                                       size_t maxItems, SPlace& lookedTo) const {
  const std::lock_guard lock(m_state->mutex);
  const CState& state = *m_state;
  lookedTo = from.value_or(SPlace{});
  if (state.rows.empty() || text.empty()) return std::nullopt;
  const std::u16string folded = FoldCase(text);
  if (state.readsCells) state.stored->BeginFind(folded, state.local);
  const size_t last = state.columns.empty() ? 0 : state.columns.size() - 1;
  const bool isInside = from && from->item < state.rows.size();
  size_t item = isInside ? from->item : 0;
  size_t first = isInside ? from->column + 1 : 0;
  if (first > last && isInside) {
    item = (item + 1) % state.rows.size();
    first = 0;
  }
  for (size_t looked = 0; looked < maxItems; ++looked) {
    if (const auto column = state.FindInRow(item, first, folded)) return lookedTo = {item, *column};
    lookedTo = {item, last};
    item = (item + 1) % state.rows.size();
    first = 0;
  }
  return std::nullopt;
}

}  // namespace tolvane
