// One recovered table and the list of them.
//
// A table is keyed by the byte offset of its first definition page in the file that held it; the key also
// names its data file, which is deleted with the table. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "format/TableLink.h"
#include "model/AccessColumn.h"
#include "model/AccessTableIndex.h"
#include "store/FilePart.h"

namespace tolvane {

// Header words of a definition, in the file's order.
struct SAccessTableHeader {
  uint32_t definitionLength = 0;
  uint32_t secondWord = 0;
  uint32_t rowCount = 0;  // replaced by the number of rows decoded
  uint32_t nextAutoNumber = 0;
  uint32_t lastComplexKey = 0;  // given out to complex columns; nothing is known of it in files without them
  uint8_t tableType = 0;
  uint16_t highestColumnNumber = 0;
  uint16_t variableColumnCount = 0;
  uint16_t columnCount = 0;
  uint32_t indexCount = 0;
  uint32_t realIndexCount = 0;
  uint32_t usedPagesMap = 0;
  uint32_t freePagesMap = 0;
};

// Byte offsets of the data pages that belong to a table, in the order in which they were found.
class CAccessDataPageOffsetList {
 public:
  virtual ~CAccessDataPageOffsetList() = default;
  void Add(uint64_t offset) { m_offsets.push_back(offset); }
  void Assign(std::vector<uint64_t> offsets) { m_offsets = std::move(offsets); }
  [[nodiscard]] size_t GetCount() const { return m_offsets.size(); }
  auto begin() const { return m_offsets.begin(); }
  auto end() const { return m_offsets.end(); }

 private:
  std::vector<uint64_t> m_offsets;
};

// Where a table's name comes from: the catalogue, the columns of a table of Access' own, a system table's
// usual page, a counter, or another place that names a table of the user's.
enum class ENameSource : uint8_t { Catalogue, Columns, Place, Generated, Elsewhere };

// One relationship that the engine enforces, as the definition of the table repeats it whose columns refer to
// another one's, ...
struct SForeignKey {
  std::u16string relationship;
  uint32_t primaryTable = 0;  // page of its definition
  uint32_t primaryIndex = 0;  // number of an SReferredIndex there
  size_t index = 0;           // of the table's indexes, on the columns that refer
  bool cascadesUpdates = false, cascadesDeletes = false;
};
// ... and what the other one's says: an index on the columns that are referred to.
struct SReferredIndex {
  uint32_t number = 0;
  size_t index = 0;
};

class CAccessTable {
 public:
  // `workFolder` holds the data file, with its separator at the end.
  CAccessTable(uint64_t definitionOffset, const std::u16string& workFolder);
  virtual ~CAccessTable();

  [[nodiscard]] const std::u16string& GetDataFilePath() const { return m_dataFilePath; }
  // Where its records are: in the data file, or with those of other tables in a file that stays.
  [[nodiscard]] const SFilePart& GetRecords() const { return m_records; }
  void SetRecords(SFilePart records) { m_records = std::move(records); }
  // Of the file that holds its OLE values, where they share one; it goes with the table, too.
  [[nodiscard]] std::u16string GetObjectFilePath() const { return m_dataFilePath + u".objects"; }
  [[nodiscard]] uint64_t GetDefinitionOffset() const { return m_definitionOffset; }
  // The definition offset divided by 4096, in decimal, for both page sizes.
  [[nodiscard]] const std::u16string& GetKeyText() const { return m_keyText; }
  // The definition's page number in decimal.
  [[nodiscard]] std::u16string GetPageText(uint32_t pageSize) const;
  [[nodiscard]] uint32_t GetPage(uint32_t pageSize) const;

  std::u16string name;   // empty until it is known
  uint8_t keepFlag = 1;  // 0 marks a continuation definition; 1 again once the table is named
  SAccessTableHeader header;
  CAccessColumnList columns;
  CAccessTableIndexList indexes;
  std::vector<SForeignKey> foreignKeys;
  std::vector<SReferredIndex> referredIndexes;
  CAccessDataPageOffsetList dataPages;
  // The row count that the definition held, before header.rowCount was replaced.
  uint32_t promisedRows = 0;
  ENameSource nameSource = ENameSource::Catalogue;
  // Its first page is known by its columns only: it is a table if rows belong to it.
  bool isGuessed = false;
  // One that every database has, whose definition the file lost: the built-in one counts, which knows no
  // rows.
  bool isBuiltIn = false;
  // What its definition says was mended: the counts of columns ever made, and the columns' names.
  bool hasMendedCounts = false, hasMendedNames = false;
  // Values of columns that the definition does not have: of deleted ones, which rows keep.
  uint64_t leftoverValues = 0;
  // Of its row in the catalogue; nothing where that is lost, or where the rules tell by the name.
  std::optional<uint32_t> catalogueFlags;
  // A table of the user's that is to be seen among the system tables only.
  bool hasSystemMark = false;
  std::vector<SProperty> properties;  // of the table itself
  // Set when the rows are on a server, and the columns only describe them.
  std::optional<STableLink> link;

 private:
  uint64_t m_definitionOffset;
  std::u16string m_dataFilePath;
  SFilePart m_records;
  std::u16string m_keyText;
};

// The tables that are not the user's: the database engine's own, and the hidden ones that hold the values of
// complex columns.
inline constexpr std::u16string_view kSystemTablePrefix = u"MSys";
inline constexpr uint32_t kSystemObjectFlags = 0x80000002;
inline bool IsSystemTable(const CAccessTable& table) {
  if (table.catalogueFlags) return (*table.catalogueFlags & kSystemObjectFlags) != 0;
  return table.name.starts_with(kSystemTablePrefix);
}

// In the order in which the definitions were found, with an index by definition offset beside it.
class CAccessTableList {
 public:
  explicit CAccessTableList(std::u16string workFolder) : m_workFolder(std::move(workFolder)) {}
  virtual ~CAccessTableList() = default;

  CAccessTable& AddTable(uint64_t definitionOffset);
  // Destroys the tables, and with each its data file.
  void Clear();
  // The first table with exactly that offset; null when there is none.
  [[nodiscard]] CAccessTable* FindTable(uint64_t definitionOffset) const;
  // The first table of exactly that name; null when there is none.
  [[nodiscard]] CAccessTable* FindTable(std::u16string_view name) const;
  // No table with that offset: no action, false.
  bool CreditDataPage(uint64_t dataPageOffset, uint64_t definitionOffset);
  // Destroys the tables whose keep flag is 0; the others keep their order.
  void RemoveUnmarked();
  bool Mark(uint64_t definitionOffset, uint8_t keepFlag = 1);
  // The first table with that key text takes the name.
  bool SetNameByKey(std::u16string_view keyText, std::u16string_view name);
  [[nodiscard]] size_t GetCount() const { return m_tables.size(); }
  // Null past the end.
  [[nodiscard]] CAccessTable* GetAt(size_t position) const;

  auto begin() const { return m_tables.begin(); }
  auto end() const { return m_tables.end(); }

 private:
  void IndexTables();

  std::u16string m_workFolder;
  std::vector<std::unique_ptr<CAccessTable>> m_tables;
  std::unordered_map<uint64_t, CAccessTable*> m_byOffset;  // first table of each offset
};

}  // namespace tolvane
