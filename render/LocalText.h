// Values for people: the exact texts of dates and fractional numbers as the user's region writes them. Where
// a region writes less than the value holds, nothing of it is left out: years have four digits, seconds all
// of their fraction.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/LocaleFacts.h"

namespace tolvane {

class CLocalText {
 public:
  // Without facts of a region the exact texts stay.
  CLocalText() = default;
  explicit CLocalText(SLocaleFacts facts);

  // Replaces the exact text of a value of that type. What is no date or number stays, and so do dates where
  // the region counts years in its own way or its pattern says what is not known here.
  void Localise(uint8_t type, std::u16string& text) const;
  // The same for several texts of one type, with `between` from one to the next.
  void LocaliseEach(uint8_t type, std::u16string_view between, std::u16string& text) const;
  // Whether any value of that type can hold `folded`, whose case is folded, in its exact text or in this one.
  [[nodiscard]] bool CanHold(uint8_t type, std::u16string_view folded) const;

 private:
  struct SMoment;
  void AppendPattern(std::u16string_view pattern, const SMoment& moment, std::u16string& text) const;
  void AppendPart(char16_t letter, size_t count, const SMoment& moment, std::u16string& text) const;
  void LocaliseDate(std::u16string& text) const;

  SLocaleFacts m_facts;
  bool m_isLocal = false;
  bool m_knowsDays = false;
  bool m_hasWords = false;  // the patterns write names or texts, which hold any letter
};

}  // namespace tolvane
