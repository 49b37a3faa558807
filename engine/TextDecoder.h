// Stored text to UTF-16. A text may arrive in pieces that end anywhere, even inside a character.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "format/CompressedText.h"

namespace tolvane {

// How the texts of a column are stored.
struct STextCoding {
  bool isUtf16 = true;  // Jet 4; otherwise `codePage` counts
  uint32_t codePage = 0;
};

class CTextDecoder {
 public:
  // The text is appended to `out`, which must stay until End; it may be emptied meanwhile.
  void Begin(const STextCoding& coding, std::u16string& out);
  void Append(std::span<const uint8_t> bytes);
  // An odd byte that is left over is dropped.
  void End();

  // A whole text at once.
  void Decode(const STextCoding& coding, std::span<const uint8_t> bytes, std::u16string& out);

 private:
  STextCoding m_coding;
  CTextUnpacker m_unpacker;
  std::u16string* m_out = nullptr;
  std::vector<uint8_t> m_bytes;  // of a code page: the last piece, or a character that goes on in the next
};

}  // namespace tolvane
