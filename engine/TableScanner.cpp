#include "engine/TableScanner.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "engine/DefinitionParts.h"
#include "format/PageHead.h"
#include "format/SystemTables.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kDefinitionStatus = u"(Step 1/4)Scanning file for table definition: ";
constexpr std::u16string_view kDataStatus = u"(Step 2/4)Scanning file for table data: ";

// The status line of a scan. A reader polls it once a second, so that most refreshes only note the offset.
class CScanStatus {
 public:
  CScanStatus(CStatusProgress& status, std::u16string_view label, uint64_t length)
      : m_status(status), m_label(label), m_length(length) {
    Show(0);
  }
  ~CScanStatus() { Flush(); }
  CScanStatus(const CScanStatus&) = delete;
  CScanStatus& operator=(const CScanStatus&) = delete;

  void Refresh(uint64_t offset) {
    m_noted = offset;
    if (++m_count % kPagesBetween == 0) Flush();
  }
  void Flush() {
    if (m_noted) Show(*m_noted);
  }

 private:
  static constexpr uint32_t kPagesBetween = 64;
  static constexpr uint64_t kBytesPerUnit = 1000;

  void Show(uint64_t offset) {
    std::u16string text(m_label);
    text += ToDecimal(offset / kBytesPerUnit);
    text += u"(kb) / ";
    text += ToDecimal(m_length / kBytesPerUnit);
    text += u"(kb)";
    m_status.SetText(std::move(text));
    m_noted.reset();
  }

  CStatusProgress& m_status;
  std::u16string_view m_label;
  uint64_t m_length;
  uint32_t m_count = 0;
  std::optional<uint64_t> m_noted;
};

// What a candidate's page says: which page goes on with it, and whether it names the kind of its table.
struct SCandidate {
  uint64_t next = 0;
  bool isTyped = false;
  size_t walk = 0;  // that came by
};
using Candidates = std::map<uint64_t, SCandidate>;  // by offset

// How many candidates name each offset as their next page. A damaged chain can lead back to its own start:
// such a ring has a start, too, the first page that names a kind; the link that leads back to it does not
// count.
std::unordered_map<uint64_t, size_t> CountNamed(Candidates& candidates) {
  std::unordered_map<uint64_t, size_t> named;
  for (const auto& [offset, candidate] : candidates) named[candidate.next]++;
  size_t walk = 0;
  for (auto first = candidates.begin(); first != candidates.end(); ++first) {
    auto at = first;
    for (walk++; at != candidates.end() && at->second.walk == 0; at = candidates.find(at->second.next))
      at->second.walk = walk;
    if (at == candidates.end() || at->second.walk != walk) continue;
    auto start = at;
    for (auto page = candidates.find(at->second.next); page != at;
         page = candidates.find(page->second.next)) {
      const bool isBetter =
          page->second.isTyped != start->second.isTyped ? page->second.isTyped : page->first < start->first;
      if (isBetter) start = page;
    }
    named[start->first]--;
  }
  return named;
}

// Pages of long values and of usage maps belong to no table.
bool IsOwnerOfRows(uint32_t owner) {
  return owner != kOwnerLongValues && owner != kOwnerMaps && owner != kGlobalMapPage;
}

}  // namespace

// Whether owner pages still look like definitions. One page is read for each owner that is a candidate.
class CTableScanner::COwners {
 public:
  COwners(CSource& source, const SRecoveryRules& rules)
      : m_source(source),
        m_rules(rules),
        m_pageCount(source.GetPageCount()),
        m_page(source.GetLayout().pageSize) {}

  [[nodiscard]] uint64_t OffsetOf(uint32_t owner) const { return uint64_t{owner} * m_page.size(); }

  // For Jet 4 the page number, not the byte offset, is compared with the end of the file; what only the byte
  // offset would reject is stopped by the number of pages.
  [[nodiscard]] bool IsPossible(uint32_t owner, bool isTable) const {
    // The definition may stand in a template, and the damaged file end in front of its page.
    const bool isWithin = owner < m_pageCount || (isTable && m_rules.mendDefinitions);
    return isWithin && !(m_source.GetLayout().isJet3 && owner == 0);
  }

  bool IsDefinition(uint32_t owner) {
    if (owner == kObjectsPage || !m_rules.requireOwnerDefinition) return true;
    const auto [entry, isNew] = m_isDefinition.try_emplace(owner, false);
    if (isNew) {
      const bool isRead = m_source.ReadPage(owner, m_page);
      // An owner that cannot be read is taken for the one before it.
      entry->second = (isRead || m_rules.unreadablePageKeepsPrevious) && IsPageOf(m_page, kPageDefinition);
    }
    return entry->second;
  }

 private:
  CSource& m_source;
  const SRecoveryRules& m_rules;
  uint64_t m_pageCount;
  std::vector<uint8_t> m_page;
  std::unordered_map<uint32_t, bool> m_isDefinition;
};

void CTableScanner::Count(CAccessData& data, EDamage kind, uint64_t page, uint64_t amount) {
  data.GetLedger().Add(kind, {.page = page, .amount = amount});
}

void CTableScanner::ScanTableDefinitions(CAccessData& data, CSource& definitions, PageNotes* notes) const {
  if (!definitions.IsOpen()) return;
  const SLayout& layout = definitions.GetLayout();
  const uint64_t pageCount = definitions.GetPageCount();
  CProgressStatus& progress = m_job.progress;
  progress.Begin(2 * pageCount);
  CScanStatus status(m_job.status, kDefinitionStatus, definitions.GetPages().GetLength());
  data.GetTables().AddTable(uint64_t{kObjectsPage} * layout.pageSize);

  std::vector<uint8_t> page(layout.pageSize);
  for (uint64_t number = 0; number < pageCount; number++) {
    if (!m_job.repairing.IsRunning()) return;
    const uint64_t offset = number * layout.pageSize;
    const bool isNoted = notes != nullptr && number < notes->size();
    const SPageNote note = isNoted
                               ? (*notes)[static_cast<size_t>(number)]
                               : NotePage(page, number, definitions.ReadPage(number, page), layout, m_rules);
    if (notes != nullptr && !isNoted) notes->push_back(note);
    const bool isUsable = note.isRead || m_rules.unreadablePageKeepsPrevious;
    if (isUsable && number != kObjectsPage && (note.startsTable || note.mayStartTable))
      data.GetTables().AddTable(offset).isGuessed = !note.startsTable;
    status.Refresh(offset);
    progress.IncrementPos();
  }
  if (m_rules.useBuiltInSystemTables) AddBuiltInTables(data, definitions);
}

void CTableScanner::AddBuiltInTables(CAccessData& data, const CSource& definitions) {
  const SLayout& layout = definitions.GetLayout();
  const bool isAce = !layout.isJet3 && definitions.GetFacts().versionByte >= kVersionAce12;
  for (const SSystemTable& system : GetSystemTables(isAce ? kLayoutAce : layout)) {
    const uint64_t offset = uint64_t{system.page} * layout.pageSize;
    // Those behind it have no rows.
    if (system.page > kComplexColumnsPage || data.GetTables().FindTable(offset) != nullptr) continue;
    CAccessTable& table = data.GetTables().AddTable(offset);
    table.isGuessed = table.isBuiltIn = true;
  }
}

void CTableScanner::DropGuesses(CAccessData& data) {
  for (const auto& table : data.GetTables())
    if (table->isGuessed && table->dataPages.GetCount() == 0) table->keepFlag = 0;
  data.GetTables().RemoveUnmarked();
}

void CTableScanner::DropContinuationDefinitions(CAccessData& data, CSource& definitions) const {
  if (!definitions.IsOpen()) return;
  const SLayout& layout = definitions.GetLayout();
  CAccessTableList& tables = data.GetTables();
  Candidates candidates;
  std::unordered_set<uint64_t> first;
  std::vector<uint8_t> page(layout.pageSize);
  for (const auto& table : tables) {
    if (!m_job.repairing.IsRunning()) return;
    const uint64_t offset = table->GetDefinitionOffset();
    if (offset == 0 || table->isBuiltIn) continue;
    if (offset > definitions.GetPages().GetLength()) return;
    if (!definitions.GetPages().ReadPage(offset, page) && !m_rules.unreadablePageKeepsPrevious) continue;
    candidates[offset] = {.next = uint64_t{GetLittle<uint32_t>(page, kDefinitionNext)} * layout.pageSize,
                          .isTyped = HasTableType(page, layout)};
    // Whoever names the first page of a definition as its next one has a wrong link.
    if (m_rules.mendDefinitions && ProvesFirstPage(page, layout)) first.insert(offset);
  }
  auto named = CountNamed(candidates);
  for (const auto& table : tables) {
    const uint64_t offset = table->GetDefinitionOffset();
    if (named[offset] > 0 && first.count(offset) == 0) table->keepFlag = 0;
  }
  tables.RemoveUnmarked();
}

CTableScanner::EOwner CTableScanner::CreditPage(CAccessData& data, const SPageNote& note, uint64_t offset,
                                                COwners& owners, const CTemplateMatch& match) {
  if (!note.isData) return EOwner::None;
  const uint32_t owner = note.owner;
  const uint64_t definition = owners.OffsetOf(match.DefinitionOf(owner));
  const CAccessTable* const table = data.GetTables().FindTable(definition);
  if (!owners.IsPossible(owner, table != nullptr)) return EOwner::Impossible;
  if (table == nullptr) return EOwner::Unknown;
  if (!table->isBuiltIn && !owners.IsDefinition(owner)) return EOwner::Unknown;
  data.GetTables().CreditDataPage(offset, definition);
  return EOwner::Known;
}

std::vector<SHomelessPage> CTableScanner::ScanDataPages(CAccessData& data, CSource& source,
                                                        const CTemplateMatch& match, CPageTwins* twins,
                                                        std::span<const SPageNote> notes) const {
  std::vector<SHomelessPage> homeless;
  if (!source.IsOpen()) return homeless;
  const SLayout& layout = source.GetLayout();
  const CFreePageMap& freePages = source.GetFreePages();
  COwners owners(source, m_rules);
  const uint64_t pageCount = source.GetPageCount();
  CProgressStatus& progress = m_job.progress;
  // Another range only where the definitions came from a file of another length.
  progress.SetMax(static_cast<uint64_t>(progress.GetPos()) + pageCount);
  CScanStatus status(m_job.status, kDataStatus, source.GetPages().GetLength());

  std::vector<uint8_t> page(layout.pageSize);
  for (uint64_t number = 0; number < pageCount; number++) {
    if (!m_job.repairing.IsRunning()) return homeless;
    const uint64_t offset = number * layout.pageSize;
    progress.IncrementPos();
    const SPageNote note = number < notes.size()
                               ? notes[static_cast<size_t>(number)]
                               : NotePage(page, number, source.ReadPage(number, page), layout, m_rules);
    if (!note.isRead)
      Count(data, source.GetPages().HasPlace(offset) ? EDamage::UnreadablePage : EDamage::LostPage, number);
    if (!note.isRead && !m_rules.unreadablePageKeepsPrevious) continue;
    const bool isFree = freePages.IsFree(number);
    if (isFree && !m_rules.creditFreedPages) {
      if (m_rules.adoptOrphanPages && note.isData)
        homeless.push_back({static_cast<uint32_t>(number), SHomelessPage::EReason::Free});
      continue;
    }
    const EOwner owner = CreditPage(data, note, offset, owners, match);
    if (twins != nullptr && owner == EOwner::Known) twins->Note(note.print, static_cast<uint32_t>(number));
    const bool isLost = owner == EOwner::Impossible || owner == EOwner::Unknown;
    const bool isOrphan = note.isRead && isLost && !isFree && (IsOwnerOfRows(note.owner) || note.hasNoMaps);
    const CAccessTable* const defined = data.GetTables().FindTable(offset);
    const bool isDefinition = m_rules.mendDefinitions && defined != nullptr && !defined->isBuiltIn;
    if (m_rules.adoptOrphanPages && (isOrphan || note.hasNoHead) && !isDefinition)
      homeless.push_back({static_cast<uint32_t>(number),
                          isOrphan ? SHomelessPage::EReason::NoOwner : SHomelessPage::EReason::NoHead});
    else if (isOrphan)
      Count(data, EDamage::OrphanDataPage, number);
    else if (note.isBrokenLongValue)
      homeless.push_back({static_cast<uint32_t>(number), SHomelessPage::EReason::LongValues});
    if (layout.isJet3 || owner != EOwner::Impossible) status.Refresh(offset);
  }
  const SSourceFacts& facts = source.GetFacts();
  if (facts.start != 0) Count(data, EDamage::LeadingBytes, 0, facts.start);
  if (facts.movedPages != 0)
    Count(data, EDamage::MovedPages, pageCount - std::min(facts.movedPages, pageCount), facts.movedPages);
  for (const uint64_t start : facts.otherStarts)
    Count(data, EDamage::OtherDatabase, (start - facts.start) / layout.pageSize);
  if (const uint64_t rest = facts.length % layout.pageSize; rest != 0)
    Count(data, EDamage::PartialPage, pageCount, rest);
  status.Flush();
  progress.SetPos(progress.GetMax());
  m_job.Pause();
  return homeless;
}

}  // namespace tolvane
