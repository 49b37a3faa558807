// What the walker proves of a file.
#include <algorithm>

#include "tests/embedded/FileWalker.h"

namespace tolvane::test {

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
