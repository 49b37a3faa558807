// Reads a Jet 3 or Jet 4 file page by page with its own eyes: nothing here comes from the engine under test.
// Check() names every invariant of healthy files that the file breaks; Read() answers the rows of a table as
// stored.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tolvane::test {

using Value = std::optional<std::string>;  // stored bytes, long values resolved; a boolean is "\0" or "\1"

struct SWalkedColumn {
  std::u16string name;
  unsigned type = 0, number = 0, variableIndex = 0, displayNumber = 0, flags = 0, extended = 0,
           fixedOffset = 0, length = 0;
  uint32_t ownedMap = 0, freeMap = 0;
};

struct SWalkedIndex {
  std::vector<unsigned> columns;
  unsigned flags = 0;
  uint32_t map = 0, root = 0, distinct = 0;
};

struct SWalkedTable {
  uint32_t page = 0, rowCount = 0, autoNumber = 0, ownedMap = 0, freeMap = 0;
  unsigned columnsEver = 0, variableEver = 0;
  std::vector<uint32_t> definitionPages;
  std::vector<SWalkedColumn> columns;  // as stored
  std::vector<SWalkedIndex> indexes;
  std::set<uint32_t> pages;                     // that hold rows
  std::map<uint32_t, std::vector<Value>> rows;  // by row pointer, values in stored column order

  [[nodiscard]] std::vector<std::vector<Value>> Rows() const;
};

// Where things are in the two page formats.
struct SWalkedFormat {
  size_t page, slots;                   // slots: u16 count, then the u16 slots
  size_t count;                         // bytes of a row's counts and offsets
  size_t unit;                          // bytes of a character
  size_t rowCount, type, maps, header;  // of a definition; type: then the counts follow, maps: owned, free
  size_t statistics, column, columnNumber, columnFlags, columnOffset, nameLength, index, indexColumns,
      logical;
  size_t indexTail, indexPrefix, indexMask, indexEntries;
  size_t chainedRow;
};

class CFileWalker {
 public:
  explicit CFileWalker(std::string bytes);

  // What is wrong with the file; empty when nothing is.
  std::vector<std::string> Check();
  // By name, as the catalogue spells it; system tables too. An unknown name answers an empty table.
  SWalkedTable Read(const std::u16string& name);
  [[nodiscard]] std::set<uint32_t> ReadMap(uint32_t rowPointer) const;

  [[nodiscard]] uint32_t PageCount() const { return static_cast<uint32_t>(m_bytes.size() / m_format.page); }
  [[nodiscard]] bool IsJet3() const { return m_format.unit == 1; }
  [[nodiscard]] uint32_t U32(size_t at) const { return U(at, 4); }
  [[nodiscard]] uint32_t U16(size_t at) const { return U(at, 2); }
  [[nodiscard]] uint32_t U8(size_t at) const { return U(at, 1); }
  [[nodiscard]] std::string Row(uint32_t pointer) const;
  // How a long value of the table's row is stored: 2 in the row, 1 in one other row, 0 in a chain.
  unsigned KindOf(const SWalkedTable& table, uint32_t pointer, size_t column);
  // Bytes of a format's text as Latin-1 or UTF-16.
  [[nodiscard]] std::u16string Text(const Value& value) const;

 private:
  [[nodiscard]] uint32_t U(size_t at, size_t size) const;
  [[nodiscard]] std::string Bytes(size_t at, size_t size) const;
  SWalkedTable ReadTable(uint32_t page);
  void ReadRows(SWalkedTable& table);
  std::vector<size_t> ReadOffsets(const std::string& row, size_t mask);
  Value ReadValue(const SWalkedTable& table, const SWalkedColumn& column, const std::string& row);
  std::string ReadLongValue(const SWalkedColumn& column, const std::string& reference);
  void CheckTable(const SWalkedTable& table, bool isSystem);
  void CheckIndex(const SWalkedTable& table, const SWalkedIndex& index);
  void WalkIndex(uint32_t page, const SWalkedTable& table, std::set<uint32_t>& pages,
                 std::vector<std::string>& entries);
  void CheckDataPage(uint32_t page, const std::string& owner);
  void Use(uint32_t page, const std::string& by);
  void Expect(bool holds, const std::string& what) {
    if (!holds) m_faults.push_back(what);
  }

  std::string m_bytes;
  const SWalkedFormat& m_format;
  std::vector<std::string> m_faults;
  std::map<uint32_t, std::string> m_used;  // page -> by what
};

std::u16string TextOf(const Value& value);  // of Jet 4, plain or compressed
std::string LittleEndian(uint64_t value, size_t size);
unsigned Little(const std::string& bytes, size_t at, size_t size);
std::string Number(uint64_t value);

}  // namespace tolvane::test
