// Changes the bytes of a database page by page, so that most of it stays a database: a run gets past the
// first pages and into what they lead to.
#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <span>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

constexpr size_t kVersionAt = 0x14, kVersions = 5, kPageSizeJet3 = 2048, kPageSizeJet4 = 4096;
constexpr size_t kTypeSize = 2, kHeadSize = 64;  // of a page; most of its counts and links are in the head

class CPageMutator {
 public:
  CPageMutator(std::span<uint8_t> bytes, unsigned seed)
      : m_bytes(bytes), m_pageSize(bytes[kVersionAt] == 0 ? kPageSizeJet3 : kPageSizeJet4), m_random(seed) {}

  size_t Below(size_t bound) { return std::uniform_int_distribution<size_t>(0, bound - 1)(m_random); }
  void Change() {
    const std::span<uint8_t> page = PickPage(), other = PickPage(), piece = PickPiece(page, 96);
    switch (Below(10)) {
      case 0:
        return void(std::copy_backward(other.begin(), other.end(), page.end()));
      case 1:
        return std::fill(page.begin(), page.end(), uint8_t{0});
      case 2:  // the pages of all versions but the first are alike
        if (m_pageSize == kPageSizeJet4) m_bytes[kVersionAt] = static_cast<uint8_t>(1 + Below(kVersions));
        return;
      case 3:
      case 4:
      case 5:
        return PutNumber(PickPiece(page, 4));
      default:
        LLVMFuzzerMutate(piece.data(), piece.size(), piece.size());
    }
  }

 private:
  std::span<uint8_t> PickPage() {
    return m_bytes.subspan(Below(m_bytes.size() / m_pageSize) * m_pageSize, m_pageSize);
  }
  // Bytes of a page behind its type.
  std::span<uint8_t> PickPiece(std::span<uint8_t> page, size_t longest) {
    const size_t at = kTypeSize + Below((Below(2) == 0 ? kHeadSize : page.size()) - kTypeSize);
    return page.subspan(at, std::min(1 + Below(longest), page.size() - at));
  }
  // One that means something in many places: a limit, or a page of the file.
  void PutNumber(std::span<uint8_t> at) {
    constexpr std::array<uint32_t, 6> kLimits{0, 0xFF, 0x7FFF, 0xFFFF, 0x7FFFFFFF, 0xFFFFFFFF};
    const size_t number = Below(2) == 0 ? kLimits[Below(kLimits.size())] : Below(m_bytes.size() / m_pageSize);
    for (size_t i = 0; i < at.size(); i++) at[i] = static_cast<uint8_t>(number >> 8 * i);
  }

  const std::span<uint8_t> m_bytes;
  const size_t m_pageSize;
  std::minstd_rand m_random;
};

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed) {
  if (size < kPageSizeJet4) return LLVMFuzzerMutate(data, size, maxSize);
  CPageMutator mutator({data, size}, seed);
  for (size_t changes = 1 + mutator.Below(4); changes > 0; changes--) mutator.Change();
  return mutator.Below(50) == 0 ? 1 + mutator.Below(size) : size;
}
