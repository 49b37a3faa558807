#include "format/IndexKey.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "format/ColumnType.h"
#include "format/TextKey.h"

namespace tolvane {
namespace {

using Bytes = std::span<const uint8_t>;

// Flag bytes before each part, by order.
struct SKeyFlags {
  uint8_t null;
  uint8_t value;
};
constexpr SKeyFlags kAscendingFlags{0x00, kKeyOfValue};
constexpr SKeyFlags kDescendingFlags{0xFF, 0x80};

constexpr uint8_t kBooleanTrue = 0x00;  // true sorts first
constexpr uint8_t kBooleanFalse = 0xFF;

// Binary values: pieces of eight bytes, each followed by 09 or, the last one, by its length.
constexpr size_t kPiece = 8;
constexpr uint8_t kPieceContinues = 0x09;

constexpr size_t kGuidLength = 16;
constexpr std::array<uint8_t, kGuidLength> kGuidDisplayOrder = {3, 2, 1,  0,  5,  4,  7,  6,
                                                                8, 9, 10, 11, 12, 13, 14, 15};

// Numeric values: sign byte (80 negative), then four little-endian dwords, the most significant first.
constexpr size_t kNumericDwords = 4;
constexpr uint8_t kNumericStoredNegative = 0x80;
constexpr uint8_t kNumericKeyPositive = 0xFF;
constexpr uint8_t kNumericKeyNegative = 0x00;

constexpr uint8_t kGeneralLegacyVersion = 0, kGeneralVersion = 1;

// Appends one value; whether its bytes are complemented is settled by the caller, which knows type and order.
class CKeyWriter {
 public:
  explicit CKeyWriter(std::vector<uint8_t>& key) : m_key(key) {}
  void SetComplement(bool complement) { m_mask = complement ? 0xFF : 0x00; }
  void Put(int byte) { m_key.push_back(static_cast<uint8_t>(byte ^ m_mask)); }
  void PutAsIs(uint8_t byte) { m_key.push_back(byte); }
  // A little-endian number, high byte first.
  void PutReversed(Bytes value) {
    std::for_each(value.rbegin(), value.rend(), [this](uint8_t b) { Put(b); });
  }
  void PutSigned(Bytes value) {
    Put(value.back() ^ kKeySignBit);
    PutReversed(value.first(value.size() - 1));
  }

 private:
  std::vector<uint8_t>& m_key;
  uint8_t m_mask = 0;
};

// Negative numbers grow downwards as bytes, so all their bits are flipped.
void PutFloat(Bytes value, EKeyOrder order, CKeyWriter& writer) {
  const bool negative = (value.back() & kKeySignBit) != 0;
  const bool descending = order == EKeyOrder::Descending;
  writer.SetComplement(negative != descending);
  if (negative)
    writer.PutReversed(value);
  else
    writer.PutSigned(value);
}

// The 09 between pieces is never complemented.
void PutBinary(Bytes value, CKeyWriter& writer) {
  for (size_t at = 0; at < value.size(); at += kPiece) {
    const Bytes piece = value.subspan(at, std::min(kPiece, value.size() - at));
    for (const uint8_t byte : piece) writer.Put(byte);
    for (size_t i = piece.size(); i < kPiece; i++) writer.Put(0);
    if (at + kPiece < value.size())
      writer.PutAsIs(kPieceContinues);
    else
      writer.Put(static_cast<uint8_t>(piece.size()));
  }
}

void PutGuid(Bytes value, CKeyWriter& writer) {
  std::array<uint8_t, kGuidLength> shown;
  std::ranges::transform(kGuidDisplayOrder, shown.begin(),
                         [value](uint8_t position) { return value[position]; });
  PutBinary(shown, writer);
}

// Jet 4 never complements the sign byte, so that descending keys of both signs do not reverse; ACE
// complements it together with the magnitude.
void PutNumeric(Bytes value, EIndexVersion version, EKeyOrder order, CKeyWriter& writer) {
  const bool negative = value[0] == kNumericStoredNegative;
  writer.SetComplement(negative != (order == EKeyOrder::Descending));
  if (version == EIndexVersion::Ace)
    writer.Put(kNumericKeyPositive);
  else
    writer.PutAsIs(negative ? kNumericKeyNegative : kNumericKeyPositive);
  for (size_t dword = 0; dword < kNumericDwords; dword++) writer.PutReversed(value.subspan(1 + 4 * dword, 4));
}

bool AppendText(const SIndexKeyFormat& format, Bytes value, EKeyOrder order, std::vector<uint8_t>& key) {
  if (format.sortOrder != kGeneralSortOrder) return false;
  if (format.version == EIndexVersion::Jet3) {
    if (format.codePage != kGeneralCodePage) return false;
    AppendJet3TextKey(value, order, key);
    return true;
  }
  if (format.sortVersion == kGeneralVersion) return AppendGeneralTextKey(value, order, key);
  return format.sortVersion == kGeneralLegacyVersion && AppendJet4TextKey(value, order, key);
}

// Types that came with Jet 4 or ACE do not occur in older files.
constexpr bool HasKeys(EIndexVersion version, uint8_t type) {
  switch (type) {
    case kTypeDecimal:
      return version != EIndexVersion::Jet3;
    case kTypeComplex:
    case kTypeBigInt:
    case kTypeExtendedDate:
      return version == EIndexVersion::Ace;
    case kTypeGuid:
    case kTypeText:
    case kTypeMemo:
      return true;
    default:
      return type >= kTypeBoolean && type <= kTypeBinary;
  }
}

bool AppendValue(const SIndexKeyFormat& format, uint8_t type, Bytes value, EKeyOrder order,
                 std::vector<uint8_t>& key) {
  CKeyWriter writer(key);
  writer.SetComplement(order == EKeyOrder::Descending);
  switch (type) {
    case kTypeBoolean:
      writer.Put(value[0] != 0 ? kBooleanTrue : kBooleanFalse);
      return true;
    case kTypeByte:
      writer.Put(value[0]);
      return true;
    case kTypeInteger:
    case kTypeCurrency:
    case kTypeComplex:
    case kTypeBigInt:
      writer.PutSigned(value);
      return true;
    case kTypeSingle:
    case kTypeDouble:
    case kTypeDate:
      PutFloat(value, order, writer);
      return true;
    case kTypeBinary:
    case kTypeExtendedDate:
      PutBinary(value, writer);
      return true;
    case kTypeGuid:
      PutGuid(value, writer);
      return true;
    case kTypeDecimal:
      PutNumeric(value, format.version, order, writer);
      return true;
    default:
      return AppendText(format, value, order, key);
  }
}

}  // namespace

bool AppendIndexKey(const SIndexKeyFormat& format, uint8_t type, bool ascending,
                    std::optional<std::span<const uint8_t>> storageBytes, std::vector<uint8_t>& key) {
  if (!HasKeys(format.version, type)) return false;
  const SKeyFlags& flags = ascending ? kAscendingFlags : kDescendingFlags;
  if (!storageBytes) {
    key.push_back(flags.null);
    return true;
  }
  const size_t length = LengthOfType(type);
  if (length != 0 && storageBytes->size() != length) return false;
  if (type == kTypeLong) {
    const auto part = MakeLongKey(storageBytes->first<4>(), ascending);
    key.insert(key.end(), part.begin(), part.end());
    return true;
  }
  const size_t start = key.size();
  key.push_back(flags.value);
  if (AppendValue(format, type, *storageBytes, ascending ? EKeyOrder::Ascending : EKeyOrder::Descending,
                  key)) {
    return true;
  }
  key.resize(start);
  return false;
}

}  // namespace tolvane
