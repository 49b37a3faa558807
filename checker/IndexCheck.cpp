#include "checker/IndexCheck.h"

#include <algorithm>

namespace tolvane {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr int kNoParent = -1;

Bytes KeyOf(const std::vector<uint8_t>& entry) {
  return Bytes(entry).first(entry.size() - kRowPointerSize);
}
uint32_t PageOfEntry(const std::vector<uint8_t>& entry) {
  return ReadBigEndian(Bytes(entry).subspan(entry.size() - kRowPointerSize, kRowPointerSize - 1));
}

bool AreEqual(Bytes a, Bytes b) {
  return std::ranges::equal(a, b);
}

}  // namespace

uint64_t HashEntry(std::span<const uint8_t> key, uint32_t page, uint32_t row) {
  constexpr uint64_t kPrime = 0x9E3779B97F4A7C15;
  uint64_t hash = (uint64_t{page} << 8 | row) * kPrime;
  for (const uint8_t byte : key) hash = (hash ^ byte) * 0x100000001B3;
  hash = (hash ^ hash >> 32) * kPrime;
  return hash ^ hash >> 29;
}

CIndexCheck::CIndexCheck(SCheckContext& context, CUsageCheck& usage, const SCheckedTable& table,
                         const SCheckedRealIndex& index, CRowKeys& keys)
    : m_context(context),
      m_usage(usage),
      m_table(table),
      m_index(index),
      m_keys(keys),
      m_layout(context.file.GetLayout().index),
      m_buffer(context.file) {}

void CIndexCheck::Check(const SExpectedIndex& expected, const RowReader& readRow) {
  m_context.indexed.Clear();
  Walk();
  CheckMap();
  if (m_keys.AreKeysKnown() && m_hashSum != expected.hashSum) CompareWithRows(readRow);
  if (m_context.indexed.GetCount() != expected.entries) CheckMissing(readRow);
}

void CIndexCheck::Walk() {
  Open(m_index.root, kNoParent);
  while (!m_stack.empty() && !m_context.IsStopped()) {
    SFrame& frame = m_stack.back();
    if (frame.page.IsLeaf()) {
      WalkLeaf(frame);
      const bool isWhole = frame.page.GetCount() != 0;
      m_stack.pop_back();
      if (!m_stack.empty()) CheckChildEnd(m_stack.back(), isWhole);
      continue;
    }
    const size_t count = frame.page.GetCount();
    if (frame.next > count) {
      const bool isWhole = frame.isChildWhole;
      m_stack.pop_back();
      if (!m_stack.empty()) CheckChildEnd(m_stack.back(), isWhole);
      continue;
    }
    uint32_t child = frame.page.GetTail();
    if (frame.next < count) {
      frame.page.GetEntry(frame.next, m_entry);
      child = ReadBigEndian(Bytes(m_entry).subspan(m_entry.size() - kChildPointerSize));
    }
    frame.next++;
    frame.isChildWhole = false;
    Open(child, frame.page.GetLevel());  // may move the frames
  }
  for (const SLevel& level : m_levels)
    if (level.next != 0)
      m_context.findings.Error("E3", {level.page}, u"the last page of its level names page ", level.next,
                               u" as the next one");
}

bool CIndexCheck::Open(uint32_t number, int parentLevel) {
  if (!m_context.ledger.Claim(number, EPageRole::Index, m_table.page) || !m_buffer.Load(number)) return false;
  m_pages.Add(number);
  SFrame frame;
  frame.number = number;
  std::u16string problem;
  const bool isParsed = frame.page.Parse(m_layout, m_buffer.GetBytes(), problem);
  const uint8_t type = frame.page.GetType();
  if ((type != kPageIndexLeaf && type != kPageIndexNode) || m_buffer.GetBytes()[1] != kPageFormatted) {
    m_context.findings.Error("E2", {number}, u"no index page, but an index names it");
    return false;
  }
  if (!isParsed) m_context.findings.Error("E4", {number}, problem);
  CheckHead(frame, parentLevel);
  CheckLinks(frame);
  // Levels fall from page to page; otherwise the walk could go as deep as the file is long.
  if (parentLevel != kNoParent && frame.page.GetLevel() >= parentLevel) return false;
  m_stack.push_back(std::move(frame));
  return true;
}

void CIndexCheck::CheckHead(const SFrame& frame, int parentLevel) {
  CFindings& findings = m_context.findings;
  const CIndexPage& page = frame.page;
  if (page.GetOwner() != m_table.page)
    findings.Error("E2", {frame.number}, u"the page names page ", page.GetOwner(), u" as its table");
  if (page.GetStatedFreeBytes() != page.GetFreeBytes())
    findings.Error("E4", {frame.number}, u"the page states ", page.GetStatedFreeBytes(),
                   u" free bytes and has ", page.GetFreeBytes());
  const int level = page.GetLevel();
  if (page.IsLeaf() != (level == 0) || (parentLevel != kNoParent && level != parentLevel - 1))
    findings.Error("E5", {frame.number}, page.IsLeaf() ? u"a leaf" : u"a node", u" of level ", level);
  if (page.IsLeaf() && page.GetTail() != 0) findings.Error("E6", {frame.number}, u"a leaf with a child");
  if (page.IsLeaf() && page.GetCount() == 0 && parentLevel != kNoParent)
    findings.Doubt("E6", {frame.number}, u"a leaf without entries below a node");
}

void CIndexCheck::CheckLinks(const SFrame& frame) {
  const size_t level = frame.page.GetLevel();
  if (level >= m_levels.size()) m_levels.resize(level + 1);
  SLevel& last = m_levels[level];
  const bool isLinked =
      frame.page.GetPrevious() == last.page && (last.page == 0 || last.next == frame.number);
  if (!isLinked)
    m_context.findings.Error("E3", {frame.number}, u"page ", last.page,
                             u" and this one do not name each other as neighbours");
  last = {frame.number, frame.page.GetNext()};
}

void CIndexCheck::WalkLeaf(const SFrame& frame) {
  m_leaves.push_back(frame.number);
  for (size_t i = 0; i < frame.page.GetCount(); i++) {
    frame.page.GetEntry(i, m_entry);
    CheckLeafEntry({frame.number, static_cast<uint32_t>(i)});
    m_entry.swap(m_previous);
    m_hasPrevious = true;
  }
}

void CIndexCheck::CheckLeafEntry(SPlace place) {
  CFindings& findings = m_context.findings;
  const Bytes key = KeyOf(m_entry);
  const uint32_t page = PageOfEntry(m_entry), row = m_entry.back();
  if (m_hasPrevious && !(m_previous < m_entry))
    findings.Error("E7", place, u"the entry does not come behind the one before it");
  const bool isNull = AreEqual(key, m_keys.GetNullKey());
  if (m_hasPrevious && m_index.Has(kIndexUnique) && !isNull && AreEqual(key, KeyOf(m_previous)))
    findings.Error("E8", place, u"the key of a unique index is there twice");
  if (isNull && m_index.Has(kIndexIgnoreNulls))
    findings.Error("E10", place, u"an index that ignores nulls has an entry for them");
  m_hashSum += HashEntry(key, page, row);
  if (!m_context.live.Contains(page, row))
    findings.Error("E9", place, u"the entry names page ", page, u" row ", row,
                   u", which is no row of the table");
  else if (!m_context.indexed.Add(page, row))
    findings.Error("E9", place, u"page ", page, u" row ", row, u" has two entries");
}

// The child that was walked last has ended, and m_previous is its last entry if it has one.
void CIndexCheck::CheckChildEnd(SFrame& parent, bool isWhole) {
  parent.isChildWhole = isWhole;
  const size_t child = parent.next - 1;
  if (!isWhole || child >= parent.page.GetCount()) return;
  parent.page.GetEntry(child, m_entry);
  if (!AreEqual(Bytes(m_entry).first(m_entry.size() - kChildPointerSize), m_previous))
    m_context.findings.Error("E6", {parent.number, static_cast<uint32_t>(child)},
                             u"the entry is not the last one of its child");
}

void CIndexCheck::CheckMap() {
  CPageSet named;
  if (!m_usage.Load(m_index.map, u"an index", named)) return;
  named.ForEach([&](uint32_t page) {
    if (!m_pages.Contains(page))
      m_context.findings.Error("E1", {page}, u"in the map of the index, but not in its tree");
  });
  m_pages.ForEach([&](uint32_t page) {
    if (!named.Contains(page))
      m_context.findings.Error("E1", {page}, u"in the tree of the index, but not in its map");
  });
}

void CIndexCheck::CompareWithRows(const RowReader& readRow) {
  for (const uint32_t leaf : m_leaves) CompareLeaf(leaf, readRow);
}

void CIndexCheck::CompareLeaf(uint32_t number, const RowReader& readRow) {
  CIndexPage page;
  std::u16string problem;
  if (!m_buffer.Load(number) || !page.Parse(m_layout, m_buffer.GetBytes(), problem)) return;
  std::vector<uint8_t> key;
  for (size_t i = 0; i < page.GetCount(); i++) {
    page.GetEntry(i, m_entry);
    const CRowView* row = nullptr;
    // Rows that no entry may name were reported before.
    if (!m_context.live.Contains(PageOfEntry(m_entry), m_entry.back()) ||
        !readRow(PageOfEntry(m_entry), m_entry.back(), row))
      continue;
    if (m_keys.Make(*row, key) && !AreEqual(key, KeyOf(m_entry)))
      m_context.findings.Error("E11", {number, static_cast<uint32_t>(i)}, u"the key is not that of page ",
                               PageOfEntry(m_entry), u" row ", m_entry.back());
  }
}

void CIndexCheck::CheckMissing(const RowReader& readRow) {
  std::vector<uint8_t> key;
  m_context.live.ForEach([&](uint32_t page, uint32_t row) {
    if (m_context.indexed.Contains(page, row)) return;
    const CRowView* view = nullptr;
    if (!readRow(page, row, view)) return;
    m_keys.Make(*view, key);
    if (!m_keys.IsAllNull() || !m_index.Has(kIndexIgnoreNulls))
      m_context.findings.Error("E10", {page, row}, u"the index with root ", m_index.root,
                               u" has no entry for the row");
  });
}

}  // namespace tolvane
