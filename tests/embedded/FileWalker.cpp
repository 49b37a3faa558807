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

unsigned Little(const std::string& bytes, size_t at, size_t size) {
  unsigned value = 0;
  for (size_t i = size; i-- > 0;) value = value << 8 | static_cast<uint8_t>(bytes.at(at + i));
  return value;
}

std::string Number(uint64_t value) {
  return std::to_string(value);
}

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

}  // namespace tolvane::test
