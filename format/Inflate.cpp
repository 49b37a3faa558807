#include "format/Inflate.h"

namespace tolvane {
namespace {

constexpr uint32_t kMethodDeflate = 8;
constexpr uint32_t kSumBase = 65521;
constexpr uint32_t kEndOfBlock = 256;
constexpr size_t kMostLiterals = 286, kMostDistances = 30;

// Lengths from symbol 257 on, and distances: the least one, and how many bits are added.
constexpr std::array<uint16_t, 29> kLengthBases{3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                                15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                                67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr std::array<uint8_t, 29> kLengthBits{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                              2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr std::array<uint16_t, 30> kDistanceBases{
    1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
    193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr std::array<uint8_t, 30> kDistanceBits{0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                                6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};
// The order in which a dynamic block tells the lengths of the code of its code lengths.
constexpr std::array<uint8_t, 19> kLengthOrder{16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                               11, 4,  12, 3, 13, 2, 14, 1, 15};

}  // namespace

bool CInflater::SCode::Build(std::span<const uint8_t> lengths) {
  counts.fill(0);
  for (const uint8_t length : lengths) counts[length]++;
  counts[0] = 0;
  int32_t left = 1;  // codes of the present length that are free
  std::array<uint16_t, kLongestCode + 2> offsets{};
  for (size_t length = 1; length <= kLongestCode; length++) {
    left = 2 * left - counts[length];
    if (left < 0) return false;
    offsets[length + 1] = static_cast<uint16_t>(offsets[length] + counts[length]);
  }
  for (size_t symbol = 0; symbol < lengths.size(); symbol++)
    if (lengths[symbol] != 0) symbols[offsets[lengths[symbol]]++] = static_cast<uint16_t>(symbol);
  return true;
}

bool CInflater::TakeByte(uint8_t& byte) {
  if (m_piecePosition == m_pieceSize) {
    m_pieceSize = m_input(m_piece);
    m_piecePosition = 0;
    if (m_pieceSize == 0) {
      Break();
      return false;
    }
  }
  byte = m_piece[m_piecePosition++];
  return true;
}

uint32_t CInflater::TakeBits(uint32_t count) {
  uint8_t byte = 0;
  for (; m_bitCount < count; m_bitCount += 8) {
    if (!TakeByte(byte)) return 0;
    m_bits |= uint32_t{byte} << m_bitCount;
  }
  const uint32_t bits = m_bits & ((uint32_t{1} << count) - 1);
  m_bits >>= count;
  m_bitCount -= count;
  return bits;
}

// Codes of a length follow each other; the first of the next length follows the last one, doubled.
uint32_t CInflater::TakeSymbol(const SCode& code) {
  int32_t value = 0, first = 0, index = 0;
  for (size_t length = 1; length <= kLongestCode && m_state != EState::Broken; length++) {
    value |= static_cast<int32_t>(TakeBits(1));
    const int32_t count = code.counts[length];
    if (value - count < first) return code.symbols[static_cast<size_t>(index + value - first)];
    index += count;
    first = 2 * (first + count);
    value *= 2;
  }
  Break();
  return kEndOfBlock;
}

void CInflater::TakeHead() {
  const uint32_t method = TakeBits(8), flags = TakeBits(8);
  constexpr uint32_t kDictionary = 0x20;
  if (m_state == EState::Broken) return;
  const bool isHead = (method & 15) == kMethodDeflate && (method * 256 + flags) % 31 == 0;
  m_state = isHead && (flags & kDictionary) == 0 ? EState::Block : EState::Broken;
}

void CInflater::BeginBlock() {
  m_isLastBlock = TakeBits(1) != 0;
  const uint32_t kind = TakeBits(2);
  if (m_state == EState::Broken) return;
  switch (kind) {
    case 0:
      return BeginStored();
    case 1:
      return BeginFixed();
    case 2:
      return BeginDynamic();
    default:
      Break();
  }
}

void CInflater::BeginStored() {
  m_bits = m_bitCount = 0;  // up to seven bits of padding
  const uint32_t length = TakeBits(16), complement = TakeBits(16);
  if (m_state == EState::Broken) return;
  m_left = length;
  m_state = length == (complement ^ 0xFFFF) ? EState::Stored : EState::Broken;
}

void CInflater::BeginFixed() {
  std::array<uint8_t, 288> lengths{};
  for (size_t i = 0; i < lengths.size(); i++) lengths[i] = i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8;
  std::array<uint8_t, kMostDistances> distances{};
  distances.fill(5);
  m_state = m_literals.Build(lengths) && m_distances.Build(distances) ? EState::Coded : EState::Broken;
}

void CInflater::BeginDynamic() {
  const size_t literals = TakeBits(5) + 257, distances = TakeBits(5) + 1, given = TakeBits(4) + 4;
  if (literals > kMostLiterals || distances > kMostDistances) return Break();
  std::array<uint8_t, kMostLiterals + kMostDistances> lengths{};
  for (size_t i = 0; i < given; i++) lengths[kLengthOrder[i]] = static_cast<uint8_t>(TakeBits(3));
  SCode code;
  if (!code.Build(std::span(lengths).first(kLengthOrder.size()))) return Break();
  lengths.fill(0);
  for (size_t i = 0; i < literals + distances && m_state != EState::Broken;) {
    const uint32_t symbol = TakeSymbol(code);
    if (symbol < 16) {
      lengths[i++] = static_cast<uint8_t>(symbol);
      continue;
    }
    if (symbol == 16 && i == 0) return Break();
    const uint8_t repeated = symbol == 16 ? lengths[i - 1] : uint8_t{0};
    size_t count = symbol == 16 ? 3 + TakeBits(2) : symbol == 17 ? 3 + TakeBits(3) : 11 + TakeBits(7);
    if (count > literals + distances - i) return Break();
    for (; count > 0; count--) lengths[i++] = repeated;
  }
  const std::span<const uint8_t> all(lengths);
  const bool isSound = m_state != EState::Broken && lengths[kEndOfBlock] != 0 &&
                       m_literals.Build(all.first(literals)) &&
                       m_distances.Build(all.subspan(literals, distances));
  m_state = isSound ? EState::Coded : EState::Broken;
}

void CInflater::Put(uint8_t byte, std::span<uint8_t> buffer, size_t& filled) {
  buffer[filled++] = byte;
  m_window[m_written++ % kWindow] = byte;
  m_sumLow = (m_sumLow + byte) % kSumBase;
  m_sumHigh = (m_sumHigh + m_sumLow) % kSumBase;
}

void CInflater::CopyMatch(std::span<uint8_t> buffer, size_t& filled) {
  for (; m_left > 0 && filled < buffer.size(); m_left--)
    Put(m_window[(m_written - m_distance) % kWindow], buffer, filled);
}

void CInflater::TakeCoded(std::span<uint8_t> buffer, size_t& filled) {
  CopyMatch(buffer, filled);
  while (filled < buffer.size() && m_state == EState::Coded) {
    const uint32_t symbol = TakeSymbol(m_literals);
    if (m_state == EState::Broken) return;
    if (symbol < kEndOfBlock) {
      Put(static_cast<uint8_t>(symbol), buffer, filled);
      continue;
    }
    if (symbol == kEndOfBlock) return EndBlock();
    const size_t length = symbol - kEndOfBlock - 1;
    if (length >= kLengthBases.size()) return Break();
    const size_t bytes = kLengthBases[length] + TakeBits(kLengthBits[length]);
    const uint32_t distance = TakeSymbol(m_distances);
    if (m_state == EState::Broken || distance >= kDistanceBases.size()) return Break();
    m_distance = kDistanceBases[distance] + TakeBits(kDistanceBits[distance]);
    if (m_state == EState::Broken || m_distance > m_written) return Break();
    m_left = bytes;
    CopyMatch(buffer, filled);
  }
}

void CInflater::TakeStored(std::span<uint8_t> buffer, size_t& filled) {
  uint8_t byte = 0;
  for (; m_left > 0 && filled < buffer.size(); m_left--) {
    if (!TakeByte(byte)) return;
    Put(byte, buffer, filled);
  }
  if (m_left == 0) EndBlock();
}

// The checksum behind the last block stands with its highest byte first.
void CInflater::EndBlock() {
  m_state = EState::Block;
  if (!m_isLastBlock) return;
  m_bits = m_bitCount = 0;
  uint32_t sum = 0;
  for (int i = 0; i < 4; i++) sum = sum << 8 | TakeBits(8);
  if (m_state == EState::Broken) return;
  m_state = sum == (m_sumHigh << 16 | m_sumLow) ? EState::Done : EState::Broken;
}

size_t CInflater::Read(std::span<uint8_t> buffer) {
  size_t filled = 0;
  while (filled < buffer.size() && m_state != EState::Done && m_state != EState::Broken) {
    switch (m_state) {
      case EState::Head:
        TakeHead();
        break;
      case EState::Block:
        BeginBlock();
        break;
      case EState::Stored:
        TakeStored(buffer, filled);
        break;
      default:
        TakeCoded(buffer, filled);
        break;
    }
  }
  return filled;
}

}  // namespace tolvane
