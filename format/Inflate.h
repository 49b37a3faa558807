// Reads deflate streams in their zlib form, piece by piece: a two-byte head, deflate blocks, a checksum.
//
// Holds the last 32 KB of the output and a piece of the input, whatever the stream claims. Codes that no
// sound stream has, distances before the start and input that ends early end the output there.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace tolvane {

class CInflater {
 public:
  // Fills as much of the buffer as there is and answers how much; 0 at the end.
  using Input = std::function<size_t(std::span<uint8_t>)>;
  explicit CInflater(Input input) : m_input(std::move(input)), m_window(kWindow) {}

  // The next bytes of the output, fewer than asked for only at its end.
  size_t Read(std::span<uint8_t> buffer);
  // At the end: the stream was whole, its checksum included.
  [[nodiscard]] bool IsWhole() const { return m_state == EState::Done; }

 private:
  static constexpr size_t kWindow = size_t{1} << 15;
  static constexpr size_t kPiece = size_t{1} << 12;
  static constexpr size_t kLongestCode = 15;

  enum class EState : uint8_t { Head, Block, Stored, Coded, Done, Broken };
  // A Huffman code: how many codes there are of each length, and their symbols in the order of the codes.
  struct SCode {
    std::array<uint16_t, kLongestCode + 1> counts{};
    std::array<uint16_t, 288> symbols{};
    // False when the lengths make no code that can be read.
    bool Build(std::span<const uint8_t> lengths);
  };

  // Of the input, the lowest bit first. Without input the stream is broken and the answer 0.
  uint32_t TakeBits(uint32_t count);
  bool TakeByte(uint8_t& byte);
  uint32_t TakeSymbol(const SCode& code);
  void TakeHead();
  void BeginBlock();
  void BeginStored();
  void BeginFixed();
  void BeginDynamic();
  void TakeCoded(std::span<uint8_t> buffer, size_t& filled);
  void TakeStored(std::span<uint8_t> buffer, size_t& filled);
  void CopyMatch(std::span<uint8_t> buffer, size_t& filled);
  void Put(uint8_t byte, std::span<uint8_t> buffer, size_t& filled);
  void EndBlock();
  void Break() { m_state = EState::Broken; }

  Input m_input;
  std::array<uint8_t, kPiece> m_piece{};
  size_t m_pieceSize = 0, m_piecePosition = 0;
  uint32_t m_bits = 0, m_bitCount = 0;
  std::vector<uint8_t> m_window;  // a ring
  uint64_t m_written = 0;
  EState m_state = EState::Head;
  bool m_isLastBlock = false;
  size_t m_left = 0;  // of a stored block or a match
  size_t m_distance = 0;
  SCode m_literals, m_distances;
  uint32_t m_sumLow = 1, m_sumHigh = 0;  // the checksum so far
};

}  // namespace tolvane
