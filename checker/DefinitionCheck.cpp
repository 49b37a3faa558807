#include "checker/DefinitionCheck.h"

#include <algorithm>
#include <set>

#include "format/CompressedText.h"
#include "format/TextKey.h"
#include "platform/CodePage.h"

namespace tolvane {
namespace {

// 255 columns and some hundred indexes with the longest names take less.
constexpr size_t kMaxDefinitionPages = 64;

}  // namespace

std::u16string DecodeStoredText(const CCheckedFile& file, std::span<const uint8_t> stored) {
  if (!file.IsJet3()) return UnpackText(stored);
  std::u16string text;
  DecodeCodePage(kWindowsLatin1, stored, text);
  return text;
}

bool CDefinitionCheck::Load(uint32_t firstPage, SCheckedTable& table) {
  m_firstPage = table.page = firstPage;
  ReadBlock();
  if (m_pages.empty()) return false;
  if (!Parse(table)) return false;
  CheckChain();
  if (!CheckNumbers(table)) return false;
  CheckColumns(table);
  CheckColumnOrder(table);
  CheckFixedPart(table);
  CheckIndexes(table);
  return true;
}

void CDefinitionCheck::ReadBlock() {
  m_pages.clear();
  m_freeWords.clear();
  const auto read = [this](uint32_t page) -> std::span<const uint8_t> {
    if (m_pages.size() == kMaxDefinitionPages ||
        !m_context.ledger.Claim(page, EPageRole::Definition, m_firstPage) || !m_page.Load(page))
      return {};
    const std::span<const uint8_t> bytes = m_page.GetBytes();
    if (bytes[kPageTypeAt] != kPageDefinition || bytes[kPageMarkAt] != kPageFormatted) {
      m_context.findings.Error("B4", {page}, u"the page is no definition page");
      return {};
    }
    m_pages.push_back(page);
    m_freeWords.push_back(GetLittle<uint16_t>(bytes, kDefinitionFree));
    return bytes;
  };
  ReadDefinitionChain(m_firstPage, read, m_block);
}

// Once the block is parsed its length is known: what each page states about its free bytes follows.
void CDefinitionCheck::CheckChain() {
  const size_t perPage = m_layout.pageSize - kDefinitionHead;
  size_t left = m_length - kDefinitionHead;
  for (size_t i = 0; i < m_pages.size(); i++) {
    const size_t here = std::min(left, perPage);
    left -= here;
    const uint16_t expected = DefinitionWord(m_layout, perPage - here);
    if (m_freeWords[i] == expected) continue;
    if (m_context.file.IsJet3())
      m_context.findings.Error("C3", {m_pages[i]}, u"the page is not marked VC");
    else
      m_context.findings.Error("C2", {m_pages[i]}, u"the page states ", m_freeWords[i],
                               u" free bytes instead of ", expected);
  }
}

void CDefinitionCheck::File(const SDefinitionFault& fault) {
  switch (fault.kind) {
    case EDefinitionFault::Cut:
      return Error("C1", u"the definition ends before all that it announces");
    case EDefinitionFault::Length:
      m_length = static_cast<size_t>(fault.found);
      return Error("C1", u"the definition states ", fault.expected, u" bytes and has ", fault.found);
    case EDefinitionFault::Magic:
      return Error("C3", u"the constant of ", fault.part, u" is ", fault.found, u" instead of ",
                   fault.expected);
    case EDefinitionFault::MapsOfNoColumn:
      return Error("C13", u"there are maps of long values for column ", fault.found,
                   u", which does not exist");
    case EDefinitionFault::MapsTwice:
      return Error("C13", u"column ", fault.part, u" has its maps twice");
  }
}

bool CDefinitionCheck::Parse(SCheckedTable& table) {
  STableDefinition definition;
  std::vector<std::string> keys;  // of all names, in their order
  const auto decodeName = [&](std::span<const uint8_t> stored) {
    keys.push_back(MakeNameKey(m_context.file.IsJet3(), stored));
    return m_context.file.IsJet3() ? DecodeStoredText(m_context.file, stored) : UnitsOf(stored);
  };
  m_length = GetLittle<uint32_t>(m_block, m_layout.definition.length);
  const bool isWhole = DecodeDefinition(
      m_layout, m_block, decodeName, [this](const SDefinitionFault& fault) { File(fault); }, definition);
  if (!isWhole) return false;
  table.tableType = definition.tableType;
  table.rowCount = definition.rowCount;
  table.autoNumber = static_cast<int32_t>(definition.autoNumber);
  table.columnsEver = definition.columnsEver;
  table.variableEver = definition.variableEver;
  table.ownedMap = definition.ownedMap;
  table.freeMap = definition.freeMap;
  TakeColumns(definition, keys, table);
  TakeIndexes(definition, keys, table);
  return true;
}

void CDefinitionCheck::TakeColumns(STableDefinition& definition, std::vector<std::string>& keys,
                                   SCheckedTable& table) {
  table.positions.assign(table.columnsEver, 0);
  for (size_t i = 0; i < definition.columns.size(); i++) {
    SCheckedColumn& column = table.columns.emplace_back();
    static_cast<SColumnDefinition&>(column) = std::move(definition.columns[i]);
    column.nameKey = std::move(keys[i]);
    if (column.number < table.positions.size()) table.positions[column.number] = static_cast<uint16_t>(i + 1);
  }
}

// After the columns.
void CDefinitionCheck::TakeIndexes(STableDefinition& definition, std::vector<std::string>& keys,
                                   SCheckedTable& table) {
  for (size_t i = 0; i < definition.realIndexes.size(); i++) {
    const SRealIndex& from = definition.realIndexes[i];
    SCheckedRealIndex& index = table.realIndexes.emplace_back();
    for (const SIndexColumn& part : from.columns) {
      index.parts.push_back({table.FindColumn(part.number), part.ascending});
      if (index.parts.back().column == nullptr)
        Error("C17", u"real index ", i, u" has column ", part.number, u", which does not exist");
    }
    if (index.parts.empty()) Error("C17", u"real index ", i, u" has no columns");
    index.map = from.map;
    index.root = from.root;
    index.flags = from.flags;
  }
  for (size_t i = 0; i < definition.logicalIndexes.size(); i++) {
    SCheckedLogicalIndex& index = table.logicalIndexes.emplace_back();
    static_cast<SLogicalIndex&>(index) = std::move(definition.logicalIndexes[i]);
    index.nameKey = std::move(keys[table.columns.size() + i]);
  }
}

// What rows and indexes are read by.
bool CDefinitionCheck::CheckNumbers(SCheckedTable& table) {
  std::set<uint16_t> numbers, variables;
  size_t variableColumns = 0;
  int highest = -1;
  bool isSound = true;
  for (const SCheckedColumn& column : table.columns) {
    highest = std::max<int>(highest, column.number);
    if (column.number >= table.columnsEver || !numbers.insert(column.number).second) {
      Error("C5", u"column ", column.name, u" has number ", column.number, u", which is taken or too high");
      isSound = false;
    }
    if (column.IsFixed()) continue;
    variableColumns++;
    if (column.variableIndex >= table.variableEver || !variables.insert(column.variableIndex).second) {
      Error("C9", u"column ", column.name, u" has variable index ", column.variableIndex,
            u", which is taken or too high");
      isSound = false;
    }
  }
  if (table.columnsEver != highest + 1)
    Doubt("C7", table.columnsEver, u" columns ever, but the highest number is ", highest);
  if (table.variableEver != variableColumns)
    Doubt("C8", table.variableEver, u" variable columns ever, but there are ", variableColumns);
  return isSound;
}

void CDefinitionCheck::CheckColumns(const SCheckedTable& table) {
  std::set<std::string> names;
  for (const SCheckedColumn& column : table.columns) {
    if (column.name.empty() || column.name.size() > kMaxNameLength || !names.insert(column.nameKey).second)
      Error("C6", u"the column name ", column.name, u" is empty, too long or taken");
    if (column.HoldsLongValues() != column.hasMaps)
      Error(
          "C13", u"column ", column.name,
          column.hasMaps ? u" has maps of long values, but holds none" : u" has no maps of its long values");
    // Decimals of few digits state fewer bytes than their values have.
    const uint16_t length = column.type == kTypeDecimal ? uint16_t{0} : LengthOfType(column.type);
    if (length != 0 && column.length != length && !column.IsCalculated())
      Error("C18", u"column ", column.name, u" of type ", column.type, u" has length ", column.length);
  }
  if (table.tableType != kUserTable && table.tableType != kSystemTable)
    Error("B8", u"the table type is ", table.tableType);
}

void CDefinitionCheck::CheckColumnOrder(const SCheckedTable& table) {
  for (size_t i = 1; i < table.columns.size(); i++) {
    const SCheckedColumn &a = table.columns[i - 1], &b = table.columns[i];
    const bool isOrdered = m_context.file.IsJet3()              ? a.number < b.number
                           : a.displayNumber != b.displayNumber ? a.displayNumber < b.displayNumber
                                                                : a.nameKey < b.nameKey;
    if (isOrdered) continue;
    Error("C4", u"column ", b.name, u" is stored behind ", a.name);
    return;
  }
}

void CDefinitionCheck::CheckFixedPart(const SCheckedTable& table) {
  std::vector<const SCheckedColumn*> fixed;
  for (const SCheckedColumn& column : table.columns)
    if (column.GetFixedSize() != 0) fixed.push_back(&column);
  std::ranges::sort(fixed, {}, &SColumnDefinition::fixedOffset);
  size_t end = 0;
  for (const SCheckedColumn* column : fixed) {
    if (column->fixedOffset < end)
      Error("C10", u"column ", column->name, u" begins at ", column->fixedOffset, u", inside another one");
    end = size_t{column->fixedOffset} + column->GetFixedSize();
  }
  if (end > m_layout.pageSize) Error("C10", u"the fixed columns are longer than a page");
}

void CDefinitionCheck::CheckIndexes(const SCheckedTable& table) {
  std::set<uint32_t> numbers;
  std::vector<bool> isUsed(table.realIndexes.size());
  size_t primaries = 0;
  for (size_t i = 0; i < table.logicalIndexes.size(); i++) {
    const SCheckedLogicalIndex& index = table.logicalIndexes[i];
    if (!numbers.insert(index.number).second) Error("C16", u"two indexes have number ", index.number);
    if (i != 0 && !(table.logicalIndexes[i - 1].nameKey < index.nameKey))
      Error("C15", u"index ", index.name, u" is stored behind ", table.logicalIndexes[i - 1].name);
    if (index.realIndex >= isUsed.size()) {
      Error("C14", u"index ", index.name, u" is carried by real index ", index.realIndex,
            u", which does not exist");
      continue;
    }
    isUsed[index.realIndex] = true;
    if (index.kind != kIndexKindPrimary) continue;
    primaries++;
    if (!table.realIndexes[index.realIndex].Has(kIndexUnique))
      Error("E13", u"primary key ", index.name, u" is not unique");
    else if (!table.realIndexes[index.realIndex].Has(kIndexRequired) && table.tableType == kUserTable)
      Doubt("E13", u"primary key ", index.name, u" takes nulls");
  }
  if (primaries > 1) Error("E13", primaries, u" primary keys");
  for (size_t i = 0; i < isUsed.size(); i++)
    if (!isUsed[i]) Error("C14", u"real index ", i, u" carries no index");
}

}  // namespace tolvane
