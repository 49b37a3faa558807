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
class CWitness {
 public:
  explicit CWitness(CSource& source) : m_source(source), m_page(source.GetLayout().pageSize) {}

  // Nothing where there are none of either kind, or where they do not agree: pages of one kind alone may be
  // what was swapped.
  std::optional<uint32_t> NumberOf(const CAccessTable& table) {
    m_number.reset();
    m_agree = true;
    for (const CAccessTableIndex& index : table.indexes)
      if (index.rootPage != 0 && Load(index.rootPage) &&
          (m_page[0] == kPageIndexNode || m_page[0] == kPageIndexLeaf))
        Hear();
    if (!m_number || !AskRows(table) || !m_agree) return std::nullopt;
    return m_number;
  }

 private:
  bool Load(uint32_t number) {
    return m_source.ReadPage(number, m_page) && IsSoundPage(m_page, m_source.GetLayout());
  }

  void Hear() {
    const uint32_t owner = OwnerOf(m_page);
    m_agree = m_agree && (!m_number || *m_number == owner);
    m_number = owner;
  }

  // False: its map names none that can be read.
  bool AskRows(const CAccessTable& table) {
    std::vector<uint32_t> pages;
    const auto map = SRowPointer::FromWord(table.header.usedPagesMap);
    ReadUsageMap(m_source.GetPages(), m_source.GetLayout(), map, kMapPagesRead, [&](uint32_t page) {
      if (pages.size() < kMapPagesAsked) pages.push_back(page);
    });
    bool isHeard = false;
    for (const uint32_t page : pages)
      if (Load(page) && m_page[0] == kPageData) {
        Hear();
        isHeard = true;
      }
    return isHeard;
  }

  CSource& m_source;
  std::vector<uint8_t> m_page;
  std::optional<uint32_t> m_number;
  bool m_agree = true;
};

}  // namespace

PagePairs FindSwappedDefinitions(const CAccessTableList& tables, CSource& source) {
  const uint32_t pageSize = source.GetLayout().pageSize;
  CWitness witness(source);
  std::unordered_map<uint32_t, uint32_t> elsewhere;  // number by the page where the definition stands
  for (const auto& table : tables) {
    const uint32_t page = table->GetPage(pageSize);
    const auto number = witness.NumberOf(*table);
    if (number && *number != page) elsewhere.emplace(page, *number);
  }
  PagePairs swapped;
  for (const auto& [page, number] : elsewhere) {
    const auto other = elsewhere.find(number);
    if (page < number && other != elsewhere.end() && other->second == page)
      swapped.emplace_back(page, number);
  }
  std::ranges::sort(swapped);
  return swapped;
}

}  // namespace tolvane
