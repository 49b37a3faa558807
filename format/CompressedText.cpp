#include "format/CompressedText.h"

#include "format/Bytes.h"

namespace tolvane {
namespace {

char16_t UnitOf(uint8_t low, uint8_t high) {
  return static_cast<char16_t>(low | high << 8);
}

constexpr char16_t kMarkUnit = static_cast<char16_t>(kCompressedMark[0] | kCompressedMark[1] << 8);

}  // namespace

void CTextUnpacker::Begin(std::u16string& out) {
  m_state = EState::Start;
  m_hasLow = false;
  m_out = &out;
}

void CTextUnpacker::Append(std::span<const uint8_t> bytes) {
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
      case EState::Wide:
        bytes = TakeWide(bytes);
        break;
    }
  }
}

std::span<const uint8_t> CTextUnpacker::TakeFirstUnit(std::span<const uint8_t> bytes) {
  if (!m_hasLow) {
    m_low = bytes[0];
    m_hasLow = true;
    return bytes.subspan(1);
  }
  m_hasLow = false;
  const char16_t unit = UnitOf(m_low, bytes[0]);
  m_state = unit == kMarkUnit ? EState::Narrow : EState::Plain;
  if (m_state == EState::Plain) m_out->push_back(unit);
  return bytes.subspan(1);
}

std::span<const uint8_t> CTextUnpacker::TakePlain(std::span<const uint8_t> bytes) {
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

std::span<const uint8_t> CTextUnpacker::TakeNarrow(std::span<const uint8_t> bytes) {
  const auto zero = std::ranges::find(bytes, uint8_t{0});
  const auto count = static_cast<size_t>(zero - bytes.begin());
  const size_t old = m_out->size();
  m_out->resize(old + count);
  for (size_t i = 0; i < count; i++) (*m_out)[old + i] = bytes[i];
  if (count == bytes.size()) return {};
  m_state = EState::Wide;
  return bytes.subspan(count + 1);
}

std::span<const uint8_t> CTextUnpacker::TakeWide(std::span<const uint8_t> bytes) {
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

std::u16string UnpackText(std::span<const uint8_t> stored) {
  std::u16string text;
  CTextUnpacker unpacker;
  unpacker.Begin(text);
  unpacker.Append(stored);
  return text;
}

void AppendPlainUtf16(std::span<const uint8_t> stored, std::vector<uint8_t>& out) {
  if (IsTextCompressed(stored))
    AppendUnits(out, UnpackText(stored));
  else
    out.insert(out.end(), stored.begin(), stored.end());
}

}  // namespace tolvane
