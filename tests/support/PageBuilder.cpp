#include "tests/support/PageBuilder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "format/HeaderPage.h"
#include "format/RowEncoder.h"
#include "model/AccessColumn.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

void Append(Bytes& bytes, std::span<const uint8_t> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

SColumnDefinition ToColumn(const SColumnSpec& from) {
  SColumnDefinition column;
  column.name = from.name;
  column.type = from.type;
  column.flags = from.flags;
  column.number = from.number;
  column.variableIndex = from.variableIndex;
  column.fixedOffset = from.fixedOffset;
  column.length = from.length;
  column.order = {.language = 0, .version = 0};
  column.codePage = from.type == kTypeText ? from.codePage : uint16_t{0};
  return column;
}

// Without its indexes.
STableDefinition DefinitionOf(const STableSpec& table) {
  STableDefinition definition;
  definition.tableType = table.type;
  definition.rowCount = table.rowCount;
  definition.columnsEver = table.CountEver();
  definition.variableEver = table.CountVariableEver();
  for (const SColumnSpec& column : table.columns) definition.columns.push_back(ToColumn(column));
  return definition;
}

}  // namespace

CPageBytes& CPageBytes::Put8(size_t position, uint32_t value) {
  m_bytes.at(position) = static_cast<uint8_t>(value);
  return *this;
}

CPageBytes& CPageBytes::Put16(size_t position, uint32_t value) {
  return Put8(position, value).Put8(position + 1, value >> 8);
}

CPageBytes& CPageBytes::Put32(size_t position, uint32_t value) {
  return Put16(position, value).Put16(position + 2, value >> 16);
}

CPageBytes& CPageBytes::PutBytes(size_t position, std::span<const uint8_t> bytes) {
  for (size_t i = 0; i < bytes.size(); i++) Put8(position + i, bytes[i]);
  return *this;
}

CPageBytes& CPageBytes::Fill(uint8_t value) {
  std::ranges::fill(m_bytes, value);
  return *this;
}

uint32_t CPageBytes::Get16(size_t position) const {
  return m_bytes.at(position) | uint32_t{m_bytes.at(position + 1)} << 8;
}

STableSpec& STableSpec::AddFixed(std::u16string_view name, uint8_t columnType, uint16_t length) {
  SColumnSpec column{.type = columnType, .name = std::u16string(name), .number = CountEver()};
  column.variableIndex = CountVariableEver();
  column.flags = 0x02 | kColumnFixed;
  column.length = length;
  for (const SColumnSpec& other : columns)
    if ((other.flags & kColumnFixed) != 0 && other.type != kTypeBoolean)
      column.fixedOffset =
          static_cast<uint16_t>(std::max<int>(column.fixedOffset, other.fixedOffset + other.length));
  columns.push_back(column);
  return *this;
}

STableSpec& STableSpec::AddVariable(std::u16string_view name, uint8_t columnType, uint16_t length) {
  SColumnSpec column{.type = columnType, .name = std::u16string(name), .number = CountEver()};
  column.variableIndex = CountVariableEver();
  column.length = length;
  columns.push_back(column);
  return *this;
}

uint16_t STableSpec::CountEver() const {
  uint16_t count = 0;
  for (const SColumnSpec& column : columns) count = std::max(count, static_cast<uint16_t>(column.number + 1));
  return count;
}

uint16_t STableSpec::CountVariableEver() const {
  uint16_t count = 0;
  for (const SColumnSpec& column : columns)
    if ((column.flags & kColumnFixed) == 0)
      count = std::max(count, static_cast<uint16_t>(column.variableIndex + 1));
  return count;
}

Bytes Little(uint64_t value, size_t width) {
  Bytes bytes;
  for (size_t i = 0; i < width; i++) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
  return bytes;
}

Bytes StoredText(std::u16string_view text, const SLayout& layout) {
  Bytes bytes;
  for (const char16_t unit : text) Append(bytes, Little(unit, layout.isJet3 ? 1 : 2));
  return bytes;
}

Bytes MakeRow(const STableSpec& table, const SLayout& layout,
              const std::vector<std::optional<Bytes>>& values) {
  const STableDefinition definition = DefinitionOf(table);
  CRowEncoder encoder(layout, definition);
  encoder.Begin();
  for (size_t i = 0; i < definition.columns.size(); i++)
    if (values.at(i)) encoder.Set(definition.columns[i], *values[i]);
  Bytes row(encoder.GetRowSize());
  encoder.Write(row);
  return row;
}

Bytes MakePointerRow(uint32_t page, uint8_t slot) {
  return Little(uint64_t{page} << 8 | slot, 4);
}

Bytes MakeDefinition(const STableSpec& table, const SLayout& layout) {
  STableDefinition definition = DefinitionOf(table);
  for (const SIndexSpec& from : table.indexes) {
    SRealIndex real;
    for (const SIndexSpec::SColumn& column : from.columns) real.columns.push_back({column.number, true});
    definition.AddIndex(from.name, std::move(real), from.isPrimary ? kIndexKindPrimary : kIndexKindPlain);
  }
  CPageBytes bytes(
      EncodeDefinition(layout, definition, [&](auto name) { return EncodeAsciiName(layout, name); }));
  // Orders that no writer makes.
  size_t slot = layout.definition.headerSize + table.indexes.size() * layout.definition.statisticsSize +
                layout.realIndex.slots + 2;
  for (const SColumnSpec& column : table.columns)
    slot += layout.column.size + layout.text.nameLengthSize + StoredText(column.name, layout).size();
  for (const SIndexSpec& index : table.indexes) {
    for (size_t i = 0; i < index.columns.size(); i++)
      bytes.Put8(slot + i * kIndexSlotSize, index.columns[i].order);
    slot += layout.realIndex.size;
  }
  return bytes.GetBytes();
}

CDatabaseBuilder::CDatabaseBuilder(const SLayout& layout) : m_layout(layout) {
  CPageBytes& header = Page(AddPage());
  header.Put8(1, 1).PutBytes(4, StoredText(u"Standard Jet DB", kLayoutJet3));
  header.Put8(kHeaderVersion, layout.isJet3 ? 0 : 1);
  Bytes bytes = header.GetBytes();
  MaskHeader(m_layout.header, bytes);
  header.PutBytes(0, bytes);
  SetHeader16(kHeaderCodePage, 1252);

  // An inline map that starts at page 0 and says that no page is free.
  const size_t mapBytes = layout.isJet3 ? 133 : 69;
  AddDataPage(kGlobalMapPage, {{Bytes(mapBytes)}, {Bytes(mapBytes)}});
  AddTable(CatalogueSpec(layout));
  while (GetPageCount() < 6) AddPage();
}

uint32_t CDatabaseBuilder::AddPage() {
  m_pages.emplace_back(m_layout.pageSize);
  return GetPageCount() - 1;
}

uint32_t CDatabaseBuilder::AddTable(const STableSpec& table) {
  return AddDefinition(MakeDefinition(table, m_layout));
}

uint32_t CDatabaseBuilder::AddDefinition(std::span<const uint8_t> definition) {
  const uint32_t first = GetPageCount();
  const auto count = static_cast<uint32_t>(CountDefinitionPages(m_layout, definition.size()));
  Bytes page(m_layout.pageSize);
  for (uint32_t i = 0; i < count; i++) {
    EncodeDefinitionPage(m_layout, definition, i, i + 1 < count ? first + i + 1 : 0, page);
    Page(AddPage()).PutBytes(0, page);
  }
  return first;
}

void CDatabaseBuilder::PutRows(CPageBytes& page, const std::vector<SRowSpec>& rows) const {
  const SDataPageLayout& at = m_layout.data;
  size_t start = m_layout.pageSize;
  for (size_t i = 0; i < rows.size(); i++) {
    start -= rows[i].bytes.size();
    page.PutBytes(start, rows[i].bytes);
    page.Put16(at.slots + 2 * i, static_cast<uint32_t>(start) | rows[i].flags);
  }
  page.Put16(at.slotCount, static_cast<uint32_t>(rows.size()));
  page.Put16(kFreeBytesOffset, static_cast<uint32_t>(start - at.slots - 2 * rows.size()));
}

uint32_t CDatabaseBuilder::AddDataPage(uint32_t owner, const std::vector<SRowSpec>& rows) {
  const uint32_t page = AddPage();
  Page(page).Put8(0, kPageData).Put8(1, kPageFormatted).Put32(kOwnerOffset, owner);
  PutRows(Page(page), rows);
  return page;
}

uint32_t CDatabaseBuilder::AddIndexLeaf(uint32_t owner, const std::vector<Bytes>& entries) {
  const SIndexPageLayout& at = m_layout.index;
  const uint32_t number = AddPage();
  CPageBytes& page = Page(number);
  page.Put8(0, kPageIndexLeaf).Put8(1, kPageFormatted).Put32(kOwnerOffset, owner);
  uint32_t end = 0;
  for (const Bytes& entry : entries) {
    page.PutBytes(at.entries + end, entry);
    end += static_cast<uint32_t>(entry.size());
    page.Put8(at.mask + end / 8, page.GetBytes()[at.mask + end / 8] | 1u << end % 8);
  }
  page.Put16(kFreeBytesOffset, static_cast<uint32_t>(at.Capacity()) - end);
  return number;
}

STableSpec CatalogueSpec(const SLayout& layout) {
  const uint16_t textLength = layout.isJet3 ? 255 : 510;
  STableSpec table;
  table.type = kSystemTable;
  table.AddFixed(u"Id", kTypeLong, 4).AddFixed(u"ParentId", kTypeLong, 4);
  table.AddVariable(u"Name", kTypeText, textLength);
  table.AddFixed(u"Type", kTypeInteger, 2);
  table.AddFixed(u"DateCreate", kTypeDate, 8).AddFixed(u"DateUpdate", kTypeDate, 8);
  table.AddVariable(u"Owner", kTypeBinary, textLength);
  table.AddFixed(u"Flags", kTypeLong, 4);
  table.AddVariable(u"Database", kTypeMemo).AddVariable(u"Connect", kTypeMemo);
  table.AddVariable(u"ForeignName", kTypeText, textLength);
  table.AddVariable(u"RmtInfoShort", kTypeBinary, textLength);
  for (const char16_t* name : {u"RmtInfoLong", u"Lv", u"LvProp", u"LvModule", u"LvExtra"})
    table.AddVariable(name, kTypeOle);
  return table;
}

uint32_t CDatabaseBuilder::AddCatalogueRow(uint32_t id, std::u16string_view name, int16_t type,
                                           uint32_t flags) {
  const STableSpec catalogue = CatalogueSpec(m_layout);
  std::vector<std::optional<Bytes>> values(catalogue.columns.size());
  values[0] = Little(id, 4);
  values[1] = Little(0x0F000001, 4);
  values[2] = StoredText(name, m_layout);
  values[3] = Little(static_cast<uint16_t>(type), 2);
  values[7] = Little(flags, 4);
  return AddDataPage(kObjectsPage, {{MakeRow(catalogue, m_layout, values)}});
}

void CDatabaseBuilder::SetHeader16(size_t position, uint32_t value) {
  Bytes header = m_pages[0].GetBytes();
  MaskHeader(m_layout.header, header);
  PutLittle(std::span(header), position, static_cast<uint16_t>(value));
  MaskHeader(m_layout.header, header);
  m_pages[0].PutBytes(0, header);
}

void CDatabaseBuilder::SetHeader32(size_t position, uint32_t value) {
  SetHeader16(position, value);
  SetHeader16(position + 2, value >> 16);
}

Bytes CDatabaseBuilder::Build() const {
  Bytes bytes;
  for (const CPageBytes& page : m_pages) Append(bytes, page.GetBytes());
  return bytes;
}

CTempFile::CTempFile(std::span<const uint8_t> bytes) {
  static int count = 0;
  m_path = GetTempFolder() + u"tolvane-test-" + ToDecimal(uint64_t{GetProcessNumber()}) + u"-" +
           ToDecimal(int64_t{count++}) + u".mdb";
  std::ofstream file(std::filesystem::path(ToNativePath(m_path)), std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file) throw std::runtime_error("no temporary file");
}

CTempFile::~CTempFile() {
  RemoveFile(m_path);
}

Bytes CTempFile::Read() const {
  std::ifstream file(std::filesystem::path(ToNativePath(m_path)), std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

bool CTempFile::Truncate(uint64_t length) const {
  std::error_code error;
  std::filesystem::resize_file(std::filesystem::path(ToNativePath(m_path)), length, error);
  return !error;
}

}  // namespace tolvane
