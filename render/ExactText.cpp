#include "render/ExactText.h"

#include <array>
#include <bit>
#include <cmath>
#include <optional>

#include "format/Bytes.h"
#include "platform/Hex.h"
#include "platform/Text.h"
#include "render/Calendar.h"
#include "render/DataConversion.h"
#include "render/NumberText.h"

namespace tolvane {

namespace {

constexpr int64_t kTicksPerSecond = 1'000'000'000;
constexpr size_t kTickDigits = 9;

void AppendPadded(uint64_t value, size_t digits, std::u16string& text) {
  std::array<char16_t, 20> reversed{};
  size_t count = 0;
  for (; count < digits || value != 0; value /= 10)
    reversed[count++] = static_cast<char16_t>(u'0' + value % 10);
  while (count > 0) text += reversed[--count];
}

void AppendIsoDay(const SDay& day, std::u16string& text) {
  AppendPadded(static_cast<uint64_t>(day.year), 4, text);
  text += u'-';
  AppendPadded(static_cast<uint64_t>(day.month), 2, text);
  text += u'-';
  AppendPadded(static_cast<uint64_t>(day.day), 2, text);
}

// `ticks` since midnight; the fraction without its last zeros, but at least `leastDigits` digits.
void AppendTime(uint64_t ticks, size_t leastDigits, std::u16string& text) {
  const uint64_t seconds = ticks / kTicksPerSecond;
  AppendPadded(seconds / 3600, 2, text);
  text += u':';
  AppendPadded(seconds / 60 % 60, 2, text);
  text += u':';
  AppendPadded(seconds % 60, 2, text);
  uint64_t fraction = ticks % kTicksPerSecond;
  size_t digits = kTickDigits;
  for (; digits > leastDigits && fraction % 10 == 0; fraction /= 10) digits--;
  if (digits == 0) return;
  text += u'.';
  AppendPadded(fraction, digits, text);
}

// The time of a day as the fewest decimals of a second that give the same number again.
std::optional<int64_t> TicksOf(double whole, double fraction) {
  const double time = std::fabs(fraction);
  for (int64_t step = kTicksPerSecond; step > 0; step /= 1000) {
    const double stepsPerDay = double{kSecondsPerDay} * (double{kTicksPerSecond} / static_cast<double>(step));
    const int64_t steps = std::llround(time * stepsPerDay);
    const int64_t ticks = steps * step;
    const double again = static_cast<double>(steps) / stepsPerDay;
    if ((std::signbit(fraction) ? whole - again : whole + again) == whole + fraction &&
        ticks < kSecondsPerDay * kTicksPerSecond)
      return ticks;
  }
  const int64_t nearest = std::llround(time * double{kSecondsPerDay} * double{kTicksPerSecond});
  if (nearest >= kSecondsPerDay * kTicksPerSecond) return std::nullopt;
  return nearest;
}

// 19 digits of days since 1 January of year 1, ":", 19 digits of ticks of 100 ns, ":7", a zero byte.
constexpr size_t kExtendedDayDigits = 19;
constexpr size_t kExtendedTickDigits = 19;

std::optional<uint64_t> TakeDigits(std::span<const uint8_t> digits) {
  uint64_t value = 0;
  for (const uint8_t digit : digits) {
    if (digit < '0' || digit > '9' || value > (UINT64_MAX - 9) / 10) return std::nullopt;
    value = value * 10 + (digit - '0');
  }
  return value;
}

bool AppendExtendedDate(std::span<const uint8_t> bytes, std::u16string& text) {
  constexpr uint64_t kTicksOfADay = uint64_t{kSecondsPerDay} * 10'000'000;
  if (bytes.size() < kExtendedDayDigits + 1 + kExtendedTickDigits || bytes[kExtendedDayDigits] != ':')
    return false;
  const auto days = TakeDigits(bytes.first(kExtendedDayDigits));
  const auto ticks = TakeDigits(bytes.subspan(kExtendedDayDigits + 1, kExtendedTickDigits));
  if (!days || !ticks || *ticks >= kTicksOfADay || *days > 4'000'000) return false;
  const std::optional<SDay> day = DayOf(static_cast<int64_t>(*days) - kDaysBeforeZeroDate);
  if (!day) return false;
  AppendIsoDay(*day, text);
  text += u' ';
  AppendTime(*ticks * 100, 0, text);
  return true;
}

}  // namespace

void AppendExactDate(double value, std::u16string& text) {
  double whole = 0;
  const double fraction = std::modf(value, &whole);
  const bool isDay = whole >= -double{kDaysBeforeZeroDate} && whole <= double{kLastDateValue};
  const std::optional<SDay> day = isDay ? DayOf(static_cast<int64_t>(whole)) : std::nullopt;
  const std::optional<int64_t> ticks = day ? TicksOf(whole, fraction) : std::nullopt;
  if (!ticks) {
    AppendShortest(value, text);
    return;
  }
  AppendIsoDay(*day, text);
  if (fraction == 0) return;
  text += u' ';
  AppendTime(static_cast<uint64_t>(*ticks), 0, text);
}

void MakeExactText(const SValue& value, std::u16string& text) {
  text.clear();
  if (value.isNull) return;
  const std::span<const uint8_t> bytes = value.bytes;
  switch (value.type) {
    case kTypeBoolean:
      text = bytes[0] != 0 ? u"True" : u"False";
      break;
    case kTypeByte:
      AppendDecimal(bytes[0], text);
      break;
    case kTypeInteger:
      AppendDecimal(GetLittle<int16_t>(bytes, 0), text);
      break;
    case kTypeLong:
    case kTypeComplex:
      AppendDecimal(GetLittle<int32_t>(bytes, 0), text);
      break;
    case kTypeBigInt:
      AppendDecimal(GetLittle<int64_t>(bytes, 0), text);
      break;
    case kTypeCurrency:
      CDataConversion::CurrencyToText(bytes.first<CDataConversion::kCurrencyBytes>(), text);
      break;
    case kTypeSingle:
      AppendShortest(std::bit_cast<float>(GetLittle<uint32_t>(bytes, 0)), text);
      break;
    case kTypeDouble:
      AppendShortest(std::bit_cast<double>(GetLittle<uint64_t>(bytes, 0)), text);
      break;
    case kTypeDate:
      AppendExactDate(std::bit_cast<double>(GetLittle<uint64_t>(bytes, 0)), text);
      break;
    case kTypeText:
    case kTypeMemo:
      CopyUnits(bytes, text);
      break;
    case kTypeOle:
      break;
    case kTypeGuid:
      CDataConversion::GuidToText(bytes.first<CDataConversion::kGuidBytes>(), text);
      break;
    case kTypeDecimal:
      AppendWideDecimal(bytes[0] != 0, DecimalWords(bytes), value.scale, text);
      break;
    case kTypeExtendedDate:
      if (!AppendExtendedDate(bytes, text)) AppendHex(bytes, kUpperHex, text);
      break;
    default:
      AppendHex(bytes, kUpperHex, text);
      break;
  }
}

}  // namespace tolvane
