// Single pages and the links between them: heads, slots and rows, index entries and walks, usage maps, the
// header.
#include <vector>

#include "format/HeaderPage.h"
#include "format/IndexCursor.h"
#include "format/MapRow.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"
#include "format/SlottedPage.h"
#include "fuzz/FuzzInput.h"

namespace tolvane {
namespace {

bool IsInside(std::span<const uint8_t> part, std::span<const uint8_t> page) {
  return part.data() >= page.data() && part.data() + part.size() <= page.data() + page.size();
}

void ReadRows(std::span<const uint8_t> page, const SLayout& layout) {
  AreSlotsSound(page, layout);
  CSlottedPage slotted(layout);
  const bool isLoaded = slotted.Load(page);
  for (uint32_t slot = 0; slot < kMaxSlots; slot++) {
    const auto row = FindRow(page, layout, slot, kSlotStart);
    if (row) Require(IsInside(*row, page));
    if (isLoaded && slot < slotted.GetRowCount()) Require(slotted.GetRow(slot).size() <= page.size());
    if (!row || !IsMapRow(*row)) continue;
    uint64_t visits = 0;
    ReadMapRow(
        layout, *row, [&](uint32_t, uint64_t) { return page; }, [&](uint64_t) { return ++visits < 100'000; });
    MapPagesOf(*row);
  }
}

void ReadEntries(std::span<const uint8_t> page, const SLayout& layout) {
  Require(EndOfEntries(page, layout.index) <= layout.pageSize);
  CIndexPage index;
  std::u16string problem;
  std::vector<uint8_t> entry;
  if (!index.Parse(layout.index, page, problem)) Require(index.GetCount() == 0 && !problem.empty());
  for (size_t i = 0; i < index.GetCount(); i++) {
    index.GetEntry(i, entry);
    Require(entry.size() >= kRowPointerSize && entry.size() <= layout.pageSize);
  }
  ForEachIndexEntry(page, layout.index, [](SRowPointer) {});
}

void Walk(std::span<const std::vector<uint8_t>> pages, const SLayout& layout) {
  const auto read = [&](uint32_t page, std::span<uint8_t> bytes) {
    if (page >= pages.size()) return false;
    std::ranges::copy(pages[page], bytes.begin());
    return true;
  };
  CIndexCursor cursor(layout, static_cast<uint32_t>(pages.size()), 0, read);
  uint64_t steps = 0;
  for (EIndexWalk state = cursor.Seek({}); state == EIndexWalk::Ok && !cursor.IsAtEnd();
       state = cursor.Next()) {
    Require(cursor.GetKey().size() <= layout.pageSize && ++steps <= pages.size() * layout.pageSize);
  }
}

void ReadHeader(std::vector<uint8_t> page, const SLayout& layout) {
  const std::vector<uint8_t> stored = page;
  SHeaderPage header;
  ParseHeaderPage(layout, page, header);
  IsHeaderEncrypted(page);
  MaskHeader(layout.header, page);
  CreationDay(layout.header, page);
  MaskHeader(layout.header, page);
  Require(page == stored);
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tolvane;
  CFuzzInput input(data, size);
  const SLayout& layout = ProbeLayout(input.Rest().first(std::min(size, kLayoutProbe)));
  std::vector<std::vector<uint8_t>> pages;
  while (!input.IsEmpty()) {
    const std::span<const uint8_t> bytes = input.Take(layout.pageSize);
    pages.emplace_back(bytes.begin(), bytes.end()).resize(layout.pageSize);
  }
  for (const std::vector<uint8_t>& page : pages) {
    IsSoundPage(page, layout);
    IsFirstOfDefinition(page, layout);
    ReadRows(page, layout);
    ReadEntries(page, layout);
  }
  Walk(pages, layout);
  if (!pages.empty()) ReadHeader(pages[0], layout);
  return 0;
}
