#include "embedded/TableIndexes.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <future>
#include <string_view>
#include <system_error>

#include "embedded/IndexCollector.h"
#include "embedded/IndexFeed.h"
#include "embedded/IndexTreeBuilder.h"
#include "embedded/SortedEntries.h"
#include "embedded/TableStore.h"
#include "embedded/UsageMap.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

CDaoResult CannotIndex(EDaoError error = EDaoError::DiskError) {
  return {error, u"An index could not be built."};
}

CDaoResult CannotSort(const CPageFile& file, EDaoError error) {
  std::u16string text = u"The entries of an index could not be sorted in the folder " + file.GetTempFolder();
  text += error == EDaoError::DiskFull ? u": the disk is full." : u": its files cannot be written or read.";
  return {error, std::move(text)};
}

// Gives the tree its pages: those that the index had before, then new ones.
class CIndexPages {
 public:
  // The indexes of users give way, as rows do, to the pages that closing the file soundly takes.
  CIndexPages(CPageFile& file, const SRealIndex& index, uint32_t ownerPage)
      : m_file(file),
        m_index(index),
        m_use(IsSystemPage(file.GetLayout(), ownerPage) ? EPageUse::Structure : EPageUse::Content) {}

  CDaoResult Load() {
    CDaoResult result = LoadUsageMap(m_file, m_index.map, m_spare);
    m_spare.Remove(m_index.root);
    return result;
  }
  SIndexPageSink MakeSink() {
    return {[this] { return Take(); },
            [this](uint32_t page, std::span<const uint8_t> bytes) {
              if (m_result.IsOk()) m_result = m_file.Write(page, bytes);
              return m_result.IsOk();
            }};
  }
  CDaoResult Finish(const CIndexTreeBuilder& builder) {
    m_spare.ForEach([this](uint32_t page) { m_file.Release(page); });
    CPageSet pages;
    for (const uint32_t page : builder.GetPages()) pages.Add(page);
    return StoreUsageMap(m_file, m_index.map, pages);
  }
  // Instead of Finish: the tree was not completed.
  void GiveBack() {
    m_taken.ForEach([this](uint32_t page) { m_file.Release(page); });
  }
  [[nodiscard]] const CDaoResult& GetResult() const { return m_result; }

 private:
  uint32_t Take() {
    uint32_t page = m_spare.GetFirst();
    if (page != CPageSet::kNone) {
      m_spare.Remove(page);
      return page;
    }
    if (m_result.IsOk()) m_result = m_file.Allocate(m_use, page);
    if (!m_result.IsOk()) return 0;
    m_taken.Add(page);
    return page;
  }

  CPageFile& m_file;
  const SRealIndex& m_index;
  const EPageUse m_use;
  CPageSet m_spare;  // the index had them before
  CPageSet m_taken;  // new ones
  CDaoResult m_result;
};

std::u16string Records(uint64_t count, std::u16string_view singular, std::u16string_view plural) {
  return ToDecimal(count) + (count == 1 ? u" record " : u" records ") +
         std::u16string(count == 1 ? singular : plural);
}

class CIndexRebuild {
 public:
  CIndexRebuild(CPageFile& file, CTableStore& table, STableDefinition& definition, SIndexChanges& changes)
      : m_file(file), m_table(table), m_definition(definition), m_changes(changes) {}

  // The indexes from position `first` on; `feed`, which may be null, has the entries of all of them already.
  CDaoResult Run(size_t first, CIndexFeed* feed);

 private:
  // Keys that a unique index forbids.
  struct SRepeats {
    uint64_t count = 0;
    std::vector<uint32_t> pointers;  // of the first ones
  };

  CDaoResult Collect();
  void SortAll();
  bool UseKnownOrders();
  CDaoResult BuildTree(size_t index, SRepeats& repeats);
  CDaoResult BuildOrDrop(size_t index);
  CDaoResult Weaken(size_t index, const SRepeats& repeats);
  CDaoResult Drop(size_t index);
  void LosePrimary(size_t index);
  void Note(size_t index, std::u16string_view text);
  [[nodiscard]] const std::u16string& NameOf(size_t index) const;

  CPageFile& m_file;
  CTableStore& m_table;
  STableDefinition& m_definition;
  SIndexChanges& m_changes;
  IndexCollectors m_collectors;  // by index; null where it is not rebuilt
};

CDaoResult CIndexRebuild::Run(size_t first, CIndexFeed* feed) {
  const size_t count = m_definition.realIndexes.size();
  if (feed != nullptr)
    if (const EDaoError error = feed->Finish(m_collectors); error != EDaoError::None)
      return CannotSort(m_file, error);
  for (bool isAgain = feed == nullptr || UseKnownOrders(); isAgain;) {
    m_collectors = MakeCollectors(m_file, m_definition, first);
    if (CDaoResult result = Collect(); !result.IsOk()) return result;
    isAgain = UseKnownOrders();
    if (isAgain) first = 0;  // the columns may be in other indexes, too
  }
  SortAll();
  // From the last to the first, so that dropping one does not move those that are still to be built.
  for (size_t index = count; index-- > first;)
    if (CDaoResult result = BuildOrDrop(index); !result.IsOk()) return result;
  return CDaoResult::Ok();
}

// Columns whose texts have no known place in their own sort order take the general one, in which every text
// has one. True when there were such.
bool CIndexRebuild::UseKnownOrders() {
  bool isChanged = false;
  for (size_t index = 0; index < m_collectors.size(); index++) {
    if (!m_collectors[index] || !m_collectors[index]->IsOrderUnknown()) continue;
    for (const SIndexColumn& part : m_definition.realIndexes[index].columns) {
      for (SColumnDefinition& column : m_definition.columns) {
        if (column.number != part.number || !column.HasTexts() || column.order == STextOrder{}) continue;
        column.order = {};
        isChanged = true;
        m_changes.indexes++;
        m_changes.notes.push_back(
            u"Field \"" + column.name +
            u"\" sorts by the order General Legacy: its own is not known for all its texts.");
      }
    }
  }
  return isChanged;
}

CDaoResult CIndexRebuild::Collect() {
  EDaoError error = EDaoError::None;
  CIndexedValues values(m_file, m_definition);
  CDaoResult result = m_table.ForEachRow([&](std::span<const uint8_t> row, uint32_t pointer) {
    values.SetRow(row);
    for (const auto& collector : m_collectors)
      if (collector && error == EDaoError::None) error = collector->Add(values, pointer);
    return error == EDaoError::None;
  });
  return result.IsOk() && error != EDaoError::None ? CannotSort(m_file, error) : result;
}

// Several indexes at once; what goes wrong each sorter says again when it is asked to sort.
void CIndexRebuild::SortAll() {
  std::vector<CIndexSorter*> sorters;
  for (const auto& collector : m_collectors)
    if (collector && collector->GetObstacle().empty()) sorters.push_back(&collector->GetSorter());
  if (sorters.size() < 2) return;
  std::atomic<size_t> next{0};
  const auto work = [&] {
    for (size_t i = next++; i < sorters.size(); i = next++) static_cast<void>(sorters[i]->Sort());
  };
  std::vector<std::future<void>> others;
  try {
    while (others.size() + 1 < std::min<size_t>(m_file.GetThreads(), sorters.size()))
      others.push_back(std::async(std::launch::async, work));
  } catch (const std::system_error&) {
    // Those that are there do the work.
  }
  work();
  for (std::future<void>& other : others) other.get();
}

CDaoResult CIndexRebuild::BuildOrDrop(size_t index) {
  const bool isSystem = IsSystemPage(m_file.GetLayout(), m_table.GetPage());
  if (const std::u16string_view obstacle = m_collectors[index]->GetObstacle(); !obstacle.empty()) {
    if (isSystem) return CannotIndex(EDaoError::NotSupported);
    Note(index, u"was left out: " + std::u16string(obstacle));
    return Drop(index);
  }
  SRepeats repeats;
  if (CDaoResult result = BuildTree(index, repeats); !result.IsOk()) {
    if (result.code != EDaoError::DatabaseTooLarge || isSystem) return result;
    Note(index, u"was left out: the database has reached the largest size that its format allows");
    return Drop(index);
  }
  const uint8_t flags = m_definition.realIndexes[index].flags;
  const bool hasNulls = (flags & kIndexRequired) != 0 && m_collectors[index]->GetNullRows() > 0;
  const bool hasRepeats = (flags & kIndexUnique) != 0 && repeats.count > 0;
  // Everything that is needed of the collector is known; its memory and its file are free again.
  const CDaoResult result = hasNulls || hasRepeats ? Weaken(index, repeats) : CDaoResult::Ok();
  m_collectors[index].reset();
  return isSystem && (hasNulls || hasRepeats) ? CannotIndex(EDaoError::DuplicateKey) : result;
}

CDaoResult CIndexRebuild::BuildTree(size_t index, SRepeats& repeats) {
  CIndexCollector& collector = *m_collectors[index];
  CIndexSorter& sorter = collector.GetSorter();
  if (const EDaoError error = sorter.Sort(); error != EDaoError::None) return CannotSort(m_file, error);
  SRealIndex& real = m_definition.realIndexes[index];
  CIndexPages pages(m_file, real, m_table.GetPage());
  if (CDaoResult result = pages.Load(); !result.IsOk()) return result;
  CIndexTreeBuilder builder(m_file.GetLayout().index, m_table.GetPage(), real.root, pages.MakeSink());
  const std::span<const uint8_t> allNull = collector.GetAllNullKey();
  CSortedEntries entries(sorter, m_file.GetThreads());
  SIndexEntry entry;
  bool isSound = true;
  while (isSound && entries.Next(entry)) {
    isSound = builder.Add(entry.key, entry.page, entry.row);
    if (!entry.repeatsKey || std::ranges::equal(entry.key, allNull)) continue;
    if (repeats.count++ < kKeysShown) repeats.pointers.push_back(MakeRowPointer(entry.page, entry.row));
  }
  isSound = isSound && sorter.GetError() == EDaoError::None && builder.Finish();
  if (sorter.GetError() != EDaoError::None) return CannotSort(m_file, sorter.GetError());
  if (!isSound) {
    pages.GiveBack();
    return pages.GetResult().IsOk() ? CannotIndex() : pages.GetResult();
  }
  real.distinctKeys = static_cast<uint32_t>(builder.GetDistinctKeyCount());
  return pages.Finish(builder);
}

// Takes from an index the properties that its rows do not have.
CDaoResult CIndexRebuild::Weaken(size_t index, const SRepeats& repeats) {
  uint8_t& flags = m_definition.realIndexes[index].flags;
  if ((flags & kIndexUnique) != 0 && repeats.count > 0) {
    flags = static_cast<uint8_t>(flags & ~kIndexUnique);
    Note(index,
         u"is no longer unique: " + Records(repeats.count, u"repeats", u"repeat") + u" a key (" +
             DescribeKeys(m_file, m_table, m_definition.realIndexes[index], repeats.pointers, repeats.count) +
             u")");
  }
  const uint64_t nullRows = m_collectors[index]->GetNullRows();
  if ((flags & kIndexRequired) != 0 && nullRows > 0) {
    flags = static_cast<uint8_t>(flags & ~kIndexRequired);
    Note(index, u"no longer requires values: " + Records(nullRows, u"has", u"have") + u" none");
  }
  LosePrimary(index);
  m_changes.indexes++;
  return CDaoResult::Ok();
}

void CIndexRebuild::LosePrimary(size_t index) {
  for (SLogicalIndex& logical : m_definition.logicalIndexes) {
    if (logical.realIndex != index || logical.kind != kIndexKindPrimary) continue;
    logical.kind = 0;
    Note(index, u"is no longer the primary key");
  }
}

CDaoResult CIndexRebuild::Drop(size_t index) {
  m_changes.indexes++;
  m_collectors[index].reset();
  return DropIndex(m_file, m_definition, index);
}

void CIndexRebuild::Note(size_t index, std::u16string_view text) {
  m_changes.notes.push_back(u"Index \"" + NameOf(index) + u"\" " + std::u16string(text) + u".");
}

const std::u16string& CIndexRebuild::NameOf(size_t index) const {
  static const std::u16string kNone;
  for (const SLogicalIndex& logical : m_definition.logicalIndexes)
    if (logical.realIndex == index) return logical.name;
  return kNone;
}

}  // namespace

CDaoResult CreateIndex(CPageFile& file, uint32_t ownerPage, SRealIndex& index) {
  if (CDaoResult result = file.Allocate(EPageUse::Structure, index.root); !result.IsOk()) return result;
  CIndexPages pages(file, index, ownerPage);
  CIndexTreeBuilder builder(file.GetLayout().index, ownerPage, index.root, pages.MakeSink());
  if (!builder.Finish()) return pages.GetResult().IsOk() ? CannotIndex() : pages.GetResult();
  return pages.Finish(builder);
}

CDaoResult RebuildIndexes(CPageFile& file, CTableStore& table, STableDefinition& definition,
                          SIndexChanges& changes, size_t first, CIndexFeed* feed) {
  if (first >= definition.realIndexes.size()) return CDaoResult::Ok();
  return CIndexRebuild(file, table, definition, changes).Run(first, feed);
}

std::u16string DescribeKeys(CPageFile& file, CTableStore& table, const SRealIndex& index,
                            std::span<const uint32_t> pointers, uint64_t count) {
  std::u16string text;
  for (const uint32_t pointer : pointers) {
    const std::span<const uint8_t> row = table.ReadRow(pointer);
    if (row.empty()) continue;
    if (!text.empty()) text += u"; ";
    text += DescribeKey(file, table.GetDefinition(), index, row);
  }
  return count > pointers.size() ? text + u"; ..." : text;
}

CDaoResult DropIndex(CPageFile& file, STableDefinition& definition, size_t index) {
  const SRealIndex real = definition.realIndexes[index];
  CPageSet pages;
  if (CDaoResult result = LoadUsageMap(file, real.map, pages); !result.IsOk()) return result;
  pages.Add(real.root);
  pages.ForEach([&file](uint32_t page) { file.Release(page); });
  if (CDaoResult result = StoreUsageMap(file, real.map, CPageSet()); !result.IsOk()) return result;
  definition.realIndexes.erase(definition.realIndexes.begin() + static_cast<std::ptrdiff_t>(index));
  std::erase_if(definition.logicalIndexes,
                [index](const auto& logical) { return logical.realIndex == index; });
  for (SLogicalIndex& logical : definition.logicalIndexes)
    if (logical.realIndex > index) logical.realIndex--;
  return CDaoResult::Ok();
}

}  // namespace tolvane
