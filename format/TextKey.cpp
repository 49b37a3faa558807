#include "format/TextKey.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "format/TextKeyTable.h"

namespace tolvane {
namespace {

constexpr size_t kIndexedCharacters = 255;
constexpr uint8_t kBlank = 0x20;

constexpr uint8_t kEndOfPart = 0x01;
constexpr uint8_t kEndOfKey = 0x00;
constexpr uint8_t kKanaSeparator = 0xFF;

constexpr uint8_t kNoSecondLevel = 0x02;  // the second-level byte of a character without one

// An unprintable character: word 0x8000 | (7 + 4 * position), big-endian, then 06 and the character's own
// byte.
constexpr uint32_t kUnprintablePlace = 0x8000;
constexpr uint32_t kUnprintableBase = 7;
constexpr uint32_t kUnprintableStep = 4;
constexpr uint8_t kUnprintableMark = 0x06;

// Kana values, three two-bit values to a byte below this mark, closed by a constant tail.
constexpr uint8_t kKanaMark = 0x80;
constexpr uint8_t kKanaDefault = 3;
constexpr uint8_t kKanaTail[] = {0xFF, 0x02, 0x80, 0xFF, 0x80};

constexpr uint8_t kJet3EndOfKey = 0x00;
constexpr uint8_t kJet3NoAccent = 2;

void AppendBigEndian(uint32_t value, std::vector<uint8_t>& bytes) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    if (value >> shift != 0) bytes.push_back(static_cast<uint8_t>(value >> shift));
  }
}

void ComplementFrom(size_t start, std::vector<uint8_t>& bytes) {
  for (size_t i = start; i < bytes.size(); i++) bytes[i] = static_cast<uint8_t>(~bytes[i]);
}

// A byte list on the stack; the capacity covers the longest indexed text.
template <size_t kCapacity>
struct SByteList {
  std::array<uint8_t, kCapacity> bytes;
  size_t size = 0;
  void Push(uint32_t value) { bytes[size++] = static_cast<uint8_t>(value); }
  [[nodiscard]] uint8_t& Last() { return bytes[size - 1]; }
  void AppendTo(std::vector<uint8_t>& key) const {
    key.insert(key.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
  }
};

// Collects the parts of one Jet 4 key. Primary bytes go straight into the key.
class CJet4KeyParts {
 public:
  explicit CJet4KeyParts(std::vector<uint8_t>& key) : m_key(key) {}

  void Add(char16_t unit, const SJet4Weight& weight) {
    switch (weight.weightClass) {
      case EWeightClass::Ignored:
        return;
      case EWeightClass::Modifier:
        return AddModifier(weight.second);
      case EWeightClass::Unprintable:
        return AddUnprintable(weight.second);
      case EWeightClass::Kana2:
        m_kana.Push(2);
        break;
      case EWeightClass::Kana3:
        m_kana.Push(3);
        break;
      case EWeightClass::Plain:
      case EWeightClass::Letter:
        break;
    }
    AppendBigEndian(weight.primary + static_cast<uint32_t>(weight.step) * (unit - weight.first), m_key);
    if (weight.second != 0) AddSecond(weight.second);
    m_positions++;
  }

  void Finish() {
    m_key.push_back(kEndOfPart);
    while (m_second.size != 0 && m_second.Last() <= kNoSecondLevel) m_second.size--;
    m_second.AppendTo(m_key);
    if (m_kana.size != 0 || m_unprintable.size != 0) {
      m_key.insert(m_key.end(), {kEndOfPart, kEndOfPart});
      if (m_kana.size != 0) AppendKana();
      if (m_kana.size != 0 && m_unprintable.size != 0) m_key.push_back(kKanaSeparator);
      if (m_unprintable.size != 0) {
        m_key.push_back(kEndOfPart);
        m_unprintable.AppendTo(m_key);
      }
    }
  }

 private:
  void FillSecond() {
    for (; m_filled < m_positions; m_filled++) m_second.Push(kNoSecondLevel);
  }

  // Two bytes still stand for one position.
  void AddSecond(uint32_t second) {
    FillSecond();
    if (second > 0xFF) m_second.Push(second >> 8);
    m_second.Push(second);
    m_filled++;
  }

  void AddModifier(uint32_t second) {
    FillSecond();
    if (m_second.size != 0) {
      m_second.Last() = static_cast<uint8_t>(m_second.Last() + second);
    } else {
      m_second.Push(second);  // nothing to modify yet: a byte that belongs to no position
      m_looseBytes = 1;
    }
  }

  void AddUnprintable(uint32_t second) {
    const size_t position = m_second.size + (m_positions - m_filled) - m_looseBytes;
    const uint32_t place =
        kUnprintablePlace | (kUnprintableBase + kUnprintableStep * static_cast<uint32_t>(position));
    m_unprintable.Push(place >> 8);
    m_unprintable.Push(place);
    m_unprintable.Push(kUnprintableMark);
    m_unprintable.Push(second);
  }

  void AppendKana() {
    size_t count = m_kana.size;
    while (count != 0 && m_kana.bytes[count - 1] == kKanaDefault) count--;
    for (size_t i = 0; i < count; i += 3) {
      uint32_t packed = kKanaMark;
      for (size_t k = 0; k < 3 && i + k < count; k++) packed |= uint32_t{m_kana.bytes[i + k]} << (4 - 2 * k);
      m_key.push_back(static_cast<uint8_t>(packed));
    }
    m_key.insert(m_key.end(), std::begin(kKanaTail), std::end(kKanaTail));
  }

  std::vector<uint8_t>& m_key;
  SByteList<2 * kIndexedCharacters> m_second;
  SByteList<4 * kIndexedCharacters> m_unprintable;
  SByteList<kIndexedCharacters> m_kana;
  size_t m_positions = 0;   // characters with primary bytes so far
  size_t m_filled = 0;      // how many of them have second-level bytes
  size_t m_looseBytes = 0;  // 1 when a modifier came before every position
};

// Half-bytes, the first in the high half of the first byte.
class CHalfByteString {
 public:
  explicit CHalfByteString(std::vector<uint8_t>& bytes) : m_bytes(bytes) {}
  void Push(uint32_t half) {
    if (m_highNext)
      m_bytes.push_back(static_cast<uint8_t>(half << 4));
    else
      m_bytes.back() = static_cast<uint8_t>(m_bytes.back() | half);
    m_highNext = !m_highNext;
  }

 private:
  std::vector<uint8_t>& m_bytes;
  bool m_highNext = true;
};

void AppendJet3Accents(std::span<const uint8_t> text, std::vector<uint8_t>& key) {
  CHalfByteString halves(key);
  halves.Push(0);
  uint32_t slots = 0;
  for (const uint8_t byte : text) {
    const SJet3Weight& weight = FindJet3Weight(byte);
    if (weight.accent == 0) {
      slots += weight.slots;
      continue;
    }
    for (; slots != 0; slots--) halves.Push(kJet3NoAccent);
    halves.Push(weight.accent);
  }
  halves.Push(0);  // the unused half of an odd string's last byte is 0 as well
}

}  // namespace

namespace {

// `find` answers a pointer to a unit's weight, or none.
template <class Find>
bool AppendUnitsKey(std::span<const uint8_t> utf16Bytes, EKeyOrder order, std::vector<uint8_t>& key,
                    Find find) {
  if (utf16Bytes.size() % 2 != 0) return false;
  const auto unitAt = [&](size_t index) {
    return static_cast<char16_t>(utf16Bytes[2 * index] | utf16Bytes[2 * index + 1] << 8);
  };
  size_t length = std::min(utf16Bytes.size() / 2, kIndexedCharacters);
  while (length != 0 && unitAt(length - 1) == kBlank) length--;

  const size_t start = key.size();
  CJet4KeyParts parts(key);
  for (size_t i = 0; i < length; i++) {
    const auto weight = find(unitAt(i));
    if (!weight) {
      key.resize(start);
      return false;
    }
    parts.Add(unitAt(i), *weight);
  }
  parts.Finish();
  if (order == EKeyOrder::Descending) {
    key.push_back(kEndOfKey);
    ComplementFrom(start, key);
  }
  key.push_back(kEndOfKey);
  return true;
}

}  // namespace

bool AppendJet4TextKey(std::span<const uint8_t> utf16Bytes, EKeyOrder order, std::vector<uint8_t>& key) {
  return AppendUnitsKey(utf16Bytes, order, key, [](char16_t unit) { return &FindJet4Weight(unit); });
}

bool AppendGeneralTextKey(std::span<const uint8_t> utf16Bytes, EKeyOrder order, std::vector<uint8_t>& key) {
  return AppendUnitsKey(utf16Bytes, order, key, FindGeneralWeight);
}

void AppendJet3TextKey(std::span<const uint8_t> codePageBytes, EKeyOrder order, std::vector<uint8_t>& key) {
  size_t length = std::min(codePageBytes.size(), kIndexedCharacters);
  while (length != 0 && codePageBytes[length - 1] == kBlank) length--;
  const auto text = codePageBytes.first(length);

  const size_t start = key.size();
  bool hasAccents = false;
  for (const uint8_t byte : text) {
    const SJet3Weight& weight = FindJet3Weight(byte);
    AppendBigEndian(weight.primary, key);
    hasAccents = hasAccents || weight.accent != 0;
  }
  if (hasAccents)
    AppendJet3Accents(text, key);
  else
    key.push_back(kJet3EndOfKey);
  if (order == EKeyOrder::Descending) ComplementFrom(start, key);
}

std::string MakeNameKey(bool isCodePage, std::span<const uint8_t> stored) {
  std::vector<uint8_t> key;
  if (isCodePage)
    AppendJet3TextKey(stored, EKeyOrder::Ascending, key);
  else
    AppendJet4TextKey(stored.first(stored.size() / 2 * 2), EKeyOrder::Ascending, key);
  return {key.begin(), key.end()};
}

}  // namespace tolvane
