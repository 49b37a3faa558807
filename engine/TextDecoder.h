// Stored text to UTF-16. A text may arrive in pieces that end anywhere, even inside a character.
//
//   Jet 3   bytes of a code page
//   Jet 4   UTF-16LE; or FF FE and then the compressed form: one byte a unit (U+0001 to U+00FF) until a zero
//           byte, which switches to two bytes a unit and, at the place of a unit's low byte, back again
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tolvane {

// How the texts of a column are stored.
struct STextCoding {
  bool isUtf16 = true;  // Jet 4; otherwise `codePage` counts
  uint32_t codePage = 0;
};

class CTextDecoder {
 public:
  // The text is appended to `out`, which must stay until End.
  void Begin(const STextCoding& coding, std::u16string& out);
  void Append(std::span<const uint8_t> bytes);
  // An odd byte that is left over is dropped.
  void End();

  // A whole text at once.
  void Decode(const STextCoding& coding, std::span<const uint8_t> bytes, std::u16string& out);

  // Gives back what an unusually long text made it allocate.
  void ReleaseMemory();

 private:
  enum class EState : uint8_t { Start, Plain, Narrow, Wide, CodePage };

  [[nodiscard]] std::span<const uint8_t> TakeFirstUnit(std::span<const uint8_t> bytes);
  [[nodiscard]] std::span<const uint8_t> TakePlain(std::span<const uint8_t> bytes);
  [[nodiscard]] std::span<const uint8_t> TakeNarrow(std::span<const uint8_t> bytes);
  [[nodiscard]] std::span<const uint8_t> TakeWide(std::span<const uint8_t> bytes);

  EState m_state = EState::Start;
  bool m_hasLow = false;  // m_low is a unit's low byte, waiting for the next piece
  uint8_t m_low = 0;
  uint32_t m_codePage = 0;
  std::u16string* m_out = nullptr;
  std::vector<uint8_t> m_bytes;  // of a code page: a character of two bytes may lie across two pieces
};

}  // namespace tolvane
