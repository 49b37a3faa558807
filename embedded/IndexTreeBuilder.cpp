#include "embedded/IndexTreeBuilder.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>

#include "format/Bytes.h"
#include "format/IndexPage.h"

namespace tolvane {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint32_t kMaxRowPage = 0xFFFFFF;  // three bytes in an entry

size_t CommonLength(Bytes a, Bytes b) {
  const size_t most = std::min(a.size(), b.size());
  size_t at = 0;
  for (; most - at >= sizeof(uint64_t); at += sizeof(uint64_t))
    if (const uint64_t other = GetLittle<uint64_t>(a, at) ^ GetLittle<uint64_t>(b, at); other != 0)
      return at + static_cast<size_t>(std::countr_zero(other)) / 8;
  while (at < most && a[at] == b[at]) at++;
  return at;
}

// By the bytes that they share.
bool IsBelow(Bytes a, Bytes b, size_t common) {
  return common < b.size() && (common == a.size() || a[common] < b[common]);
}

}  // namespace

// One page that is still being filled.
struct CIndexTreeBuilder::SPage {
  size_t level = 0;
  std::vector<uint8_t> entries;  // complete, one after the other
  std::vector<uint32_t> ends;    // where each entry ends in `entries`
  size_t prefix = 0;             // what all entries share, as far as the page can state it
  uint32_t number = 0;           // 0 = first of its level and perhaps the root
  uint32_t previous = 0;
  // Nodes: the last child, not yet an entry because it may stay the tail.
  uint32_t tail = 0;
  std::vector<uint8_t> tailEntry;

  [[nodiscard]] bool IsLeaf() const { return level == 0; }
  [[nodiscard]] size_t LastStart() const { return ends.size() > 1 ? ends[ends.size() - 2] : 0; }
  [[nodiscard]] Bytes Last() const { return Bytes(entries).subspan(LastStart()); }
  // The last leaf entry at or below this page.
  [[nodiscard]] Bytes LastLeafEntry() const { return IsLeaf() ? Last() : Bytes(tailEntry); }

  void Append(Bytes entry, size_t sharedPrefix) {
    entries.insert(entries.end(), entry.begin(), entry.end());
    ends.push_back(static_cast<uint32_t>(entries.size()));
    prefix = sharedPrefix;
  }
  void RemoveLast() {
    entries.resize(LastStart());
    ends.pop_back();
  }
  void Clear() {
    entries.clear();
    ends.clear();
    prefix = 0;
    tail = 0;
    tailEntry.clear();
  }
};

CIndexTreeBuilder::CIndexTreeBuilder(const SIndexPageLayout& layout, uint32_t ownerPage, uint32_t rootPage,
                                     SIndexPageSink sink)
    : m_layout(layout), m_ownerPage(ownerPage), m_sink(std::move(sink)), m_pages{rootPage} {
  m_levels.push_back(std::make_unique<SPage>());
}

CIndexTreeBuilder::~CIndexTreeBuilder() = default;

bool CIndexTreeBuilder::Add(std::span<const uint8_t> key, uint32_t page, uint8_t row) {
  if (m_closed) return false;
  m_closed = true;  // until the entry is in
  if (!SetEntry(key, page, row)) return false;
  const size_t common = CommonLength(m_lastEntry, m_entry);
  if (m_entryCount > 0 && !IsBelow(m_lastEntry, m_entry, common)) return false;
  SPage& leaf = *m_levels.front();
  size_t prefix = SharedPrefix(leaf, key.size(), common);
  if (!Fits(leaf, m_entry.size(), prefix)) {
    if (!StartNextPage(leaf)) return false;
    prefix = SharedPrefix(leaf, key.size(), common);
  }
  leaf.Append(m_entry, prefix);
  if (m_entryCount == 0 || m_entry.size() != m_lastEntry.size() || common < key.size()) m_distinctKeys++;
  m_entryCount++;
  m_entry.swap(m_lastEntry);
  m_closed = false;
  return true;
}

bool CIndexTreeBuilder::SetEntry(std::span<const uint8_t> key, uint32_t page, uint8_t row) {
  if (page > kMaxRowPage || key.size() > m_layout.LongestKey()) return false;
  m_entry.resize(key.size() + kRowPointerSize);
  std::ranges::copy(key, m_entry.begin());
  WriteBigEndian(MakeRowPointer(page, row), std::span(m_entry).last<kRowPointerSize>());
  return true;
}

// Entries ascend, so what each shares with the one before it is shared by all. The row pointer stays out of
// the prefix: pages whose prefix reaches into it were never seen.
size_t CIndexTreeBuilder::SharedPrefix(const SPage& leaf, size_t keySize, size_t common) const {
  if (leaf.ends.empty()) return std::min(keySize, (size_t{1} << (8 * m_layout.prefixWidth)) - 1);
  return std::min({leaf.prefix, keySize, common});
}

// Nodes use no prefix.
bool CIndexTreeBuilder::Fits(const SPage& page, size_t entrySize, size_t prefix) const {
  return page.entries.size() + entrySize - prefix * page.ends.size() <= m_layout.Capacity();
}

bool CIndexTreeBuilder::AddChild(size_t level, std::span<const uint8_t> lastEntry, uint32_t child) {
  if (level == m_levels.size()) {
    m_levels.push_back(std::make_unique<SPage>());
    m_levels.back()->level = level;
  }
  SPage& node = *m_levels[level];
  if (node.tail != 0) {
    node.tailEntry.resize(node.tailEntry.size() + kChildPointerSize);
    WriteBigEndian(node.tail, std::span(node.tailEntry).last<kChildPointerSize>());
    if (!Fits(node, node.tailEntry.size(), 0)) {
      if (!SplitNode(node)) return false;
    } else {
      node.Append(node.tailEntry, 0);
    }
  }
  node.tail = child;
  node.tailEntry.assign(lastEntry.begin(), lastEntry.end());
  return true;
}

// The node is full and its tail, already with its child pointer, needs an entry. The last entry becomes the
// tail instead and the old tail opens the next node, so that no node is left with a single child. With room
// for one entry only that is impossible; then the tail stays.
bool CIndexTreeBuilder::SplitNode(SPage& node) {
  std::vector<uint8_t> carried;
  if (node.ends.size() > 1) {
    carried.swap(node.tailEntry);
    const Bytes last = node.Last();
    node.tailEntry.assign(last.begin(), last.end());
    node.RemoveLast();
  }
  const size_t entrySize = node.tailEntry.size() - kChildPointerSize;
  node.tail = ReadBigEndian(Bytes(node.tailEntry).subspan(entrySize));
  node.tailEntry.resize(entrySize);
  if (!StartNextPage(node)) return false;
  if (!carried.empty()) node.Append(carried, 0);
  return true;
}

// Closes a full page: it and the page after it get their numbers, and the parent learns of it.
bool CIndexTreeBuilder::StartNextPage(SPage& page) {
  if (page.number == 0 && !Allocate(page.number)) return false;
  uint32_t next = 0;
  if (!Allocate(next) || !Write(page, page.number, next)) return false;
  if (!AddChild(page.level + 1, page.LastLeafEntry(), page.number)) return false;
  page.Clear();
  page.previous = page.number;
  page.number = next;
  return true;
}

bool CIndexTreeBuilder::Finish() {
  if (m_closed) return false;
  m_closed = true;
  // A level that was never split is the topmost one: its page is the root.
  size_t level = 0;
  for (; m_levels[level]->number != 0; level++) {
    const SPage& page = *m_levels[level];
    if (!Write(page, page.number, 0) || !AddChild(level + 1, page.LastLeafEntry(), page.number)) return false;
  }
  return Write(*m_levels[level], m_pages.front(), 0);
}

bool CIndexTreeBuilder::Write(const SPage& page, uint32_t number, uint32_t next) {
  // As the engines do it: what a page that overflows shares is left out of it, even where the next entry did
  // not fit all the same; the last page of a level stays complete while it can.
  const bool isShortened = next != 0 || page.entries.size() > m_layout.Capacity();
  m_image.resize(m_layout.pageSize);
  EncodeIndexPage(m_layout,
                  {.owner = m_ownerPage,
                   .previous = page.previous,
                   .next = next,
                   .tail = page.tail,
                   .level = static_cast<uint8_t>(page.level),
                   .prefix = isShortened ? page.prefix : 0,
                   .entries = page.entries,
                   .ends = page.ends},
                  m_image);
  return m_sink.writePage(number, m_image);
}

bool CIndexTreeBuilder::Allocate(uint32_t& page) {
  page = m_sink.allocatePage();
  if (page == 0) return false;
  m_pages.push_back(page);
  return true;
}

}  // namespace tolvane
