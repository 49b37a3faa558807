#include "writer/embedded/TableIndexes.h"

#include <optional>
#include <vector>

#include "platform/Files.h"
#include "writer/embedded/IndexKey.h"
#include "writer/embedded/IndexSorter.h"
#include "writer/embedded/IndexTreeBuilder.h"
#include "writer/embedded/StoredText.h"
#include "writer/embedded/TableStore.h"
#include "writer/embedded/UsageMap.h"

namespace tolvane {
namespace {

CDaoResult CannotIndex(EDaoError error) {
  return {error == EDaoError::None ? EDaoError::DiskError : error, u"An index could not be built."};
}

// The key of one row. `isAllNull` decides whether an index that ignores nulls takes the row.
class CKeyMaker {
 public:
  CKeyMaker(const SEmbeddedLayout& layout, const STableDefinition& definition, const SRealIndex& index)
      : m_layout(layout), m_definition(definition), m_index(index) {}

  bool Make(std::span<const uint8_t> row, std::vector<uint8_t>& key, bool& isAllNull) {
    key.clear();
    isAllNull = true;
    for (const SIndexColumn& part : m_index.columns) {
      const SColumnDefinition* column = m_definition.FindColumn(part.number);
      std::optional<std::span<const uint8_t>> value;
      if (column == nullptr || !ReadRowColumn(m_layout, m_definition, row, *column, value)) return false;
      if (value && column->type == kTypeText) {
        m_text.clear();
        AppendPlainText(*value, m_text);
        value = m_text;
      }
      if (value) isAllNull = false;
      if (!AppendIndexKey({m_layout.keys}, column->type, part.ascending, value, key)) return false;
    }
    return true;
  }

 private:
  const SEmbeddedLayout& m_layout;
  const STableDefinition& m_definition;
  const SRealIndex& m_index;
  std::vector<uint8_t> m_text;
};

CDaoResult CollectEntries(CPageFile& file, CTableStore& table, const SRealIndex& index,
                          CIndexSorter& sorter) {
  CKeyMaker maker(file.GetLayout(), table.GetDefinition(), index);
  std::vector<uint8_t> key;
  EDaoError error = EDaoError::None;
  CDaoResult result = table.ForEachRow([&](std::span<const uint8_t> row, uint32_t pointer) {
    bool isAllNull = false;
    if (!maker.Make(row, key, isAllNull)) {
      error = EDaoError::NotSupported;
    } else if (!isAllNull || (index.flags & kIndexIgnoreNulls) == 0) {
      error = sorter.Add(key, PageOfPointer(pointer), static_cast<uint8_t>(RowOfPointer(pointer)));
    }
    return error == EDaoError::None;
  });
  return result.IsOk() && error != EDaoError::None ? CannotIndex(error) : result;
}

// Gives the tree its pages: those that the index had before, then new ones.
class CIndexPages {
 public:
  CIndexPages(CPageFile& file, const SRealIndex& index) : m_file(file), m_index(index) {}

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
  [[nodiscard]] const CDaoResult& GetResult() const { return m_result; }

 private:
  uint32_t Take() {
    uint32_t page = m_spare.GetFirst();
    if (page != CPageSet::kNone) {
      m_spare.Remove(page);
      return page;
    }
    if (m_result.IsOk()) m_result = m_file.Allocate(EPageUse::Structure, page);
    return m_result.IsOk() ? page : 0;
  }

  CPageFile& m_file;
  const SRealIndex& m_index;
  CPageSet m_spare;
  CDaoResult m_result;
};

}  // namespace

CDaoResult CreateIndex(CPageFile& file, uint32_t ownerPage, SRealIndex& index) {
  if (CDaoResult result = file.Allocate(EPageUse::Structure, index.root); !result.IsOk()) return result;
  CIndexPages pages(file, index);
  CIndexTreeBuilder builder(file.GetLayout().index, ownerPage, index.root, pages.MakeSink());
  if (!builder.Finish()) return pages.GetResult().IsOk() ? CannotIndex(EDaoError::None) : pages.GetResult();
  return pages.Finish(builder);
}

CDaoResult RebuildIndex(CPageFile& file, CTableStore& table, SRealIndex& index) {
  CIndexSorter sorter(GetTempFolder());
  if (CDaoResult result = CollectEntries(file, table, index, sorter); !result.IsOk()) return result;
  if (const EDaoError error = sorter.Sort(); error != EDaoError::None) return CannotIndex(error);
  CIndexPages pages(file, index);
  if (CDaoResult result = pages.Load(); !result.IsOk()) return result;
  CIndexTreeBuilder builder(file.GetLayout().index, table.GetPage(), index.root, pages.MakeSink());
  SIndexEntry entry;
  bool isSound = true;
  while (isSound && sorter.Next(entry)) isSound = builder.Add(entry.key, entry.page, entry.row);
  if (!isSound || !builder.Finish() || sorter.GetError() != EDaoError::None)
    return pages.GetResult().IsOk() ? CannotIndex(sorter.GetError()) : pages.GetResult();
  index.distinctKeys = static_cast<uint32_t>(builder.GetDistinctKeyCount());
  return pages.Finish(builder);
}

}  // namespace tolvane
