#include "engine/CatalogueImage.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "model/AccessColumn.h"

namespace tolvane {

namespace {

struct SCatalogueColumn {
  std::u16string_view name;
  uint8_t type;
  uint8_t number;
  uint8_t variableIndex;
  uint8_t flags;
  uint16_t fixedOffset;
  uint16_t length;
};

// In column-number order.
constexpr std::array<SCatalogueColumn, 17> kColumns{{
    {u"Id", kTypeLong, 0, 0, 0x13, 0, 4},
    {u"ParentId", kTypeLong, 1, 0, 0x13, 4, 4},
    {u"Name", kTypeText, 2, 0, 0x12, 0, 510},
    {u"Type", kTypeInteger, 3, 1, 0x13, 8, 2},
    {u"DateCreate", kTypeDate, 4, 1, 0x13, 10, 8},
    {u"DateUpdate", kTypeDate, 5, 1, 0x13, 18, 8},
    {u"Owner", kTypeBinary, 6, 1, 0x32, 0, 510},
    {u"Flags", kTypeLong, 7, 2, 0x13, 26, 4},
    {u"Database", kTypeMemo, 8, 2, 0x12, 0, 0},
    {u"Connect", kTypeMemo, 9, 3, 0x12, 0, 0},
    {u"ForeignName", kTypeText, 10, 4, 0x12, 68, 510},
    {u"RmtInfoShort", kTypeBinary, 11, 5, 0x12, 0, 510},
    {u"RmtInfoLong", kTypeOle, 12, 6, 0x12, 0, 0},
    {u"Lv", kTypeOle, 13, 7, 0x12, 0, 0},
    {u"LvProp", kTypeOle, 14, 8, 0x12, 0, 0},
    {u"LvModule", kTypeOle, 15, 9, 0x12, 65535, 0},
    {u"LvExtra", kTypeOle, 16, 10, 0x12, 1028, 0},
}};
constexpr uint16_t kVariableColumns = 11;
constexpr uint16_t kJet3TextBytes = 255;
constexpr uint8_t kIdColumn = 0;
constexpr uint8_t kParentIdColumn = 1;
constexpr uint8_t kNameColumn = 2;
constexpr uint32_t kIndexes = 2;  // (ParentId, Name) and the primary key (Id)

class CImage {
 public:
  CImage(const SLayout& layout, const SRecoveryRules& rules)
      : m_layout(layout), m_rules(rules), m_bytes(layout.pageSize), m_columns(kColumns) {
    if (layout.isJet3) {
      for (SCatalogueColumn& column : m_columns) column.length = std::min(column.length, kJet3TextBytes);
    } else {
      // Jet 4 keeps system columns in the order of their names.
      std::sort(m_columns.begin(), m_columns.end(),
                [](const auto& a, const auto& b) { return a.name < b.name; });
    }
  }

  std::vector<uint8_t> Make() {
    PutHeader();
    size_t at = m_layout.definition.headerSize + kIndexes * m_layout.definition.statisticsSize;
    for (const SCatalogueColumn& column : m_columns) at = PutColumn(at, column);
    for (const SCatalogueColumn& column : m_columns) at = PutName(at, column.name);
    at = PutRealIndex(at, std::array{kParentIdColumn, kNameColumn});
    at = PutRealIndex(at, std::array{kIdColumn});
    at = PutLogicalIndex(at, 1, kIndexKindPrimary);
    at = PutLogicalIndex(at, 0, 0);
    at = PutName(at, u"Id");
    at = PutName(at, u"ParentIdName");
    Put(at, 0xFFFF, 2);
    Put(m_layout.definition.length, at + 2, 4);
    return std::move(m_bytes);
  }

 private:
  void Put(size_t position, uint64_t value, size_t width) {
    for (size_t i = 0; i < width; i++) m_bytes.at(position + i) = static_cast<uint8_t>(value >> (8 * i));
  }

  void PutHeader() {
    const SDefinitionLayout& at = m_layout.definition;
    std::copy_n(at.signature.begin(), at.signatureSize, m_bytes.begin());
    if (at.magic != kAbsent) Put(at.magic, kDefinitionMagic, 4);
    Put(at.tableType, kSystemTable, 1);
    Put(at.columnsEver, kColumns.size(), 2);
    Put(at.variableEver, kVariableColumns, 2);
    Put(at.columnCount, kColumns.size(), 2);
    Put(at.logicalCount, kIndexes, 4);
    Put(at.realCount, kIndexes, 4);
  }

  size_t PutColumn(size_t position, const SCatalogueColumn& column) {
    const SColumnLayout& at = m_layout.column;
    Put(position, column.type, 1);
    Put(position + at.number, column.number, 2);
    Put(position + at.variableIndex, column.variableIndex, 2);
    Put(position + at.flags, column.flags, 1);
    Put(position + at.fixedOffset, column.fixedOffset, 2);
    Put(position + at.length, column.length, 2);
    return position + at.size;
  }

  // A decoder that takes the raw bytes of a Jet 3 name for UTF-16 needs them so, with the zero that ends the
  // name.
  size_t PutName(size_t position, std::u16string_view name) {
    const bool isRaw = m_layout.isJet3 && m_rules.rawJet3Names;
    const size_t unit = m_layout.isJet3 && !isRaw ? 1 : 2;
    const size_t units = name.size() + (isRaw ? 1 : 0);
    Put(position, units * unit, m_layout.text.nameLengthSize);
    position += m_layout.text.nameLengthSize;
    for (size_t i = 0; i < name.size(); i++) Put(position + i * unit, name[i], unit);
    return position + units * unit;
  }

  size_t PutRealIndex(size_t position, std::span<const uint8_t> columns) {
    const SRealIndexLayout& at = m_layout.realIndex;
    if (at.magic != kAbsent) Put(position + at.magic, kRealIndexMagic, 4);
    for (size_t i = 0; i < kIndexSlots; i++) {
      const size_t place = position + at.slots + i * kIndexSlotSize;
      Put(place, i < columns.size() ? columns[i] : kNoColumn, 2);
      Put(place + 2, kIndexAscending, 1);
    }
    if (!m_layout.isJet3) Put(position + m_rules.indexFlagsOffsetJet4, kIndexUnique, 1);
    Put(position + at.flags, kIndexUnique | at.alwaysSet, 1);
    return position + at.size;
  }

  size_t PutLogicalIndex(size_t position, uint32_t number, uint8_t kind) {
    const SLogicalIndexLayout& at = m_layout.logicalIndex;
    if (at.magic != kAbsent) Put(position + at.magic, kDefinitionMagic, 4);
    Put(position + at.number, number, 4);
    Put(position + at.realIndex, number, 4);
    Put(position + at.kind, kind, 1);
    return position + at.size;
  }

  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  std::vector<uint8_t> m_bytes;
  std::array<SCatalogueColumn, kColumns.size()> m_columns;
};

}  // namespace

std::vector<uint8_t> MakeCatalogueImage(const SLayout& layout, const SRecoveryRules& rules) {
  return CImage(layout, rules).Make();
}

}  // namespace tolvane
