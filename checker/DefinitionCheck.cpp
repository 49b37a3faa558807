#include "checker/DefinitionCheck.h"

#include <algorithm>
#include <set>

#include "format/Bytes.h"
#include "format/CompressedText.h"
#include "format/TextKey.h"
#include "platform/CodePage.h"

namespace tolvane {
namespace {

// 255 columns and some hundred indexes with the longest names take less.
constexpr size_t kMaxDefinitionPages = 64;
constexpr size_t kMaxNameUnits = 64;

}  // namespace

std::string MakeStoredNameKey(const CCheckedFile& file, std::span<const uint8_t> stored) {
  std::vector<uint8_t> key;
  if (file.IsJet3())
    AppendJet3TextKey(stored, EKeyOrder::Ascending, key);
  else
    AppendJet4TextKey(stored.first(stored.size() / 2 * 2), EKeyOrder::Ascending, key);
  return {key.begin(), key.end()};
}

std::u16string DecodeStoredText(const CCheckedFile& file, std::span<const uint8_t> stored) {
  if (file.IsJet3()) {
    std::u16string text;
    DecodeCodePage(kWindowsLatin1, stored, text);
    return text;
  }
  std::vector<uint8_t> plain;
  AppendPlainUtf16(stored, plain);
  return UnitsOf(plain);
}

void CDefinitionCheck::Error(std::string_view rule, std::u16string text) {
  m_context.findings.Error(rule, {m_firstPage}, std::move(text));
}
void CDefinitionCheck::Doubt(std::string_view rule, std::u16string text) {
  m_context.findings.Doubt(rule, {m_firstPage}, std::move(text));
}

bool CDefinitionCheck::Load(uint32_t firstPage, SCheckedTable& table) {
  m_firstPage = table.page = firstPage;
  if (!ReadBlock(firstPage)) return false;
  if (!Parse(table)) {
    Error("C1", u"the definition ends before all that it announces");
    return false;
  }
  CheckChain();
  if (!CheckNumbers(table)) return false;
  CheckColumns(table);
  CheckColumnOrder(table);
  CheckFixedPart(table);
  CheckIndexes(table);
  return true;
}

bool CDefinitionCheck::ReadBlock(uint32_t firstPage) {
  m_block.clear();
  m_pages.clear();
  m_freeWords.clear();
  for (uint32_t page = firstPage; page != 0 && m_pages.size() < kMaxDefinitionPages;) {
    if (!m_context.ledger.Claim(page, EPageRole::Definition, firstPage)) break;
    if (!m_page.Load(page)) break;
    const std::span<const uint8_t> bytes = m_page.GetBytes();
    if (bytes[kPageTypeAt] != static_cast<uint8_t>(kPageDefinition) || bytes[kPageMarkAt] != kPageFormatted) {
      m_context.findings.Error("B4", {page}, u"the page is no definition page");
      break;
    }
    const auto head = static_cast<std::ptrdiff_t>(m_pages.empty() ? 0 : kDefinitionHead);
    m_block.insert(m_block.end(), bytes.begin() + head, bytes.end());
    m_pages.push_back(page);
    m_freeWords.push_back(GetLittle<uint16_t>(bytes, kDefinitionFree));
    page = GetLittle<uint32_t>(bytes, kDefinitionNext);
  }
  return !m_pages.empty();
}

// Once the block is parsed its length is known: what each page states about its free bytes follows.
void CDefinitionCheck::CheckChain() {
  const size_t perPage = m_layout.pageSize - kDefinitionHead;
  size_t left = m_block.size() >= kDefinitionHead
                    ? GetLittle<uint32_t>(m_block, m_layout.definition.length) - kDefinitionHead
                    : 0;
  for (size_t i = 0; i < m_pages.size(); i++) {
    const size_t here = std::min(left, perPage);
    left -= here;
    const size_t unused = perPage - here;
    const size_t expected = m_context.file.IsJet3()    ? kJet3DefinitionMark
                            : unused > kDefinitionHead ? unused - kDefinitionHead
                                                       : 0;
    if (m_freeWords[i] == expected) continue;
    if (m_context.file.IsJet3())
      m_context.findings.Error("C3", {m_pages[i]}, u"the page is not marked VC");
    else
      m_context.findings.Error(
          "C2", {m_pages[i]}, Say(u"the page states ", m_freeWords[i], u" free bytes instead of ", expected));
  }
}

void CDefinitionCheck::ExpectMagic(uint32_t found, uint32_t expected, std::u16string_view what) {
  if (found != expected && !m_context.file.IsJet3())
    Error("C3", Say(u"the constant of ", what, u" is ", found, u" instead of ", expected));
}

bool CDefinitionCheck::Parse(SCheckedTable& table) {
  const SDefinitionLayout& at = m_layout.definition;
  CByteTaker taker(m_block);
  const std::span<const uint8_t> header = taker.Take(at.headerSize);
  if (!taker.IsOk()) return false;
  ExpectMagic(GetLittle<uint32_t>(header, at.magic), kDefinitionMagic, u"the definition");
  ExpectMagic(GetLittle<uint32_t>(header, at.autoNumberStep), 1, u"the autonumber step");
  table.tableType = header[at.tableType];
  table.rowCount = GetLittle<uint32_t>(header, at.rowCount);
  table.autoNumber = static_cast<int32_t>(GetLittle<uint32_t>(header, at.autoNumber));
  table.columnsEver = GetLittle<uint16_t>(header, at.columnsEver);
  table.variableEver = GetLittle<uint16_t>(header, at.variableEver);
  table.ownedMap = GetLittle<uint32_t>(header, at.ownedMap);
  table.freeMap = GetLittle<uint32_t>(header, at.freeMap);
  const size_t logical = GetLittle<uint32_t>(header, at.logicalCount);
  const size_t real = GetLittle<uint32_t>(header, at.realCount);
  if (logical > m_block.size() || real > m_block.size()) return false;
  taker.Take(real * at.statisticsSize);
  ParseColumns(taker, GetLittle<uint16_t>(header, at.columnCount), table);
  ParseRealIndexes(taker, real, table);
  ParseLogicalIndexes(taker, logical, table);
  ParseMaps(taker, table);
  if (!taker.IsOk()) return false;
  const auto length = GetLittle<uint32_t>(header, at.length);
  if (length != taker.GetPosition()) {
    Error("C1", Say(u"the definition states ", length, u" bytes and has ", taker.GetPosition()));
    PutLittle(std::span(m_block), at.length, static_cast<uint32_t>(taker.GetPosition()));
  }
  return true;
}

void CDefinitionCheck::ParseColumns(CByteTaker& taker, size_t count, SCheckedTable& table) {
  const size_t size = m_layout.column.size;
  const std::span<const uint8_t> descriptors = taker.Take(count * size);
  if (!taker.IsOk()) return;
  for (size_t i = 0; i < count; i++)
    table.columns.push_back(ParseColumn(descriptors.subspan(i * size, size)));
  for (SCheckedColumn& column : table.columns) {
    SName name = TakeName(taker);
    column.name = std::move(name.text);
    column.nameKey = std::move(name.key);
  }
}

SCheckedColumn CDefinitionCheck::ParseColumn(std::span<const uint8_t> bytes) {
  const SColumnLayout& at = m_layout.column;
  SCheckedColumn column;
  static_cast<SColumnDefinition&>(column) = DecodeColumn(at, bytes);
  ExpectMagic(GetLittle<uint32_t>(bytes, at.magic), kDefinitionMagic, u"a column");
  return column;
}

void CDefinitionCheck::ParseRealIndexes(CByteTaker& taker, size_t count, SCheckedTable& table) {
  const SRealIndexLayout& at = m_layout.realIndex;
  table.positions.assign(table.columnsEver, 0);
  for (size_t i = 0; i < table.columns.size(); i++)
    if (table.columns[i].number < table.positions.size())
      table.positions[table.columns[i].number] = static_cast<uint16_t>(i + 1);
  for (size_t i = 0; i < count && taker.IsOk(); i++) {
    const std::span<const uint8_t> bytes = taker.Take(at.size);
    if (!taker.IsOk()) return;
    ExpectMagic(GetLittle<uint32_t>(bytes, at.magic), kRealIndexMagic, u"a real index");
    SCheckedRealIndex index;
    for (size_t slot = 0; slot < kIndexSlots; slot++) {
      const auto number = GetLittle<uint16_t>(bytes, at.slots + kIndexSlotSize * slot);
      if (number == kNoColumn) continue;
      const SCheckedColumn* column = table.FindColumn(number);
      if (column == nullptr)
        Error("C17", Say(u"real index ", i, u" has column ", number, u", which does not exist"));
      index.parts.push_back({column, (bytes[at.slots + kIndexSlotSize * slot + 2] & 1) != 0});
    }
    if (index.parts.empty()) Error("C17", Say(u"real index ", i, u" has no columns"));
    index.map = GetLittle<uint32_t>(bytes, at.map);
    index.root = GetLittle<uint32_t>(bytes, at.root);
    index.flags = bytes[at.flags];
    table.realIndexes.push_back(std::move(index));
  }
}

void CDefinitionCheck::ParseLogicalIndexes(CByteTaker& taker, size_t count, SCheckedTable& table) {
  const SLogicalIndexLayout& at = m_layout.logicalIndex;
  for (size_t i = 0; i < count && taker.IsOk(); i++) {
    const std::span<const uint8_t> bytes = taker.Take(at.size);
    if (!taker.IsOk()) return;
    ExpectMagic(GetLittle<uint32_t>(bytes, at.magic), kDefinitionMagic, u"a logical index");
    SCheckedLogicalIndex index;
    static_cast<SLogicalIndex&>(index) = DecodeLogicalIndex(at, bytes);
    table.logicalIndexes.push_back(std::move(index));
  }
  for (SCheckedLogicalIndex& index : table.logicalIndexes) {
    SName name = TakeName(taker);
    index.name = std::move(name.text);
    index.nameKey = std::move(name.key);
  }
}

void CDefinitionCheck::ParseMaps(CByteTaker& taker, SCheckedTable& table) {
  while (taker.IsOk()) {
    const auto number = taker.TakeNumber<uint16_t>();
    if (number == kDefinitionEnd || !taker.IsOk()) return;
    const auto owned = taker.TakeNumber<uint32_t>();
    const auto free = taker.TakeNumber<uint32_t>();
    if (table.FindColumn(number) == nullptr) {
      Error("C13", Say(u"there are maps of long values for column ", number, u", which does not exist"));
      continue;
    }
    SCheckedColumn& column = table.columns[table.positions[number] - size_t{1}];
    if (column.hasMaps) Error("C13", Say(u"column ", column.name, u" has its maps twice"));
    column.hasMaps = true;
    column.ownedMap = owned;
    column.freeMap = free;
  }
}

CDefinitionCheck::SName CDefinitionCheck::TakeName(CByteTaker& taker) {
  const size_t size = m_context.file.IsJet3() ? taker.TakeNumber<uint8_t>() : taker.TakeNumber<uint16_t>();
  const std::span<const uint8_t> bytes = taker.Take(size);
  SName name;
  name.key = MakeStoredNameKey(m_context.file, bytes);
  if (m_context.file.IsJet3())
    name.text = DecodeStoredText(m_context.file, bytes);
  else
    name.text = UnitsOf(bytes);
  return name;
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
      Error("C5",
            Say(u"column ", column.name, u" has number ", column.number, u", which is taken or too high"));
      isSound = false;
    }
    if (column.IsFixed()) continue;
    variableColumns++;
    if (column.variableIndex >= table.variableEver || !variables.insert(column.variableIndex).second) {
      Error("C9", Say(u"column ", column.name, u" has variable index ", column.variableIndex,
                      u", which is taken or too high"));
      isSound = false;
    }
  }
  if (table.columnsEver != highest + 1)
    Doubt("C7", Say(table.columnsEver, u" columns ever, but the highest number is ", highest));
  if (table.variableEver != variableColumns)
    Doubt("C8", Say(table.variableEver, u" variable columns ever, but there are ", variableColumns));
  return isSound;
}

void CDefinitionCheck::CheckColumns(const SCheckedTable& table) {
  std::set<std::string> names;
  for (const SCheckedColumn& column : table.columns) {
    if (column.name.empty() || column.name.size() > kMaxNameUnits || !names.insert(column.nameKey).second)
      Error("C6", Say(u"the column name ", column.name, u" is empty, too long or taken"));
    if (column.HoldsLongValues() != column.hasMaps)
      Error("C13", Say(u"column ", column.name,
                       column.hasMaps ? u" has maps of long values, but holds none"
                                      : u" has no maps of its long values"));
    // Decimals of few digits state fewer bytes than their values have.
    const uint16_t length = column.type == kTypeDecimal ? uint16_t{0} : LengthOfType(column.type);
    if (length != 0 && column.length != length && !column.IsCalculated())
      Error("C18", Say(u"column ", column.name, u" of type ", column.type, u" has length ", column.length));
  }
  if (table.tableType != kUserTable && table.tableType != kSystemTable)
    Error("B8", Say(u"the table type is ", table.tableType));
}

void CDefinitionCheck::CheckColumnOrder(const SCheckedTable& table) {
  for (size_t i = 1; i < table.columns.size(); i++) {
    const SCheckedColumn &a = table.columns[i - 1], &b = table.columns[i];
    const bool isOrdered = m_context.file.IsJet3()              ? a.number < b.number
                           : a.displayNumber != b.displayNumber ? a.displayNumber < b.displayNumber
                                                                : a.nameKey < b.nameKey;
    if (isOrdered) continue;
    Error("C4", Say(u"column ", b.name, u" is stored behind ", a.name));
    return;
  }
}

void CDefinitionCheck::CheckFixedPart(const SCheckedTable& table) {
  std::vector<const SCheckedColumn*> fixed;
  for (const SCheckedColumn& column : table.columns)
    if (column.GetFixedSize() != 0) fixed.push_back(&column);
  std::sort(fixed.begin(), fixed.end(),
            [](const auto* a, const auto* b) { return a->fixedOffset < b->fixedOffset; });
  size_t end = 0;
  for (const SCheckedColumn* column : fixed) {
    if (column->fixedOffset < end)
      Error("C10",
            Say(u"column ", column->name, u" begins at ", column->fixedOffset, u", inside another one"));
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
    if (!numbers.insert(index.number).second) Error("C16", Say(u"two indexes have number ", index.number));
    if (i != 0 && !(table.logicalIndexes[i - 1].nameKey < index.nameKey))
      Error("C15", Say(u"index ", index.name, u" is stored behind ", table.logicalIndexes[i - 1].name));
    if (index.realIndex >= isUsed.size()) {
      Error("C14", Say(u"index ", index.name, u" is carried by real index ", index.realIndex,
                       u", which does not exist"));
      continue;
    }
    isUsed[index.realIndex] = true;
    if (index.kind != kIndexKindPrimary) continue;
    primaries++;
    if (!table.realIndexes[index.realIndex].Has(kIndexUnique))
      Error("E13", Say(u"primary key ", index.name, u" is not unique"));
    else if (!table.realIndexes[index.realIndex].Has(kIndexRequired) && table.tableType == kUserTable)
      Doubt("E13", Say(u"primary key ", index.name, u" takes nulls"));
  }
  if (primaries > 1) Error("E13", Say(primaries, u" primary keys"));
  for (size_t i = 0; i < isUsed.size(); i++)
    if (!isUsed[i]) Error("C14", Say(u"real index ", i, u" carries no index"));
}

}  // namespace tolvane
