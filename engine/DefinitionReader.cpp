#include "engine/DefinitionReader.h"

#include <algorithm>

#include "engine/DefinitionParts.h"
#include "format/PageHead.h"

namespace tolvane {

namespace {

// Pages tried in place of a lost link, over all definitions: a sound file needs none, a damaged one few.
constexpr size_t kTriesBase = 1024;

const char* FaultOf(const SMendedDefinition& mended) {
  if (mended.hasLostNames) return "names of columns are lost";
  if (mended.hasLostIndexes) return "indexes or their names are lost";
  return mended.hasNewCounts ? "its counts were wrong, and follow from its columns"
                             : "its length or counts were wrong";
}

}  // namespace

CDefinitionReader::CDefinitionReader(CSource& definitions, const CAccessTableList& tables,
                                     const CJobContext& job)
    : m_source(definitions),
      m_layout(definitions.GetLayout()),
      m_tables(tables),
      m_job(job),
      m_chain(definitions.GetPages(), m_layout),
      m_otherChain(definitions.GetPages(), m_layout),
      m_triesLeft(kTriesBase + static_cast<size_t>(definitions.GetPageCount())) {}

bool CDefinitionReader::Read(CAccessTable& table) {
  const uint64_t offset = table.GetDefinitionOffset();
  const bool isLinked = m_chain.Read(offset);
  m_fault = isLinked ? nullptr : "a link between its pages is wrong";
  m_bytes.assign(m_chain.GetBytes().begin(), m_chain.GetBytes().end());
  if (IsWholeDefinition(m_bytes, m_layout)) return isLinked;
  if (FindContinuation(offset)) {
    m_fault = "a link between its pages was wrong, and the page was found";
    return false;
  }
  auto mended = MendDefinition(m_bytes, m_layout);
  m_fault = mended ? FaultOf(*mended) : "no columns are left";
  if (!mended) return false;
  table.hasMendedCounts = mended->hasNewCounts;
  table.hasMendedNames = mended->hasLostNames;
  m_bytes = std::move(mended->bytes);
  return false;
}

// Behind each page that the links led to, every page that may go on with a definition is tried.
bool CDefinitionReader::FindContinuation(uint64_t offset) {
  const size_t pageSize = m_layout.pageSize;
  const size_t body = pageSize - kDefinitionHead;
  const uint32_t length = CByteView(m_bytes).GetUInt32(m_layout.definition.length);
  if (length <= pageSize || length > CDefinitionChain::kLongestDefinition) return false;
  if (!m_continuations) ListContinuations();
  const size_t pages = std::min(m_bytes.size() / pageSize, (length - pageSize + body - 1) / body);
  for (size_t kept = 1; kept <= pages; kept++) {
    for (const uint64_t next : *m_continuations) {
      if (next == offset || m_triesLeft == 0) continue;
      if (!m_job.repairing.IsRunning()) return false;
      m_triesLeft--;
      m_otherChain.Read(next);
      const auto rest = m_otherChain.GetBytes().subspan(kDefinitionHead);
      Bytes tried(m_bytes.begin(), m_bytes.begin() + static_cast<ptrdiff_t>(pageSize + (kept - 1) * body));
      tried.insert(tried.end(), rest.begin(), rest.end());
      if (!IsWholeDefinition(tried, m_layout)) continue;
      m_bytes = std::move(tried);
      return true;
    }
  }
  return false;
}

// Pages in use first: a freed one may continue an older state of the definition.
void CDefinitionReader::ListContinuations() {
  m_continuations.emplace();
  std::vector<uint64_t> freed;
  std::vector<uint8_t> page(m_layout.pageSize);
  for (uint64_t number = 0; number < m_source.GetPageCount(); number++) {
    if (!m_job.repairing.IsRunning()) return;
    if (!m_source.ReadPage(number, page) || !HasDefinitionHead(page, m_layout)) continue;
    const uint64_t offset = number * m_layout.pageSize;
    if (m_tables.FindTable(offset) != nullptr) continue;
    (m_source.GetFreePages().IsFree(number) ? freed : *m_continuations).push_back(offset);
  }
  m_continuations->insert(m_continuations->end(), freed.begin(), freed.end());
}

}  // namespace tolvane
