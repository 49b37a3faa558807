// Small databases built page by page, so that a test can tell one lie about an otherwise sound file.
//
//   CDatabaseBuilder file(kLayoutJet4);
//   const uint32_t table = file.AddTable(spec);
//   const uint32_t page = file.AddDataPage(table, {{MakeRow(spec, kLayoutJet4, {...})}});
//   file.Page(page).Put16(kLayoutJet4.data.slotCount, 0xFFFF);   // the lie
//   const CTempFile source(file.Build());
//
// Pages 0 (header), 1 (map of free pages, all in use) and 2 (definition of the catalogue) are always there;
// the definitions that stand on pages 3 to 5 of real files are left as unused pages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/Layout.h"

namespace tolvane {

using Bytes = std::vector<uint8_t>;

class CPageBytes {
 public:
  explicit CPageBytes(size_t size) : m_bytes(size) {}
  explicit CPageBytes(Bytes bytes) : m_bytes(std::move(bytes)) {}
  CPageBytes& Put8(size_t position, uint32_t value);
  CPageBytes& Put16(size_t position, uint32_t value);
  CPageBytes& Put32(size_t position, uint32_t value);
  CPageBytes& PutBytes(size_t position, std::span<const uint8_t> bytes);
  CPageBytes& Fill(uint8_t value);
  [[nodiscard]] uint32_t Get16(size_t position) const;
  [[nodiscard]] const Bytes& GetBytes() const { return m_bytes; }

 private:
  Bytes m_bytes;
};

struct SColumnSpec {
  uint8_t type = 0;
  std::u16string name{};
  uint16_t number = 0;
  uint16_t variableIndex = 0;
  uint8_t flags = 2;
  uint16_t fixedOffset = 0;
  uint16_t length = 0;       // bytes, as stored
  uint16_t codePage = 1252;  // Jet 3 texts
};

struct SIndexSpec {
  struct SColumn {
    uint16_t number;
    uint8_t order = kIndexAscending;
  };
  std::vector<SColumn> columns{};
  bool isPrimary = false;
  std::u16string name{};
};

struct STableSpec {
  std::vector<SColumnSpec> columns;
  std::vector<SIndexSpec> indexes;
  uint32_t rowCount = 0;
  uint8_t type = kUserTable;

  // Append a column behind the others: numbers, offsets and indexes go on from the last one.
  STableSpec& AddFixed(std::u16string_view name, uint8_t columnType, uint16_t length);
  STableSpec& AddVariable(std::u16string_view name, uint8_t columnType, uint16_t length = 0);
  [[nodiscard]] uint16_t CountEver() const;          // highest column number + 1
  [[nodiscard]] uint16_t CountVariableEver() const;  // highest variable index + 1
};

struct SRowSpec {
  Bytes bytes;
  uint16_t flags = 0;  // kSlotHidden, kSlotPointer
};

// Values of the columns in the order of `table.columns`; none is null. A yes/no column is true when it has
// any value, even an empty one.
Bytes MakeRow(const STableSpec& table, const SLayout& layout,
              const std::vector<std::optional<Bytes>>& values);
Bytes MakePointerRow(uint32_t page, uint8_t slot);
Bytes Little(uint64_t value, size_t width);
// UTF-16LE for Jet 4, one byte a character for Jet 3.
Bytes StoredText(std::u16string_view text, const SLayout& layout);
// The whole definition, as it stands when its pages are put together.
Bytes MakeDefinition(const STableSpec& table, const SLayout& layout);

class CDatabaseBuilder {
 public:
  explicit CDatabaseBuilder(const SLayout& layout);

  [[nodiscard]] uint32_t GetPageCount() const { return static_cast<uint32_t>(m_pages.size()); }
  [[nodiscard]] uint64_t OffsetOf(uint32_t page) const { return uint64_t{page} * m_layout.pageSize; }
  CPageBytes& Page(uint32_t page) { return m_pages.at(page); }

  // Each answers the number of the (first) new page; a long definition takes several pages in a row.
  uint32_t AddPage();
  uint32_t AddTable(const STableSpec& table);
  uint32_t AddDefinition(std::span<const uint8_t> definition);
  uint32_t AddDataPage(uint32_t owner, const std::vector<SRowSpec>& rows);
  uint32_t AddIndexLeaf(uint32_t owner, const std::vector<Bytes>& entries);
  // A row of MSysObjects on a page of its own.
  uint32_t AddCatalogueRow(uint32_t id, std::u16string_view name, int16_t type, uint32_t flags = 0);

  // The masked word of the header.
  void SetHeader16(size_t position, uint32_t value);
  void SetHeader32(size_t position, uint32_t value);

  [[nodiscard]] Bytes Build() const;

 private:
  void PutRows(CPageBytes& page, const std::vector<SRowSpec>& rows) const;

  const SLayout& m_layout;
  std::vector<CPageBytes> m_pages;
};

// The catalogue's definition, as MakeRow needs it.
STableSpec CatalogueSpec(const SLayout& layout);

// A file of these bytes that goes with the object.
class CTempFile {
 public:
  explicit CTempFile(std::span<const uint8_t> bytes);
  ~CTempFile();
  CTempFile(const CTempFile&) = delete;
  CTempFile& operator=(const CTempFile&) = delete;
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }
  [[nodiscard]] Bytes Read() const;
  // False where the system keeps others from cutting an open file.
  [[nodiscard]] bool Truncate(uint64_t length) const;

 private:
  std::u16string m_path;
};

}  // namespace tolvane
