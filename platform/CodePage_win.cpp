#include <windows.h>

#include <array>
#include <utility>

#include "platform/CodePage.h"
#include "platform/CodePageSystem.h"

namespace tolvane {

struct CSystemCodePage::SState {
  UINT codePage;
};

CSystemCodePage::CSystemCodePage(std::unique_ptr<SState> state) : m_state(std::move(state)) {}
CSystemCodePage::~CSystemCodePage() = default;

std::unique_ptr<CSystemCodePage> CSystemCodePage::Open(uint32_t codePage) {
  // Smaller numbers are not pages but names for the user's ones.
  constexpr uint32_t kFirstPage = 37;
  CPINFO info{};
  const bool isKnown = codePage >= kFirstPage && IsValidCodePage(codePage) && GetCPInfo(codePage, &info);
  if (!isKnown || info.MaxCharSize > 2) return nullptr;
  return std::unique_ptr<CSystemCodePage>(new CSystemCodePage(std::make_unique<SState>(SState{codePage})));
}

SDecodedCode CSystemCodePage::Decode(std::span<const uint8_t> bytes) {
  if (bytes.size() == 1 && IsDBCSLeadByteEx(m_state->codePage, bytes[0])) return {ECodeKind::LeadByte, 0};
  std::array<wchar_t, 4> out{};
  const int size = MultiByteToWideChar(
      m_state->codePage, MB_ERR_INVALID_CHARS, reinterpret_cast<const char*>(bytes.data()),
      static_cast<int>(bytes.size()), out.data(), static_cast<int>(out.size()));
  if (size != 1) return {};
  return {ECodeKind::Defined, static_cast<char16_t>(out[0])};
}

uint16_t CSystemCodePage::Encode(char16_t unit) {
  const auto in = static_cast<wchar_t>(unit);
  std::array<char, 4> out{};
  BOOL isReplaced = FALSE;
  const int size = WideCharToMultiByte(m_state->codePage, WC_NO_BEST_FIT_CHARS, &in, 1, out.data(),
                                       static_cast<int>(out.size()), nullptr, &isReplaced);
  if (isReplaced) return 0;
  const auto first = static_cast<uint8_t>(out[0]);
  if (size == 1) return first;
  return size == 2 ? static_cast<uint16_t>(first << 8 | static_cast<uint8_t>(out[1])) : uint16_t{0};
}

uint32_t SystemCodePage() {
  return GetACP();
}

}  // namespace tolvane
