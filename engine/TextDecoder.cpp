#include "engine/TextDecoder.h"

#include <algorithm>

#include "platform/CodePage.h"

namespace tolvane {

namespace {

constexpr uint16_t kCompressedMark = 0xFEFF;  // bytes FF FE

char16_t UnitOf(uint8_t low, uint8_t high) {
  return static_cast<char16_t>(low | high << 8);
}

}  // namespace

void CTextDecoder::Begin(const STextCoding& coding, std::u16string& out) {
  m_state = coding.isUtf16 ? EState::Start : EState::CodePage;
  m_codePage = coding.codePage;
  m_hasLow = false;
  m_out = &out;
  m_bytes.clear();
}

void CTextDecoder::Append(std::span<const uint8_t> bytes) {
  if (m_state == EState::CodePage) {
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    return;
  }
  while (!bytes.empty()) {
    switch (m_state) {
      case EState::Start:
        bytes = TakeFirstUnit(bytes);
        break;
      case EState::Plain:
        bytes = TakePlain(bytes);
        break;
      case EState::Narrow:
        bytes = TakeNarrow(bytes);
        break;
      default:
        bytes = TakeWide(bytes);
        break;
    }
  }
}

void CTextDecoder::End() {
  if (m_state == EState::CodePage) DecodeCodePage(m_codePage, m_bytes, *m_out);
  m_bytes.clear();
  m_out = nullptr;
}

void CTextDecoder::Decode(const STextCoding& coding, std::span<const uint8_t> bytes, std::u16string& out) {
  if (!coding.isUtf16) {
    DecodeCodePage(coding.codePage, bytes, out);
    return;
  }
  Begin(coding, out);
  Append(bytes);
  End();
}

void CTextDecoder::ReleaseMemory() {
  std::vector<uint8_t>().swap(m_bytes);
}

std::span<const uint8_t> CTextDecoder::TakeFirstUnit(std::span<const uint8_t> bytes) {
  if (!m_hasLow) {
    m_low = bytes[0];
    m_hasLow = true;
    return bytes.subspan(1);
  }
  m_hasLow = false;
  const char16_t unit = UnitOf(m_low, bytes[0]);
  m_state = unit == kCompressedMark ? EState::Narrow : EState::Plain;
  if (m_state == EState::Plain) m_out->push_back(unit);
  return bytes.subspan(1);
}

std::span<const uint8_t> CTextDecoder::TakePlain(std::span<const uint8_t> bytes) {
  if (m_hasLow) {
    m_hasLow = false;
    m_out->push_back(UnitOf(m_low, bytes[0]));
    return bytes.subspan(1);
  }
  const size_t units = bytes.size() / 2;
  const size_t old = m_out->size();
  m_out->resize(old + units);
  for (size_t i = 0; i < units; i++) (*m_out)[old + i] = UnitOf(bytes[2 * i], bytes[2 * i + 1]);
  if (bytes.size() % 2 != 0) {
    m_low = bytes.back();
    m_hasLow = true;
  }
  return {};
}

std::span<const uint8_t> CTextDecoder::TakeNarrow(std::span<const uint8_t> bytes) {
  const auto zero = std::find(bytes.begin(), bytes.end(), uint8_t{0});
  const auto count = static_cast<size_t>(zero - bytes.begin());
  const size_t old = m_out->size();
  m_out->resize(old + count);
  for (size_t i = 0; i < count; i++) (*m_out)[old + i] = bytes[i];
  if (count == bytes.size()) return {};
  m_state = EState::Wide;
  return bytes.subspan(count + 1);
}

std::span<const uint8_t> CTextDecoder::TakeWide(std::span<const uint8_t> bytes) {
  if (m_hasLow) {
    m_hasLow = false;
    m_out->push_back(UnitOf(m_low, bytes[0]));
  } else if (bytes[0] == 0) {
    m_state = EState::Narrow;
  } else {
    m_low = bytes[0];
    m_hasLow = true;
  }
  return bytes.subspan(1);
}

}  // namespace tolvane
