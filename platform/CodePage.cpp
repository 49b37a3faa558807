// Every page becomes a table at its first use, so that all systems convert alike and none is asked for each
// text.
#include "platform/CodePage.h"

#include <array>
#include <map>
#include <memory>
#include <mutex>

#include "platform/CodePageSystem.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

constexpr uint32_t kUtf8 = 65001;
constexpr char16_t kUndefined = 0xFFFD;

// Windows-1252 from 0x80 to 0x9F; every other byte is its own character. Undefined bytes keep their value.
constexpr std::array<char16_t, 32> kLatin1Middle = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// One code page of one or two bytes a character.
class CCodePageTable {
 public:
  CCodePageTable() : m_encode(0x10000) {}

  void Define(uint8_t byte, char16_t unit) {
    m_decode[byte] = unit;
    m_encode[unit] = byte;
  }
  void DefinePair(uint8_t lead, uint8_t trail, char16_t unit) {
    m_pairs[lead]->at(trail) = unit;
    m_encode[unit] = static_cast<uint16_t>(lead << 8 | trail);
  }
  void DefineLead(uint8_t lead) {
    m_hasPairs = true;
    m_pairs[lead] = std::make_unique<std::array<char16_t, 256>>();
    m_pairs[lead]->fill(kUndefined);
  }
  [[nodiscard]] bool IsDefined(char16_t unit) const { return m_encode[unit] != 0; }
  void Prefer(char16_t unit, uint16_t code) { m_encode[unit] = code; }

  void Decode(std::span<const uint8_t> bytes, std::u16string& out) const;
  [[nodiscard]] size_t CountWhole(std::span<const uint8_t> bytes) const;
  size_t Encode(std::u16string_view text, std::vector<uint8_t>& out) const;

 private:
  // A damaged pair must not swallow the ASCII character behind it.
  static bool IsPair(const std::array<char16_t, 256>& pairs, uint8_t trail) {
    return pairs[trail] != kUndefined || trail >= 0x80;
  }

  bool m_hasPairs = false;
  std::array<char16_t, 256> m_decode = MakeUndefined();
  std::array<std::unique_ptr<std::array<char16_t, 256>>, 256> m_pairs;  // by lead byte
  std::vector<uint16_t> m_encode;                                       // 0: not held, but for U+0000

  static constexpr std::array<char16_t, 256> MakeUndefined() {
    std::array<char16_t, 256> units{};
    units.fill(kUndefined);
    return units;
  }
};

void CCodePageTable::Decode(std::span<const uint8_t> bytes, std::u16string& out) const {
  if (!m_hasPairs) {
    const size_t start = out.size();
    out.resize(start + bytes.size());
    for (size_t i = 0; i < bytes.size(); i++) out[start + i] = m_decode[bytes[i]];
    return;
  }
  for (size_t i = 0; i < bytes.size(); i++) {
    const auto& pairs = m_pairs[bytes[i]];
    if (!pairs) {
      out += m_decode[bytes[i]];
      continue;
    }
    const bool hasTrail = i + 1 < bytes.size();
    out += hasTrail ? (*pairs)[bytes[i + 1]] : kUndefined;
    if (hasTrail && IsPair(*pairs, bytes[i + 1])) i++;
  }
}

size_t CCodePageTable::CountWhole(std::span<const uint8_t> bytes) const {
  for (size_t i = 0; m_hasPairs && i < bytes.size(); i++) {
    const auto& pairs = m_pairs[bytes[i]];
    if (pairs && i + 1 == bytes.size()) return i;
    if (pairs && IsPair(*pairs, bytes[i + 1])) i++;
  }
  return bytes.size();
}

size_t CCodePageTable::Encode(std::u16string_view text, std::vector<uint8_t>& out) const {
  size_t replaced = 0;
  for (size_t pos = 0; pos < text.size();) {
    const char32_t c = TakeCodePoint(text, pos);
    const uint16_t code = c < 0x10000 ? m_encode[c] : uint16_t{0};
    if (code == 0 && c != 0) {
      out.push_back('?');
      replaced++;
      continue;
    }
    if (code > 0xFF) out.push_back(static_cast<uint8_t>(code >> 8));
    out.push_back(static_cast<uint8_t>(code & 0xFF));
  }
  return replaced;
}

std::unique_ptr<CCodePageTable> MakeLatin1Table() {
  auto table = std::make_unique<CCodePageTable>();
  for (unsigned byte = 0; byte < 256; byte++) {
    const bool isMiddle = byte >= 0x80 && byte < 0xA0;
    table->Define(static_cast<uint8_t>(byte),
                  isMiddle ? kLatin1Middle[byte - 0x80] : static_cast<char16_t>(byte));
  }
  return table;
}

// A character that two codes stand for is written with the code that the system prefers.
void DefineCode(CSystemCodePage& page, CCodePageTable& table, std::span<const uint8_t> bytes, char16_t unit) {
  const bool isSecond = table.IsDefined(unit);
  if (bytes.size() == 1) {
    table.Define(bytes[0], unit);
  } else {
    table.DefinePair(bytes[0], bytes[1], unit);
  }
  const uint16_t preferred = isSecond ? page.Encode(unit) : uint16_t{0};
  if (preferred != 0) table.Prefer(unit, preferred);
}

std::unique_ptr<CCodePageTable> MakeSystemTable(uint32_t codePage) {
  const auto page = CSystemCodePage::Open(codePage);
  if (!page) return nullptr;
  auto table = std::make_unique<CCodePageTable>();
  for (unsigned first = 0; first < 256; first++) {
    const std::array<uint8_t, 1> byte = {static_cast<uint8_t>(first)};
    const SDecodedCode single = page->Decode(byte);
    if (single.kind == ECodeKind::Defined) DefineCode(*page, *table, byte, single.unit);
    if (single.kind != ECodeKind::LeadByte) continue;
    table->DefineLead(byte[0]);
    for (unsigned second = 1; second < 256; second++) {
      const std::array<uint8_t, 2> pair = {byte[0], static_cast<uint8_t>(second)};
      const SDecodedCode decoded = page->Decode(pair);
      if (decoded.kind == ECodeKind::Defined) DefineCode(*page, *table, pair, decoded.unit);
    }
  }
  return table;
}

const CCodePageTable& Latin1Table() {
  static const std::unique_ptr<const CCodePageTable> table = MakeLatin1Table();
  return *table;
}

// The tables made so far; null for pages that the system does not know. Numbers come from damaged files:
// those of real pages have at most 16 bits, which also bounds the map.
class CCodePageTables {
 public:
  const CCodePageTable* Find(uint32_t codePage) {
    if (codePage == kWindowsLatin1) return &Latin1Table();
    if (codePage > 0xFFFF || codePage == kUtf8) return nullptr;
    const std::lock_guard lock(m_mutex);
    const auto [entry, isNew] = m_tables.try_emplace(codePage);
    if (isNew) entry->second = MakeSystemTable(codePage);
    return entry->second.get();
  }

 private:
  std::mutex m_mutex;
  std::map<uint32_t, std::unique_ptr<const CCodePageTable>> m_tables;
};

const CCodePageTable* FindTable(uint32_t codePage) {
  static CCodePageTables tables;
  // Callers convert many short texts of one page.
  struct SLast {
    uint32_t codePage;
    const CCodePageTable* table;
  };
  thread_local SLast last{kWindowsLatin1, &Latin1Table()};
  if (last.codePage != codePage) last = {codePage, tables.Find(codePage)};
  return last.table;
}

const CCodePageTable& TableOrLatin1(uint32_t codePage) {
  const CCodePageTable* table = FindTable(codePage);
  return table ? *table : Latin1Table();
}

// A text that ends inside a character has the lead byte of it among its last three.
size_t CountWholeUtf8(std::span<const uint8_t> bytes) {
  for (size_t tail = 1; tail <= std::min<size_t>(3, bytes.size()); tail++)
    if (bytes[bytes.size() - tail] >= 0xC0) return bytes.size() - tail;
  return bytes.size();
}

size_t EncodeUtf8(std::u16string_view text, std::vector<uint8_t>& out) {
  size_t replaced = 0;
  std::string bytes;
  for (size_t pos = 0; pos < text.size();) {
    const char32_t c = TakeCodePoint(text, pos);
    replaced += IsSurrogate(c) ? 1 : 0;
    AppendUtf8CodePoint(IsSurrogate(c) ? U'?' : c, bytes);
  }
  out.insert(out.end(), bytes.begin(), bytes.end());
  return replaced;
}

}  // namespace

bool IsCodePageKnown(uint32_t codePage) {
  return codePage == kUtf8 || FindTable(codePage) != nullptr;
}

void DecodeCodePage(uint32_t codePage, std::span<const uint8_t> bytes, std::u16string& out) {
  if (codePage == kUtf8) {
    out += FromUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    return;
  }
  TableOrLatin1(codePage).Decode(bytes, out);
}

size_t CountWholeBytes(uint32_t codePage, std::span<const uint8_t> bytes) {
  return codePage == kUtf8 ? CountWholeUtf8(bytes) : TableOrLatin1(codePage).CountWhole(bytes);
}

size_t EncodeCodePage(uint32_t codePage, std::u16string_view text, std::vector<uint8_t>& out) {
  if (codePage == kUtf8) return EncodeUtf8(text, out);
  return TableOrLatin1(codePage).Encode(text, out);
}

}  // namespace tolvane
