#include "render/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "model/RecoveryRules.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr uint32_t kMostDecimals = 40;

// Any nan is "nan".
template <class T>
void AppendShortestOf(T value, std::u16string& text) {
  std::array<char, 40> digits;
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  AppendAscii(std::isnan(value)
                  ? std::string_view("nan")
                  : std::string_view(digits.data(), static_cast<size_t>(written.ptr - digits.data())),
              text);
}

}  // namespace

uint32_t DivideByTen(std::array<uint32_t, 4>& words) {
  uint64_t rest = 0;
  for (uint32_t& word : words) {
    const uint64_t part = rest << 32 | word;
    word = static_cast<uint32_t>(part / 10);
    rest = part % 10;
  }
  return static_cast<uint32_t>(rest);
}

void AppendDouble(double value, uint32_t decimals, std::u16string& text) {
  if (std::isnan(value) || decimals == kShortestDigits) return AppendShortest(value, text);
  std::array<char, 400> digits;  // the largest double has 309 digits before its point
  const auto written =
      std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed,
                    static_cast<int>(std::min(decimals, kMostDecimals)));
  AppendAscii({digits.data(), static_cast<size_t>(written.ptr - digits.data())}, text);
}

void AppendShortest(double value, std::u16string& text) {
  AppendShortestOf(value, text);
}

void AppendShortest(float value, std::u16string& text) {
  AppendShortestOf(value, text);
}

void AppendScaled(bool isNegative, uint64_t magnitude, size_t scale, std::u16string& text) {
  std::array<char, 20> digits;
  const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), magnitude).ptr;
  const auto count = static_cast<size_t>(end - digits.data());
  if (isNegative) text += u'-';
  if (count <= scale) text.append(scale + 1 - count, u'0');
  AppendAscii({digits.data(), count}, text);
  if (scale != 0) text.insert(text.size() - scale, 1, u'.');
}

void AppendSignedDigits(int64_t value, std::u16string& text) {
  std::array<char16_t, 40> reversed;
  size_t count = 0;
  for (; value != 0; value /= 10) {
    const auto digit = static_cast<int>(value % 10);
    reversed[count++] = static_cast<char16_t>(u'0' + std::abs(digit));
    if (digit < 0) reversed[count++] = u'-';
  }
  text.append(std::make_reverse_iterator(reversed.begin() + static_cast<ptrdiff_t>(count)), reversed.rend());
}

void AppendWideDecimal(bool isNegative, std::array<uint32_t, 4> words, size_t scale, std::u16string& text) {
  const auto isZero = [&] { return std::ranges::all_of(words, [](uint32_t w) { return w == 0; }); };
  if (isNegative && !isZero()) text += u'-';
  std::u16string reversed;
  while (!isZero() || reversed.size() <= scale) reversed += static_cast<char16_t>(u'0' + DivideByTen(words));
  text.append(reversed.rbegin(), reversed.rend());
  if (scale != 0) text.insert(text.size() - scale, 1, u'.');
}

}  // namespace tolvane
