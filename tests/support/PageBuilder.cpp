#include "tests/support/PageBuilder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "engine/HeaderMask.h"
#include "model/AccessColumn.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

void Append(Bytes& bytes, std::span<const uint8_t> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

// A name or index name in a definition.
void AppendName(Bytes& bytes, std::u16string_view name, const SLayout& layout) {
  const Bytes text = StoredText(name, layout);
  Append(bytes, Little(text.size(), layout.text.nameLengthSize));
  Append(bytes, text);
}

Bytes MakeColumn(const SColumnSpec& column, const SLayout& layout) {
  const SColumnLayout& at = layout.column;
  CPageBytes bytes(at.size);
  bytes.Put8(0, column.type).Put16(at.number, column.number).Put16(at.variableIndex, column.variableIndex);
  bytes.Put8(at.flags, column.flags).Put16(at.fixedOffset, column.fixedOffset);
  bytes.Put16(at.length, column.length);
  if (!layout.isJet3) bytes.Put32(1, kDefinitionMagic);
  if (at.codePage != kAbsent && column.type == kTypeText) bytes.Put16(at.codePage, column.codePage);
  return bytes.GetBytes();
}

Bytes MakeRealIndex(const SIndexSpec& index, const SLayout& layout) {
  const SRealIndexLayout& at = layout.realIndex;
  CPageBytes bytes(at.size);
  if (at.magic != kAbsent) bytes.Put32(at.magic, kRealIndexMagic);
  for (size_t i = 0; i < 10; i++) bytes.Put16(at.slots + i * kIndexSlotSize, kNoColumn);
  for (size_t i = 0; i < index.columns.size(); i++) {
    bytes.Put16(at.slots + i * kIndexSlotSize, index.columns[i].number);
    bytes.Put8(at.slots + i * kIndexSlotSize + 2, index.columns[i].order);
  }
  return bytes.GetBytes();
}

Bytes MakeLogicalIndex(const SIndexSpec& index, uint32_t number, const SLayout& layout) {
  const SLogicalIndexLayout& at = layout.logicalIndex;
  CPageBytes bytes(at.size);
  if (at.magic != kAbsent) bytes.Put32(at.magic, kDefinitionMagic);
  bytes.Put32(at.number, number).Put32(at.realIndex, number);
  bytes.Put8(at.kind, index.isPrimary ? kIndexKindPrimary : 0);
  return bytes.GetBytes();
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
  std::fill(m_bytes.begin(), m_bytes.end(), value);
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

// Number of columns, fixed area, variable values, offsets (last first), number of variable columns, null
// mask.
Bytes MakeRow(const STableSpec& table, const SLayout& layout,
              const std::vector<std::optional<Bytes>>& values) {
  if (values.size() != table.columns.size()) throw std::invalid_argument("one value a column");
  const size_t width = layout.isJet3 ? 1 : 2;
  CPageBytes fixed(layout.pageSize);
  size_t fixedEnd = 0;
  std::vector<Bytes> variable(table.CountVariableEver());
  Bytes mask((table.CountEver() + 7u) / 8);
  for (size_t i = 0; i < values.size(); i++) {
    const SColumnSpec& column = table.columns[i];
    const bool isFixed = (column.flags & kColumnFixed) != 0;
    const bool isInFixedArea = isFixed && column.type != kTypeBoolean;
    if (isInFixedArea) fixedEnd = std::max<size_t>(fixedEnd, column.fixedOffset + column.length);
    if (!values[i]) continue;
    if (isInFixedArea) fixed.PutBytes(column.fixedOffset, *values[i]);
    if (!isFixed) variable[column.variableIndex] = *values[i];
    mask[column.number / 8] = static_cast<uint8_t>(mask[column.number / 8] | 1u << column.number % 8);
  }

  Bytes row = Little(table.CountEver(), width);
  Append(row, std::span(fixed.GetBytes()).first(fixedEnd));
  if (!variable.empty()) {
    Bytes offsets = Little(variable.size(), width);
    for (const Bytes& value : variable) {
      const Bytes offset = Little(row.size(), width);
      offsets.insert(offsets.begin(), offset.begin(), offset.end());
      Append(row, value);
    }
    Append(row, Little(row.size(), width));
    Append(row, offsets);
  }
  Append(row, mask);
  if (layout.isJet3 && row.size() > 256) throw std::invalid_argument("a row with jump bytes");
  return row;
}

Bytes MakePointerRow(uint32_t page, uint8_t slot) {
  return Little(uint64_t{page} << 8 | slot, 4);
}

Bytes MakeDefinition(const STableSpec& table, const SLayout& layout) {
  const SDefinitionLayout& at = layout.definition;
  CPageBytes header(at.headerSize);
  header.PutBytes(0, std::span(at.signature).first(at.signatureSize));
  header.Put32(at.rowCount, table.rowCount).Put8(at.tableType, table.type);
  header.Put16(at.columnsEver, table.CountEver()).Put16(at.variableEver, table.CountVariableEver());
  header.Put16(at.columnCount, static_cast<uint32_t>(table.columns.size()));
  header.Put32(at.logicalCount, static_cast<uint32_t>(table.indexes.size()));
  header.Put32(at.realCount, static_cast<uint32_t>(table.indexes.size()));
  if (at.magic != kAbsent) header.Put32(at.magic, kDefinitionMagic);

  Bytes bytes;
  bytes.resize(table.indexes.size() * at.statisticsSize);
  for (const SColumnSpec& column : table.columns) Append(bytes, MakeColumn(column, layout));
  for (const SColumnSpec& column : table.columns) AppendName(bytes, column.name, layout);
  for (const SIndexSpec& index : table.indexes) Append(bytes, MakeRealIndex(index, layout));
  for (size_t i = 0; i < table.indexes.size(); i++)
    Append(bytes, MakeLogicalIndex(table.indexes[i], static_cast<uint32_t>(i), layout));
  for (const SIndexSpec& index : table.indexes) AppendName(bytes, index.name, layout);
  Append(bytes, Little(0xFFFF, 2));

  header.Put32(at.length, static_cast<uint32_t>(header.GetBytes().size() + bytes.size()));
  bytes.insert(bytes.begin(), header.GetBytes().begin(), header.GetBytes().end());
  return bytes;
}

CDatabaseBuilder::CDatabaseBuilder(const SLayout& layout) : m_layout(layout) {
  CPageBytes& header = Page(AddPage());
  header.Put8(1, 1).PutBytes(4, StoredText(u"Standard Jet DB", kLayoutJet3));
  header.Put8(kHeaderVersion, layout.isJet3 ? 0 : 1);
  Bytes masked(kHeaderMaskEnd - kHeaderMasked);
  ApplyHeaderMask(masked);
  header.PutBytes(kHeaderMasked, masked);
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
  const uint32_t first = AddPage();
  const size_t pageSize = m_layout.pageSize;
  Page(first).PutBytes(0, definition.first(std::min(definition.size(), pageSize)));
  uint32_t last = first;
  size_t onLast = std::min(definition.size(), pageSize);
  for (size_t done = pageSize; done < definition.size(); done += pageSize - kDefinitionHead) {
    const uint32_t page = AddPage();
    const auto body =
        definition.subspan(done, std::min(definition.size() - done, pageSize - kDefinitionHead));
    const auto& signature = m_layout.definition.signature;
    Page(page).PutBytes(0, std::span(signature).first(m_layout.definition.signatureSize));
    Page(page).PutBytes(kDefinitionHead, body);
    Page(last).Put32(kDefinitionNext, page);
    last = page;
    onLast = body.size() + kDefinitionHead;
  }
  if (!m_layout.isJet3 && onLast + kDefinitionHead <= pageSize)
    Page(last).Put16(kFreeBytesOffset, static_cast<uint32_t>(pageSize - kDefinitionHead - onLast));
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
  Bytes masked(m_pages[0].GetBytes().begin() + kHeaderMasked, m_pages[0].GetBytes().begin() + kHeaderMaskEnd);
  ApplyHeaderMask(masked);
  masked.at(position - kHeaderMasked) = static_cast<uint8_t>(value);
  masked.at(position - kHeaderMasked + 1) = static_cast<uint8_t>(value >> 8);
  ApplyHeaderMask(masked);
  m_pages[0].PutBytes(kHeaderMasked, masked);
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
