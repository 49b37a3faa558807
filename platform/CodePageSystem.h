// What the system knows about code pages of one or two bytes a character. For CodePage.cpp only, which keeps
// it in tables: nothing here needs to be fast.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

namespace tolvane {

enum class ECodeKind : uint8_t { Defined, Undefined, LeadByte };

struct SDecodedCode {
  ECodeKind kind = ECodeKind::Undefined;
  char16_t unit = 0;  // when defined
};

// One code page. One thread at a time.
class CSystemCodePage {
 public:
  // Null when the system does not know the page.
  static std::unique_ptr<CSystemCodePage> Open(uint32_t codePage);
  ~CSystemCodePage();

  // One byte: a character, the first half of one, or nothing. Two bytes: a character or nothing.
  SDecodedCode Decode(std::span<const uint8_t> bytes);
  // The code of a character, the first byte high when there are two; 0 when the page does not hold it.
  uint16_t Encode(char16_t unit);

 private:
  struct SState;
  explicit CSystemCodePage(std::unique_ptr<SState> state);
  std::unique_ptr<SState> m_state;
};

}  // namespace tolvane
