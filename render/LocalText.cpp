#include "render/LocalText.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "format/ColumnType.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kTimeOfAllRegions = u"HH:mm:ss";
constexpr char16_t kQuote = u'\'';

constexpr bool IsDecimalDigit(char16_t unit) {
  return unit >= u'0' && unit <= u'9';
}

bool IsLetter(char16_t unit) {
  return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

template <typename TWhat>
bool Has(std::u16string_view text, TWhat what) {
  return text.find(what) != std::u16string_view::npos;
}

// Letters that stand for a part, outside of quotes, and how often; each run of one letter is a part.
template <typename TPart, typename TLiteral>
void ForEachPart(std::u16string_view pattern, TPart part, TLiteral literal) {
  bool isQuoted = false;
  for (size_t i = 0; i < pattern.size(); ++i) {
    const char16_t unit = pattern[i];
    if (unit == kQuote) {
      // Two of them are one that is meant.
      const bool isMeant = i + 1 < pattern.size() && pattern[i + 1] == kQuote;
      if (isMeant) literal(pattern[++i]);
      isQuoted = isQuoted != !isMeant;
    } else if (isQuoted || !IsLetter(unit)) {
      literal(unit);
    } else {
      const size_t first = i;
      while (i + 1 < pattern.size() && pattern[i + 1] == unit) ++i;
      part(unit, i + 1 - first);
    }
  }
}

std::u16string LettersOf(std::u16string_view pattern) {
  std::u16string letters;
  ForEachPart(
      pattern, [&](char16_t letter, size_t) { letters += letter; }, [](char16_t) {});
  return letters;
}

bool HasAll(std::u16string_view letters, std::u16string_view wanted) {
  return std::ranges::all_of(wanted, [&](char16_t letter) { return Has(letters, letter); });
}

// Of two digits; -1 where there are others.
int TakeTwo(std::u16string_view text, size_t at) {
  if (at + 2 > text.size() || !IsDecimalDigit(text[at]) || !IsDecimalDigit(text[at + 1])) return -1;
  return 10 * (text[at] - u'0') + (text[at + 1] - u'0');
}

// What the exact texts of a type are made of, in small letters, and how long the longest is; types that are
// not here hold anything.
struct SAlphabet {
  uint8_t type;
  std::u16string_view units;
  size_t mostUnits = SIZE_MAX;
};
constexpr std::u16string_view kOfIntegers = u"-0123456789", kOfNumbers = u"-0123456789.+einfa";
constexpr SAlphabet kAlphabets[] = {{kTypeBoolean, u"truefals"},
                                    {kTypeByte, kOfIntegers, 3},
                                    {kTypeInteger, kOfIntegers, 6},
                                    {kTypeLong, kOfIntegers, 11},
                                    {kTypeBigInt, kOfIntegers},
                                    {kTypeCurrency, kOfNumbers},
                                    {kTypeSingle, kOfNumbers},
                                    {kTypeDouble, kOfNumbers},
                                    {kTypeDecimal, kOfNumbers},
                                    {kTypeDate, u"-0123456789.: +einfa"},
                                    {kTypeExtendedDate, u"-0123456789.: abcdef"},
                                    {kTypeBinary, u"0123456789abcdef"},
                                    {kTypeGuid, u"{-}0123456789abcdef"}};

bool IsLocalNumber(uint8_t type) {
  return type == kTypeCurrency || type == kTypeSingle || type == kTypeDouble || type == kTypeDecimal;
}

bool IsLocalDate(uint8_t type) {
  return type == kTypeDate || type == kTypeExtendedDate;
}

}  // namespace

struct CLocalText::SMoment {
  std::u16string_view year;
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::u16string_view fraction;
};

CLocalText::CLocalText(SLocaleFacts facts) : m_facts(std::move(facts)), m_isLocal(true) {
  const std::u16string days = LettersOf(m_facts.day), times = LettersOf(m_facts.time);
  m_knowsDays =
      m_facts.isGregorian && HasAll(days, u"dMy") && HasAll(u"dMy", days) && !Has(m_facts.day, u"ddd");
  const bool isWhole =
      HasAll(times, u"ms") && HasAll(u"hHmst", times) && (Has(times, u'H') || HasAll(times, u"ht"));
  if (!isWhole) m_facts.time = kTimeOfAllRegions;
  m_hasWords = Has(m_facts.day, kQuote) || Has(m_facts.time, kQuote) || Has(m_facts.day, u"MMM") ||
               Has(m_facts.time, u't');
}

void CLocalText::Localise(uint8_t type, std::u16string& text) const {
  if (!m_isLocal) return;
  if (IsLocalDate(type)) return LocaliseDate(text);
  if (!IsLocalNumber(type)) return;
  if (const size_t point = text.find(u'.'); point != std::u16string::npos)
    text.replace(point, 1, m_facts.decimal);
}

void CLocalText::LocaliseEach(uint8_t type, std::u16string_view between, std::u16string& text) const {
  if (!m_isLocal || !(IsLocalDate(type) || IsLocalNumber(type))) return;
  std::u16string all, item;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find(between, at), text.size());
    item.assign(text, at, end - at);
    Localise(type, item);
    if (at > 0) all += between;
    all += item;
    at = end + between.size();
  }
  text = std::move(all);
}

bool CLocalText::CanHold(uint8_t type, std::u16string_view folded) const {
  const auto* const alphabet = std::ranges::find(kAlphabets, type, &SAlphabet::type);
  if (alphabet == std::end(kAlphabets)) return true;
  if (folded.size() > alphabet->mostUnits) return false;
  const bool isLocal = m_isLocal && (IsLocalNumber(type) || IsLocalDate(type));
  if (isLocal && IsLocalDate(type) && m_hasWords) return true;
  return std::ranges::all_of(folded, [&](char16_t unit) {
    if (Has(alphabet->units, unit)) return true;
    return isLocal && (Has(m_facts.decimal, unit) ||
                       (IsLocalDate(type) && (Has(m_facts.day, unit) || Has(m_facts.time, unit))));
  });
}

// From YYYY-MM-DD, and HH:MM:SS behind it, and a fraction behind that.
void CLocalText::LocaliseDate(std::u16string& text) const {
  constexpr size_t kDayUnits = 10, kTimeUnits = 19;
  const bool hasTime = text.size() > kDayUnits;
  if (!m_knowsDays || text.size() < kDayUnits || (hasTime && text.size() < kTimeUnits)) return;
  if (text[4] != u'-' || text[7] != u'-' || TakeTwo(text, 0) < 0 || TakeTwo(text, 2) < 0) return;
  SMoment moment{.year = std::u16string_view(text).substr(0, 4),
                 .month = TakeTwo(text, 5),
                 .day = TakeTwo(text, 8),
                 .fraction = {}};
  if (moment.month < 1 || moment.month > 12 || moment.day < 0) return;
  std::u16string local;
  AppendPattern(m_facts.day, moment, local);
  if (hasTime) {
    moment.hour = TakeTwo(text, 11);
    moment.minute = TakeTwo(text, 14);
    moment.second = TakeTwo(text, 17);
    if (moment.hour < 0 || moment.minute < 0 || moment.second < 0) return;
    if (text.size() > kTimeUnits) moment.fraction = std::u16string_view(text).substr(kTimeUnits + 1);
    local += u' ';
    AppendPattern(m_facts.time, moment, local);
  }
  text = std::move(local);
}

void CLocalText::AppendPattern(std::u16string_view pattern, const SMoment& moment,
                               std::u16string& text) const {
  ForEachPart(
      pattern, [&](char16_t letter, size_t count) { AppendPart(letter, count, moment, text); },
      [&](char16_t unit) { text += unit; });
}

void CLocalText::AppendPart(char16_t letter, size_t count, const SMoment& moment,
                            std::u16string& text) const {
  const auto add = [&](int value) {
    if (count > 1 && value < 10) text += u'0';
    AppendDecimal(value, text);
  };
  switch (letter) {
    case u'y':
      text += moment.year;
      break;
    case u'M': {
      const auto month = static_cast<size_t>(moment.month - 1);
      const std::u16string& name = count > 3 ? m_facts.months[month] : m_facts.shortMonths[month];
      if (count < 3 || name.empty())
        add(moment.month);
      else
        text += name;
      break;
    }
    case u'd':
      add(moment.day);
      break;
    case u'H':
      add(moment.hour);
      break;
    case u'h':
      add((moment.hour + 11) % 12 + 1);
      break;
    case u'm':
      add(moment.minute);
      break;
    case u's':
      add(moment.second);
      if (!moment.fraction.empty()) text += m_facts.decimal;
      text += moment.fraction;
      break;
    default: {
      const std::u16string& half = moment.hour < 12 ? m_facts.morning : m_facts.afternoon;
      text += count == 1 ? half.substr(0, 1) : half;
      break;
    }
  }
}

}  // namespace tolvane
