// Numbers to text, the same on every machine: never through the locale. All append to `text`.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tolvane {

// "inf", "-inf" and "nan" for what is no number.
void AppendDouble(double value, uint32_t decimals, std::u16string& text);

// A number of 128 bits, most significant word first: divides it in place and answers the remainder.
uint32_t DivideByTen(std::array<uint32_t, 4>& words);

// The shortest digits that read back as the same number, with an exponent where that is shorter.
void AppendShortest(double value, std::u16string& text);
void AppendShortest(float value, std::u16string& text);

// A magnitude divided by 10 to the power of `scale`, all digits.
void AppendScaled(bool isNegative, uint64_t magnitude, size_t scale, std::u16string& text);

// The digits of a signed number; a negative number has a minus sign before each of its digits but zeros, and
// zero has no digit.
void AppendSignedDigits(int64_t value, std::u16string& text);

// A number of 128 bits whose words come most significant first, divided by 10 to the power of `scale`.
void AppendWideDecimal(bool isNegative, std::array<uint32_t, 4> words, size_t scale, std::u16string& text);

}  // namespace tolvane
