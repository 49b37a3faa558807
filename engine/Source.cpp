#include "engine/Source.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/AccessVersionHandler.h"
#include "engine/DataReader.h"
#include "engine/DatabaseStart.h"
#include "format/HeaderPage.h"
#include "format/SystemObjects.h"
#include "format/Value.h"
#include "platform/CodePage.h"

namespace tolvane {

namespace {

// A column of the table of complex columns, and of hardly any other.
constexpr std::u16string_view kComplexColumn = u"ConceptualTableID";

}  // namespace

bool CSource::Open(const std::u16string& path, CErrorHandler& handler) {
  Close();
  m_path = path;
  if (!m_pages.Open(path, handler)) return false;
  FindPages();
  ReadHeader();
  const bool isJet4 = CAccessVersionHandler().IsJet4(*this);
  UseLayout(m_evidence.layout != nullptr ? *m_evidence.layout : isJet4 ? kLayoutJet4 : kLayoutJet3);
  if (m_evidence.layout != nullptr && HasPageAtEnd()) {
    m_pages.CompleteLastPage(m_layout->pageSize);
    UseLayout(*m_layout);
  }
  return true;
}

// Whether what stands behind the last whole page begins like a page of rows or a definition.
bool CSource::HasPageAtEnd() {
  const uint64_t end = GetPageCount() * m_layout->pageSize;
  std::vector<uint8_t> page(m_layout->pageSize);
  const size_t size = m_pages.ReadPartialPage(end, page);
  const size_t head = page[0] == kPageData ? m_layout->data.slots : m_layout->definition.headerSize;
  return size > head && page[1] == kPageFormatted && (page[0] == kPageData || page[0] == kPageDefinition);
}

bool CSource::Open(const std::u16string& path) {
  CErrorHandler handler;
  return Open(path, handler);
}

void CSource::Close() {
  m_pages.Close();
  m_path.clear();
  m_header = {};
  m_evidence = {};
  UseLayout(kLayoutJet3);
}

void CSource::UseLayout(const SLayout& layout) {
  m_layout = &layout;
  m_pages.MendTypes(m_rules.pagesDecideFormat ? &layout : nullptr);
  m_freePages.reset();
  ReadFacts();
}

const CFreePageMap& CSource::GetFreePages() {
  if (!m_freePages) {
    m_freePages.emplace().Load(m_pages, *m_layout);
    if (!m_rules.creditFreedPages) m_freePages->Doubt();
  }
  return *m_freePages;
}

PageNotes CSource::TakeNotes() {
  PageNotes notes;
  notes.swap(m_evidence.notes);
  if (m_layout != m_evidence.layout) notes.clear();
  return notes;
}

void CSource::FindPages() {
  if (m_rules.pagesDecideFormat) LookForPages();
  if (m_evidence.layout != nullptr)
    m_pages.SetStretches(m_evidence.stretches, m_evidence.layout->pageSize);
  else if (!IsStopped())
    m_pages.SetStart(m_wantedStart != 0 ? m_wantedStart : FindDatabaseStart(m_pages));
}

// Of a file whose bytes were changed on their way none stands where it should.
void CSource::LookForPages() {
  bool isChanged = m_pages.LeaveOutAddedReturns();
  const SRecoveryRules* const noting = m_job != nullptr ? &m_rules : nullptr;
  m_evidence = tolvane::FindPages(m_pages, m_wantedStart, m_job, noting);
  if (m_evidence.layout == nullptr && !isChanged) {
    m_pages.SwapPairs(true);
    m_evidence = tolvane::FindPages(m_pages, m_wantedStart, m_job, noting);
    isChanged = m_evidence.layout != nullptr;
    if (!isChanged) m_pages.SwapPairs(false);
  }
  if (isChanged && m_evidence.layout != nullptr)
    m_evidence.movedPages = m_pages.GetFileLength() / m_evidence.layout->pageSize;
}

PagePairs CSource::SwapPages(const PagePairs& pairs) {
  if (pairs.empty() || m_evidence.layout == nullptr) return {};
  const uint32_t pageSize = m_layout->pageSize;
  std::map<uint64_t, SPageStretch> stretches;  // by their first page
  for (const SPageStretch& stretch : m_evidence.stretches) stretches.emplace(stretch.page, stretch);
  // Makes a stretch of one page alone.
  const auto cutOut = [&](uint64_t page) -> SPageStretch* {
    const auto behind = stretches.upper_bound(page);
    if (behind == stretches.begin()) return nullptr;
    SPageStretch& whole = std::prev(behind)->second;
    const uint64_t into = (page - whole.page) * pageSize;
    if (into >= whole.length || whole.length - into < pageSize) return nullptr;
    const SPageStretch one{.page = page, .place = whole.place + into, .length = pageSize};
    const SPageStretch rest{
        .page = page + 1, .place = one.place + pageSize, .length = whole.length - into - pageSize};
    whole.length = into;
    if (rest.length > 0) stretches.insert_or_assign(rest.page, rest);
    return &stretches.insert_or_assign(page, one).first->second;
  };
  PagePairs swapped;
  for (const auto& pair : pairs) {
    SPageStretch* const one = cutOut(pair.first);
    SPageStretch* const other = cutOut(pair.second);
    if (one == nullptr || other == nullptr) continue;
    std::swap(one->place, other->place);
    swapped.push_back(pair);
  }
  if (swapped.empty()) return {};
  m_evidence.stretches.clear();
  m_evidence.notes.clear();
  for (const auto& [page, stretch] : stretches) m_evidence.stretches.push_back(stretch);
  const bool isCompleted = m_pages.GetLength() != m_pages.GetContentLength();
  m_pages.SetStretches(m_evidence.stretches, pageSize);
  if (isCompleted) m_pages.CompleteLastPage(pageSize);
  UseLayout(*m_layout);
  return swapped;
}

void CSource::ReadHeader() {
  m_pages.ReadPartialPage(0, m_header);
  // The two formats mask the same bytes, but for the last two of Jet 4, which nobody reads.
  MaskHeader(kLayoutJet3.header, m_header);
}

// The header's word, unless the pages say that it cannot be true.
uint8_t CSource::TellVersion() {
  const uint8_t said = m_header[kHeaderVersion];
  if (!m_rules.pagesDecideFormat) return said;
  if (m_layout->isJet3) return 0;
  constexpr size_t kNameCompared = 12;  // "Standard ACE"
  const std::string_view name(reinterpret_cast<const char*>(m_header.data()) + kHeaderName, kNameCompared);
  if (kEngineNameAce.starts_with(name)) return std::max(said, kVersionAce12);
  // The header may be another file's.
  std::vector<uint8_t> page(m_layout->pageSize);
  const std::span<const uint8_t> column = UnitBytes(kComplexColumn);
  const bool isAce = ReadPage(kComplexColumnsPage, page) && page[0] == kPageDefinition &&
                     std::search(page.begin(), page.end(), column.begin(), column.end()) != page.end();
  return isAce ? kVersionAce12 : kVersionJet4;
}

void CSource::ReadFacts() {
  m_facts = {};
  m_facts.isJet3 = m_layout->isJet3;
  m_facts.pageSize = m_layout->pageSize;
  m_facts.versionByte = TellVersion();
  m_facts.movedPages = m_evidence.movedPages;
  m_facts.otherStarts = m_evidence.otherStarts;
  m_facts.start = m_pages.GetStart();
  m_facts.length = m_pages.GetContentLength();
  m_facts.pageCount = GetPageCount();
  const uint32_t codePage = CDataReader::ReadUInt16(&m_header[kHeaderCodePage]);
  if (codePage != 0 && IsCodePageKnown(codePage)) m_facts.codePage = codePage;
  const SHeaderLayout& at = m_layout->header;
  const std::string_view name = m_layout->engineName;
  if (!std::equal(name.begin(), name.end(), &m_header[kHeaderName])) return;
  m_facts.sortOrder = CDataReader::ReadUInt16(&m_header[at.sortOrder]);
  m_facts.hasPassword = HasPassword(at, m_header);
  if (at.sortVersion != kAbsent) m_facts.sortOrder |= uint32_t{m_header[at.sortVersion]} << 24;
}

}  // namespace tolvane
