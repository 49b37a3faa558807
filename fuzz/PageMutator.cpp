// Changes the bytes of a database page by page, so that most of it stays a database: a run gets past the
// first pages and into what they lead to. Half of the changes hit a place that has a meaning on its kind of
// page.
#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "format/HeaderPage.h"
#include "format/Layout.h"
#include "format/PageLayout.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace tolvane {
namespace {

constexpr size_t kOwnerOrNext =
    4;  // of rows, maps and entries the owner's page, of definitions the page that follows
constexpr size_t kHeadSize = 64;  // of a page; most of its counts and links are in the head
constexpr size_t kSlotsHit = 8;   // of the row offset table

class CPageMutator {
 public:
  CPageMutator(std::span<uint8_t> bytes, unsigned seed)
      : m_bytes(bytes), m_layout(ProbeLayout(bytes.first(kLayoutProbe))), m_random(seed) {}

  size_t Below(size_t bound) { return std::uniform_int_distribution<size_t>(0, bound - 1)(m_random); }
  void Change() {
    const std::span<uint8_t> page = PickPage(), other = PickPage(), piece = PickPiece(page, 96);
    switch (Below(16)) {
      case 0:
        return void(std::ranges::copy(other, page.begin()));
      case 1:
        return void(std::ranges::fill(page, uint8_t{0}));
      case 2:  // the version; the pages of all but the first are alike
        if (!m_layout.isJet3) m_bytes[kLayoutProbe - 1] = static_cast<uint8_t>(1 + Below(kVersions));
        return;
      case 3:
        return void(
            std::swap_ranges(page.begin() + page.size() / 2, page.end(), other.begin() + page.size() / 2));
      case 4:  // bytes put in or lost: what follows is out of step, or in step with other numbers
        return Move(page, Below(2) == 0 ? m_layout.pageSize : 1 + Below(m_layout.pageSize));
      case 5:
        return PutNumber(PickPiece(page, 4));
      case 6:
      case 7:
        LLVMFuzzerMutate(piece.data(), piece.size(), piece.size());
        return;
      default:
        return PutNumber(PickPlace(page));
    }
  }

 private:
  static constexpr size_t kVersions = 5;

  std::span<uint8_t> PickPage() {
    return m_bytes.subspan(Below(m_bytes.size() / m_layout.pageSize) * m_layout.pageSize, m_layout.pageSize);
  }
  // Bytes of a page behind its type.
  std::span<uint8_t> PickPiece(std::span<uint8_t> page, size_t longest) {
    const size_t at = kTypeSize + Below((Below(2) == 0 ? kHeadSize : page.size()) - kTypeSize);
    return page.subspan(at, std::min(1 + Below(longest), page.size() - at));
  }
  // A count, link or offset.
  std::span<uint8_t> PickPlace(std::span<uint8_t> page) {
    std::vector<size_t> places{kTypeSize, kOwnerOrNext};
    const SDefinitionLayout& table = m_layout.definition;
    const SIndexPageLayout& index = m_layout.index;
    switch (page[kPageTypeAt]) {
      case kPageData:
        places.push_back(m_layout.data.slotCount);
        for (size_t slot = 0; slot < kSlotsHit; slot++) places.push_back(m_layout.data.slots + 2 * slot);
        break;
      case kPageDefinition:
        for (const size_t at :
             {table.length, table.rowCount, table.autoNumber, table.columnsEver, table.variableEver,
              table.columnCount, table.logicalCount, table.realCount, table.ownedMap, table.freeMap})
          places.push_back(at);
        for (size_t column = 0; column < kSlotsHit; column++)
          places.push_back(table.headerSize + column * m_layout.column.size + Below(m_layout.column.size));
        break;
      case kPageIndexNode:
      case kPageIndexLeaf:
        for (const size_t at :
             {index.previous, index.next, index.tail, index.prefix, index.mask, index.entries})
          places.push_back(at);
        break;
      default:
        break;
    }
    return page.subspan(places[Below(places.size())], size_t{1} << Below(3));
  }
  void Move(std::span<uint8_t> page, size_t distance) {
    const std::span<uint8_t> rest = m_bytes.subspan(static_cast<size_t>(page.data() - m_bytes.data()));
    const size_t step = std::min(distance, rest.size());
    if (Below(2) == 0)
      std::copy(rest.begin() + static_cast<ptrdiff_t>(step), rest.end(), rest.begin());
    else
      std::copy_backward(rest.begin(), rest.end() - static_cast<ptrdiff_t>(step), rest.end());
  }
  // One that means something in many places: a limit, or a page of the file.
  void PutNumber(std::span<uint8_t> at) {
    constexpr std::array<uint32_t, 6> kLimits{0, 0xFF, 0x7FFF, 0xFFFF, 0x7FFFFFFF, 0xFFFFFFFF};
    const size_t number =
        Below(2) == 0 ? kLimits[Below(kLimits.size())] : Below(m_bytes.size() / m_layout.pageSize);
    for (size_t i = 0; i < at.size(); i++) at[i] = static_cast<uint8_t>(number >> 8 * i);
  }

  static constexpr size_t kTypeSize = 2;
  const std::span<uint8_t> m_bytes;
  const SLayout& m_layout;
  std::minstd_rand m_random;
};

}  // namespace
}  // namespace tolvane

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed) {
  if (size < tolvane::kLayoutJet4.pageSize) return LLVMFuzzerMutate(data, size, maxSize);
  tolvane::CPageMutator mutator({data, size}, seed);
  for (size_t changes = 1 + mutator.Below(4); changes > 0; changes--) mutator.Change();
  return mutator.Below(50) == 0 ? 1 + mutator.Below(size) : size;
}
