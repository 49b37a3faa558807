// Raw field bytes to the texts that data files carry. Stateless and independent of the locale: the same bytes
// give the same text on every machine (binary text depends on the system's code page only).
//
// Each conversion replaces `text`, whose capacity is reused from value to value.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tolvane {

// What a date at midnight keeps of the blank that stands before its time.
enum class EMidnightBlank : uint8_t { Keep, Drop };

class CDataConversion {
 public:
  static constexpr size_t kDateBytes = 8;
  static constexpr size_t kCurrencyBytes = 8;
  static constexpr size_t kGuidBytes = 16;

  // Days since 30 December 1899 as a double, the absolute fraction being the time of day, to
  // "MM/DD/YYYY HH:MM:SS AM". A time of midnight is left out; the zero date is "12:00:00 AM". A time that
  // rounds up to 24 hours is midnight of the next day. False, with an empty text, outside the years 100 to
  // 9999.
  static bool DateToText(std::span<const uint8_t, kDateBytes> bytes, EMidnightBlank blank,
                         std::u16string& text);

  // Ten-thousandths as a signed number, to a text with four decimals.
  static void CurrencyToText(std::span<const uint8_t, kCurrencyBytes> bytes, std::u16string& text);

  // "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"; the first three groups are stored little-endian.
  static void GuidToText(std::span<const uint8_t, kGuidBytes> bytes, std::u16string& text);

  // Text of the system's code page, without the zero bytes and the FF FE pairs among `bytes`.
  static void BytesToText(std::span<const uint8_t> bytes, std::u16string& text);
};

}  // namespace tolvane
