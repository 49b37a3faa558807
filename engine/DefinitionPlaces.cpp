#include "engine/DefinitionPlaces.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "engine/FreePageMap.h"
#include "format/PageHead.h"

namespace tolvane {

namespace {

// Pages of rows that are asked for their owner.
constexpr size_t kMapPagesAsked = 4;
constexpr uint64_t kMapPagesRead = 65536;

// What the pages that a definition leads to say of its number.
struct SStatement {
  std::optional<uint32_t> number;  // nothing: they do not agree, or there are none
  bool hasIndexes = false, hasRows = false;
  // An empty table without indexes may stand anywhere.
  [[nodiscard]] bool IsMute() const { return !hasIndexes && !hasRows; }
};

class CWitness {
 public:
  explicit CWitness(CSource& source) : m_source(source), m_page(source.GetLayout().pageSize) {}

  SStatement Ask(const CAccessTable& table) {
    m_said = {};
    m_agree = true;
    for (const CAccessTableIndex& index : table.indexes)
      if (index.rootPage != 0 && Load(index.rootPage) &&
          (m_page[0] == kPageIndexNode || m_page[0] == kPageIndexLeaf))
        Hear(m_said.hasIndexes);
    AskRows(table);
    if (!m_agree) m_said.number.reset();
    return m_said;
  }

 private:
  bool Load(uint32_t number) {
    return m_source.ReadPage(number, m_page) && IsSoundPage(m_page, m_source.GetLayout());
  }

  void Hear(bool& isHeard) {
    const uint32_t owner = OwnerOf(m_page);
    m_agree = m_agree && (!m_said.number || *m_said.number == owner);
    m_said.number = owner;
    isHeard = true;
  }

  void AskRows(const CAccessTable& table) {
    std::vector<uint32_t> pages;
    const auto map = SRowPointer::FromWord(table.header.usedPagesMap);
    ReadUsageMap(m_source.GetPages(), m_source.GetLayout(), map, kMapPagesRead, [&](uint32_t page) {
      if (pages.size() < kMapPagesAsked) pages.push_back(page);
    });
    for (const uint32_t page : pages)
      if (Load(page) && m_page[0] == kPageData) Hear(m_said.hasRows);
  }

  CSource& m_source;
  std::vector<uint8_t> m_page;
  SStatement m_said;
  bool m_agree = true;
};

}  // namespace

PagePairs FindSwappedDefinitions(const CAccessTableList& tables, CSource& source) {
  const uint32_t pageSize = source.GetLayout().pageSize;
  CWitness witness(source);
  std::unordered_map<uint32_t, SStatement> statements;  // by the page where the definition stands
  for (const auto& table : tables) {
    const uint32_t page = table->GetPage(pageSize);
    const SStatement said = witness.Ask(*table);
    if (said.IsMute() || (said.number && *said.number != page)) statements.emplace(page, said);
  }
  PagePairs swapped;
  for (const auto& [page, said] : statements) {
    const auto other = said.number ? statements.find(*said.number) : statements.end();
    if (other == statements.end()) continue;
    const SStatement& others = other->second;
    const bool isEachOthers = others.number ? *others.number == page && page < *said.number : true;
    if (isEachOthers && (said.hasIndexes || others.hasIndexes) && (said.hasRows || others.hasRows))
      swapped.emplace_back(std::minmax(page, *said.number));
  }
  std::ranges::sort(swapped);
  return swapped;
}

}  // namespace tolvane
