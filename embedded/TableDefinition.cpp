#include "embedded/TableDefinition.h"

#include <set>

#include "embedded/ObjectName.h"
#include "embedded/StoredText.h"

namespace tolvane {
namespace {

// Relationships share real indexes, so there may be more logical ones than a table has real ones.
constexpr size_t kMaxLogicalIndexes = 1024;

// What later code relies on: numbers within their counts, unique, and fixed columns inside the row.
bool IsSound(const SLayout& layout, const STableDefinition& definition) {
  std::set<uint16_t> numbers, variables;
  for (const SColumnDefinition& column : definition.columns) {
    if (column.number >= definition.columnsEver || !numbers.insert(column.number).second) return false;
    if (column.IsFixed() && size_t{column.fixedOffset} + column.GetFixedSize() > layout.pageSize)
      return false;
    if (!column.IsFixed() &&
        (column.variableIndex >= definition.variableEver || !variables.insert(column.variableIndex).second))
      return false;
  }
  for (const SRealIndex& index : definition.realIndexes)
    for (const SIndexColumn& column : index.columns)
      if (numbers.count(column.number) == 0) return false;
  return definition.columnsEver <= kMaxFields && definition.realIndexes.size() <= kMaxIndexes &&
         definition.logicalIndexes.size() <= kMaxLogicalIndexes;
}

}  // namespace

std::vector<uint8_t> EncodeDefinition(const SLayout& layout, const STableDefinition& definition) {
  return EncodeDefinition(layout, definition,
                          [&](std::u16string_view name) { return EncodeName(layout, name); });
}

CDaoResult StoreDefinition(CPageFile& file, const STableDefinition& definition,
                           std::vector<uint32_t>& pages) {
  const SLayout& layout = file.GetLayout();
  const std::vector<uint8_t> block = EncodeDefinition(layout, definition);
  const size_t needed = CountDefinitionPages(layout, block.size());
  while (pages.size() < needed) {
    uint32_t page = 0;
    if (CDaoResult result = file.Allocate(EPageUse::Structure, page); !result.IsOk()) return result;
    pages.push_back(page);
  }
  std::vector<uint8_t> bytes(layout.pageSize);
  for (size_t i = 0; i < needed; i++) {
    EncodeDefinitionPage(layout, block, i, i + 1 < needed ? pages[i + 1] : 0, bytes);
    if (CDaoResult result = file.Write(pages[i], bytes); !result.IsOk()) return result;
  }
  return CDaoResult::Ok();
}

CDaoResult LoadDefinition(CPageFile& file, uint32_t firstPage, STableDefinition& definition,
                          std::vector<uint32_t>& pages) {
  // A definition has few pages; a chain longer than the counts allow is a loop or damage.
  constexpr size_t kMaxPages = 64;
  const SLayout& layout = file.GetLayout();
  const CDaoResult damaged{EDaoError::NotADatabase, u"A table definition in the database is damaged."};
  CDaoResult result;
  std::vector<uint8_t> bytes(layout.pageSize), block;
  pages.clear();
  const auto read = [&](uint32_t page) {
    result = page < file.GetPageCount() && pages.size() < kMaxPages ? file.Read(page, bytes) : damaged;
    if (result.IsOk() && bytes[kPageTypeAt] != kPageDefinition) result = damaged;
    pages.push_back(page);
    return result.IsOk() ? std::span<const uint8_t>(bytes) : std::span<const uint8_t>();
  };
  ReadDefinitionChain(firstPage, read, block);
  if (!result.IsOk()) return result;
  bool isSound = true;
  DecodeDefinition(
      layout, block, [&](std::span<const uint8_t> name) { return DecodePlainText(layout.text, name); },
      [&](const SDefinitionFault&) { isSound = false; }, definition);
  return isSound && IsSound(layout, definition) ? CDaoResult::Ok() : damaged;
}

}  // namespace tolvane
