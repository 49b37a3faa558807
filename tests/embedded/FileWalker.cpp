#include "tests/embedded/FileWalker.h"

#include <algorithm>

namespace tolvane::test {
namespace {

std::u16string Units(const std::string& bytes) {
  std::u16string text;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    text += static_cast<char16_t>(static_cast<uint8_t>(bytes[i]) | static_cast<uint8_t>(bytes[i + 1]) << 8);
  return text;
}

unsigned Little(const std::string& bytes, size_t at, size_t size) {
  unsigned value = 0;
  for (size_t i = size; i-- > 0;) value = value << 8 | static_cast<uint8_t>(bytes.at(at + i));
  return value;
}

std::string Number(uint64_t value) {
  return std::to_string(value);
}

constexpr SWalkedFormat kJet4 = {.page = 4096,
                                 .slots = 12,
                                 .count = 2,
                                 .unit = 2,
                                 .rowCount = 16,
                                 .type = 40,
                                 .maps = 55,
                                 .header = 63,
                                 .statistics = 12,
                                 .column = 25,
                                 .columnNumber = 5,
                                 .columnFlags = 15,
                                 .columnOffset = 21,
                                 .nameLength = 2,
                                 .index = 52,
                                 .indexColumns = 4,
                                 .logical = 28,
                                 .indexTail = 20,
                                 .indexPrefix = 24,
                                 .indexMask = 27,
                                 .indexEntries = 480,
                                 .chainedRow = 4076};
constexpr SWalkedFormat kJet3 = {.page = 2048,
                                 .slots = 8,
                                 .count = 1,
                                 .unit = 1,
                                 .rowCount = 12,
                                 .type = 20,
                                 .maps = 35,
                                 .header = 43,
                                 .statistics = 8,
                                 .column = 18,
                                 .columnNumber = 1,
                                 .columnFlags = 13,
                                 .columnOffset = 14,
                                 .nameLength = 1,
                                 .index = 39,
                                 .indexColumns = 0,
                                 .logical = 20,
                                 .indexTail = 16,
                                 .indexPrefix = 20,
                                 .indexMask = 22,
                                 .indexEntries = 248,
                                 .chainedRow = 2036};

}  // namespace

std::u16string TextOf(const Value& value) {
  if (!value) return u"(null)";
  if (value->substr(0, 2) != "\xFF\xFE") return Units(*value);
  std::u16string text;
  for (size_t i = 2; i < value->size(); i++) text += static_cast<char16_t>(static_cast<uint8_t>((*value)[i]));
  return text;
}

std::string LittleEndian(uint64_t value, size_t size) {
  std::string bytes;
  for (size_t i = 0; i < size; i++, value >>= 8) bytes += static_cast<char>(value & 0xFF);
  return bytes;
}

std::vector<std::vector<Value>> SWalkedTable::Rows() const {
  std::vector<std::vector<Value>> all;
  for (const auto& [pointer, row] : rows) all.push_back(row);
  return all;
}

CFileWalker::CFileWalker(std::string bytes)
    : m_bytes(std::move(bytes)), m_format(m_bytes.size() > 20 && m_bytes[20] == 0 ? kJet3 : kJet4) {}

std::u16string CFileWalker::Text(const Value& value) const {
  if (!IsJet3()) return TextOf(value);
  std::u16string text;
  for (const char byte : value.value_or("(null)")) text += static_cast<char16_t>(static_cast<uint8_t>(byte));
  return text;
}

uint32_t CFileWalker::U(size_t at, size_t size) const {
  return Little(Bytes(at, size), 0, size);
}

std::string CFileWalker::Bytes(size_t at, size_t size) const {
  std::string bytes = at < m_bytes.size() ? m_bytes.substr(at, size) : std::string();
  bytes.resize(size);
  return bytes;
}

std::string CFileWalker::Row(uint32_t pointer) const {
  const size_t page = (pointer >> 8) * m_format.page, row = pointer & 0xFF, slots = page + m_format.slots;
  if (row >= U16(slots)) return {};
  const size_t start = U16(slots + 2 + 2 * row) & 0x1FFF;
  const size_t end = row == 0 ? m_format.page : U16(slots + 2 * row) & 0x1FFF;
  return start <= end ? Bytes(page + start, end - start) : std::string();
}

std::set<uint32_t> CFileWalker::ReadMap(uint32_t rowPointer) const {
  std::set<uint32_t> pages;
  const auto addBits = [&](const std::string& bits, uint32_t first) {
    for (size_t i = 0; i < bits.size() * 8; i++)
      if ((static_cast<uint8_t>(bits[i / 8]) >> i % 8 & 1) != 0)
        pages.insert(first + static_cast<uint32_t>(i));
  };
  const std::string row = Row(rowPointer);
  if (row.size() > 5 && row[0] == 0) addBits(row.substr(5), Little(row, 1, 4));
  for (size_t i = 0; !row.empty() && row[0] == 1 && 4 * i + 5 <= row.size(); i++)
    if (const uint32_t page = Little(row, 1 + 4 * i, 4); page != 0)
      addBits(Bytes(page * m_format.page + 4, m_format.page - 4),
              static_cast<uint32_t>(i * (m_format.page - 4) * 8));
  return pages;
}

SWalkedTable CFileWalker::ReadTable(uint32_t page) {
  SWalkedTable table;
  table.page = page;
  std::string block;
  for (uint32_t next = page; next != 0 && next < PageCount() && table.definitionPages.size() < 100;
       next = U32(next * m_format.page + 4)) {
    Expect(U16(next * m_format.page) == 0x0102, "definition page " + Number(next));
    block += Bytes(next * m_format.page + (block.empty() ? 0 : 8),
                   block.empty() ? m_format.page : m_format.page - 8);
    table.definitionPages.push_back(next);
  }
  auto take = [&, at = m_format.header](size_t size) mutable {
    std::string bytes = at + size <= block.size() ? block.substr(at, size) : std::string(size, '\0');
    at += size;
    return bytes;
  };
  const unsigned length = Little(block, 8, 4), columns = Little(block, m_format.type + 5, 2),
                 logical = Little(block, m_format.type + 7, 4), real = Little(block, m_format.type + 11, 4);
  table.rowCount = Little(block, m_format.rowCount, 4);
  table.autoNumber = Little(block, m_format.rowCount + 4, 4);
  table.columnsEver = Little(block, m_format.type + 1, 2);
  table.variableEver = Little(block, m_format.type + 3, 2);
  table.ownedMap = Little(block, m_format.maps, 4);
  table.freeMap = Little(block, m_format.maps + 4, 4);
  Expect(IsJet3() || (Little(block, 12, 4) == 0x659 && Little(block, 24, 4) == 1), "definition constants");
  if (columns > 255 || real > 32 || logical > 64) return Expect(false, "definition counts"), table;

  table.indexes.resize(real);
  for (SWalkedIndex& index : table.indexes) index.distinct = Little(take(m_format.statistics), 4, 4);
  for (unsigned i = 0; i < columns; i++) {
    const std::string at = take(m_format.column);
    table.columns.push_back({u"", Little(at, 0, 1), Little(at, m_format.columnNumber, 2),
                             Little(at, m_format.columnNumber + 2, 2),
                             Little(at, m_format.columnNumber + 4, 2), Little(at, m_format.columnFlags, 1),
                             IsJet3() ? 0 : Little(at, 16, 1), Little(at, m_format.columnOffset, 2),
                             Little(at, m_format.columnOffset + 2, 2)});
    if (IsJet3())
      Expect(Little(at, 7, 2) == 0 && Little(at, 9, 4) == 0x4E40409, "column constants");
    else
      Expect(Little(at, 1, 4) == 0x659 && Little(at, 11, 2) == 0x409, "column constants");
  }
  for (SWalkedColumn& column : table.columns)
    column.name = Text(take(Little(take(m_format.nameLength), 0, m_format.nameLength)));
  for (SWalkedIndex& index : table.indexes) {
    const std::string at = take(m_format.index);
    for (size_t i = 0; i < 10 && Little(at, m_format.indexColumns + 3 * i, 2) != 0xFFFF; i++)
      index.columns.push_back(Little(at, m_format.indexColumns + 3 * i, 2));
    index.map = Little(at, m_format.indexColumns + 30, 4);
    index.root = Little(at, m_format.indexColumns + 34, 4);
    index.flags = Little(at, IsJet3() ? 38 : 46, 1);
    Expect(IsJet3() || Little(at, 0, 4) == 0x783, "index constant");
  }
  take(m_format.logical * logical);
  for (unsigned i = 0; i < logical; i++) take(Little(take(m_format.nameLength), 0, m_format.nameLength));
  for (std::string number = take(2); number != "\xFF\xFF"; number = take(2)) {
    const std::string maps = take(8);
    const auto column = std::find_if(table.columns.begin(), table.columns.end(), [&](const SWalkedColumn& c) {
      return c.number == Little(number, 0, 2);
    });
    if (column == table.columns.end() || column->ownedMap != 0)
      return Expect(false, "long value maps"), table;
    column->ownedMap = Little(maps, 0, 4);
    column->freeMap = Little(maps, 4, 4);
  }
  Expect(block.substr(length - 2, 2) == "\xFF\xFF" && length <= block.size(), "definition length");
  size_t left = length - 8;
  for (const uint32_t next : table.definitionPages) {
    const size_t room = m_format.page - 8, used = std::min(left, room);
    const size_t free = room - used > 8 ? room - 8 - used : 0;
    Expect(U16(next * m_format.page + 2) == (IsJet3() ? 0x4356 : free), "head of a definition page");
    left -= used;
  }
  Expect(left == 0, "definition pages");
  return table;
}

std::string CFileWalker::ReadLongValue(const SWalkedColumn& column, const std::string& reference) {
  if (reference.size() < 12) return Expect(false, "long value reference"), std::string();
  const uint32_t length = Little(reference, 0, 4) & 0x3FFFFFFF, kind = Little(reference, 0, 4) >> 30;
  uint32_t pointer = Little(reference, 4, 4);
  const uint32_t stamp = Little(reference, 8, 4);
  const std::set<uint32_t> owned = ReadMap(column.ownedMap);
  if (kind == 2) {
    Expect(reference.size() == 12 + length && pointer == 0 && stamp == 0, "inline long value");
    return reference.substr(12);
  }
  Expect(reference.size() == 12 && owned.count(pointer >> 8) == 1, "long value outside its column's map");
  if (kind == 1) {
    Expect(Row(pointer).size() == length && stamp == 0, "single long value");
    return Row(pointer);
  }
  const auto stampOf = [this](uint32_t at) { return IsJet3() ? 0 : U32((at >> 8) * m_format.page + 8); };
  Expect((stamp != 0) != IsJet3() && stamp == stampOf(pointer), "stamp of a long value");
  std::string value;
  for (size_t piece = 0; pointer != 0 && value.size() <= length; piece++) {
    const std::string row = Row(pointer);
    if (row.size() < 5) return Expect(false, "piece of a long value"), value;
    Expect(owned.count(pointer >> 8) == 1 && U16((pointer >> 8) * m_format.page + m_format.slots) == 1,
           "page of a chain");
    Expect(piece == 0 || stampOf(pointer) == 0, "stamp of a following page");
    pointer = Little(row, 0, 4);
    Expect(pointer == 0 || row.size() == m_format.chainedRow, "a piece that is not full");
    value += row.substr(4);
  }
  Expect(value.size() == length, "length of a chain");
  return value;
}

// Of the variable values and of their end; empty when the row makes no sense.
std::vector<size_t> CFileWalker::ReadOffsets(const std::string& row, size_t mask) {
  const size_t countAt = row.size() - mask - m_format.count;
  const size_t values = Little(row, countAt, m_format.count), jumps = IsJet3() ? (row.size() - 1) / 256 : 0;
  if (countAt < jumps + m_format.count * (values + 2)) return {};
  std::vector<size_t> offsets;
  const size_t end = countAt - jumps - m_format.count * (values + 1);
  size_t jumped = 0;
  for (size_t i = 0; i <= values; i++) {
    while (jumped < std::min(jumps, end / 256) && static_cast<uint8_t>(row[countAt - 1 - jumped]) == i)
      jumped++;
    const size_t at = countAt - jumps - m_format.count * (i + 1);
    offsets.push_back(Little(row, at, m_format.count) + 256 * jumped);
    if (i > 0 && offsets[i] < offsets[i - 1]) return {};
  }
  return offsets.back() == end ? offsets : std::vector<size_t>{};
}

unsigned CFileWalker::KindOf(const SWalkedTable& table, uint32_t pointer, size_t column) {
  const std::string row = Row(pointer);
  const std::vector<size_t> offsets = ReadOffsets(row, (table.columnsEver + 7) / 8);
  return Little(row, offsets.at(table.columns[column].variableIndex) + 3, 1) >> 6;
}

Value CFileWalker::ReadValue(const SWalkedTable& table, const SWalkedColumn& column, const std::string& row) {
  const size_t mask = (table.columnsEver + 7) / 8;
  const bool isSet = (Little(row, row.size() - mask + column.number / 8, 1) >> column.number % 8 & 1) != 0;
  if (column.type == 1) return std::string(1, isSet ? '\1' : '\0');
  if (!isSet) return std::nullopt;
  if ((column.flags & 1) != 0) return row.substr(m_format.count + column.fixedOffset, column.length);
  const std::vector<size_t> offsets = ReadOffsets(row, mask);
  if (column.variableIndex + 1 >= offsets.size()) return Expect(false, "offsets of a row"), std::nullopt;
  const std::string bytes = row.substr(offsets[column.variableIndex],
                                       offsets[column.variableIndex + 1] - offsets[column.variableIndex]);
  return column.type == 11 || column.type == 12 ? ReadLongValue(column, bytes) : bytes;
}

void CFileWalker::ReadRows(SWalkedTable& table) {
  table.pages = ReadMap(table.ownedMap);
  for (const uint32_t page : table.pages) {
    for (uint32_t slot = 0; slot < U16(page * m_format.page + m_format.slots); slot++) {
      const uint32_t pointer = page << 8 | slot;
      const std::string row = Row(pointer);
      if (row.size() <= m_format.count || Little(row, 0, m_format.count) != table.columnsEver)
        return Expect(false, "a row's column count");
      for (const SWalkedColumn& column : table.columns)
        table.rows[pointer].push_back(ReadValue(table, column, row));
    }
  }
}

SWalkedTable CFileWalker::Read(const std::u16string& name) {
  SWalkedTable objects = ReadTable(2);
  ReadRows(objects);
  const auto at = [&](const char16_t* column) {
    for (size_t i = 0; i < objects.columns.size(); i++)
      if (objects.columns[i].name == column) return i;
    return size_t{0};
  };
  for (const auto& [pointer, row] : objects.rows) {
    if (Text(row[at(u"Name")]) != name || row[at(u"Type")] != LittleEndian(1, 2)) continue;
    SWalkedTable table = ReadTable(Little(*row[at(u"Id")], 0, 4));
    ReadRows(table);
    return table;
  }
  return {};
}

void CFileWalker::Use(uint32_t page, const std::string& by) {
  Expect(page < PageCount(), "page past the end: " + by);
  const auto [entry, isNew] = m_used.emplace(page, by);
  Expect(isNew || entry->second == by, "page " + Number(page) + " used by " + entry->second + " and " + by);
}

void CFileWalker::CheckDataPage(uint32_t page, const std::string& owner) {
  const size_t at = page * m_format.page;
  Expect(U16(at) == 0x0101 && Bytes(at + 4, 4) == owner, "head of data page " + Number(page));
  const size_t slots = at + m_format.slots;
  size_t lowest = m_format.page;
  for (uint32_t slot = 0; slot < U16(slots); slot++) {
    Expect(U16(slots + 2 + 2 * slot) <= lowest, "slot order on page " + Number(page));
    lowest = U16(slots + 2 + 2 * slot);
  }
  Expect(U16(at + 2) == lowest - m_format.slots - 2 - 2 * U16(slots), "free word of page " + Number(page));
  Expect(U16(slots) >= 1 && U16(slots) <= 255, "rows on page " + Number(page));
}

void CFileWalker::CheckTable(const SWalkedTable& table, bool isSystem) {
  const std::string name = "table " + Number(table.page);
  for (const uint32_t page : table.definitionPages) Use(page, name + " definition");
  Expect(U8(table.page * m_format.page + m_format.type) == (isSystem ? 0x53 : 0x4E), name + " type");
  Expect(table.rowCount == table.rows.size(), name + " row count");
  const auto checkMaps = [&](uint32_t owned, uint32_t free, const std::string& owner, const std::string& by) {
    const std::set<uint32_t> pages = ReadMap(owned), freePages = ReadMap(free);
    for (const uint32_t map : {owned, free}) {
      Use(map >> 8, "maps");
      CheckDataPage(map >> 8, std::string(4, '\0'));
    }
    for (const uint32_t page : pages) {
      Use(page, by);
      CheckDataPage(page, owner);
    }
    Expect(std::includes(pages.begin(), pages.end(), freePages.begin(), freePages.end()), by + " free map");
  };
  checkMaps(table.ownedMap, table.freeMap, LittleEndian(table.page, 4), name + " rows");
  unsigned variables = 0;
  for (size_t i = 0; i < table.columns.size(); i++) {
    const SWalkedColumn& column = table.columns[i];
    Expect(i == 0 || isSystem || table.columns[i - 1].displayNumber < column.displayNumber,
           name + " column order");
    Expect(column.number < table.columnsEver, name + " column number");
    variables += (column.flags & 1) == 0 ? 1 : 0;
    Expect((column.ownedMap != 0) == (column.type == 11 || column.type == 12), name + " long value maps");
    if (column.ownedMap != 0)
      checkMaps(column.ownedMap, column.freeMap, "LVAL", name + "." + Number(column.number));
    for (const auto& [pointer, row] : table.rows)
      if ((column.flags & 4) != 0 && row[i])
        Expect(static_cast<int32_t>(Little(*row[i], 0, 4)) <= static_cast<int32_t>(table.autoNumber),
               name + " autonumber");
  }
  Expect(variables == table.variableEver && table.columns.size() == table.columnsEver,
         name + " column counts");
  for (const SWalkedIndex& index : table.indexes) CheckIndex(table, index);
}

void CFileWalker::WalkIndex(uint32_t page, const SWalkedTable& table, std::set<uint32_t>& pages,
                            std::vector<std::string>& entries) {
  const size_t at = page * m_format.page;
  if (page >= PageCount() || !pages.insert(page).second) return Expect(false, "index page " + Number(page));
  const bool isLeaf = U8(at) == 4;
  Expect(U8(at + 1) == 1 && U32(at + 4) == table.page && (isLeaf || U8(at) == 3),
         "head of index page " + Number(page));
  const size_t prefix = U(at + m_format.indexPrefix, IsJet3() ? 1 : 2),
               entryArea = m_format.page - m_format.indexEntries;
  std::string first;
  size_t start = 0;
  for (size_t end = 1; end <= entryArea; end++) {
    if ((U8(at + m_format.indexMask + end / 8) >> end % 8 & 1) == 0) continue;
    std::string entry = Bytes(at + m_format.indexEntries + start, end - start);
    if (start == 0)
      first = entry;
    else
      entry = first.substr(0, prefix) + entry;
    start = end;
    if (isLeaf) {
      entries.push_back(entry);
      continue;
    }
    const std::string child = entry.substr(entry.size() - 4);
    WalkIndex(Little({child.rbegin(), child.rend()}, 0, 4), table, pages, entries);
    Expect(!entries.empty() && entries.back() == entry.substr(0, entry.size() - 4), "node entry");
  }
  Expect(U16(at + 2) == entryArea - start, "free word of index page " + Number(page));
  if (!isLeaf) WalkIndex(U32(at + m_format.indexTail), table, pages, entries);
}

void CFileWalker::CheckIndex(const SWalkedTable& table, const SWalkedIndex& index) {
  const std::string name = "index of table " + Number(table.page);
  std::set<uint32_t> pages;
  std::vector<std::string> entries;
  WalkIndex(index.root, table, pages, entries);
  Use(index.map >> 8, "maps");
  for (const uint32_t page : pages) Use(page, name + "/" + Number(index.root));
  Expect(ReadMap(index.map) == pages, name + " map");
  std::set<std::string> keys;
  std::set<uint32_t> rows;
  for (size_t i = 0; i < entries.size(); i++) {
    Expect(i == 0 || entries[i - 1] < entries[i], name + " order");
    const std::string pointer = entries[i].substr(entries[i].size() - 4);
    rows.insert(Little({pointer.begin(), pointer.begin() + 3}, 0, 1) << 24 | Little(pointer, 1, 1) << 16 |
                Little(pointer, 2, 1) << 8 | Little(pointer, 3, 1));
    const bool isNew = keys.insert(entries[i].substr(0, entries[i].size() - 4)).second;
    // Keys of nulls alone may repeat.
    const std::string key = entries[i].substr(0, entries[i].size() - 4);
    const bool isNull = key.find_first_not_of('\0') == std::string::npos;
    Expect(isNew || isNull || (index.flags & 1) == 0, name + " repeats a key");
  }
  std::set<uint32_t> live;
  for (const auto& [pointer, row] : table.rows) live.insert(pointer);
  const bool ignoresNulls = (index.flags & 2) != 0;
  const bool isComplete =
      ignoresNulls ? std::includes(live.begin(), live.end(), rows.begin(), rows.end()) : rows == live;
  Expect(isComplete && entries.size() == rows.size(), name + " rows");
  Expect(index.distinct == keys.size(), name + " distinct keys");
}

std::vector<std::string> CFileWalker::Check() {
  m_faults.clear();
  m_used.clear();
  Expect(m_bytes.size() % m_format.page == 0 && PageCount() >= 19, "file length");
  Use(0, "header");
  Use(1, "global maps");
  const SWalkedTable objects = Read(u"MSysObjects"), aces = Read(u"MSysACEs");
  std::set<std::string> ids, withAce;
  for (size_t c = 0; c < aces.columns.size(); c++)
    for (const auto& [pointer, row] : aces.rows)
      if (aces.columns[c].name == u"ObjectId") withAce.insert(row[c].value_or(""));
  for (const auto& [pointer, row] : objects.rows) {
    std::map<std::u16string, Value> object;
    for (size_t c = 0; c < row.size(); c++) object[objects.columns[c].name] = row[c];
    const std::string id = object[u"Id"].value_or("");
    Expect(ids.insert(id).second && withAce.count(id) == 1, "catalogue ids and their access rows");
    if (object[u"Type"] == LittleEndian(1, 2)) CheckTable(Read(Text(object[u"Name"])), Little(id, 0, 4) <= 5);
  }
  for (const std::string& id : withAce) Expect(ids.count(id) == 1, "access row of an unknown object");

  std::set<uint32_t> free = ReadMap(0x100);
  Expect(ReadMap(0x101).empty(), "second global map");
  const std::string map = Row(0x100);
  for (size_t i = 0; map[0] == 1 && 4 * i + 5 <= map.size(); i++)
    if (const uint32_t page = Little(map, 1 + 4 * i, 4); page != 0) Use(page, "pages of bits");
  for (uint32_t page = 0; page < PageCount(); page++) {
    const bool isBits =
        U16(page * m_format.page) == 0x0105;  // of a table's map; which one is not followed here
    Expect(m_used.count(page) + free.count(page) == 1 || (isBits && free.count(page) == 0),
           "page " + Number(page) + " is neither used nor free, or both");
  }
  Expect(free.count(PageCount()) == 1 || PageCount() % 32 == 0, "pages past the end are free");
  return m_faults;
}

}  // namespace tolvane::test
