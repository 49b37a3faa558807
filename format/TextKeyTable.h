// Collation weights of single characters: Jet 4 "General Legacy" and ACE "General" (by UTF-16 code unit) and
// Jet 3 "General" (by byte of code page 1252). Constant data; the rules that turn weights into keys are in
// TextKey.
#pragma once

#include <cstdint>
#include <optional>

namespace tolvane {

// What a code unit contributes to a Jet 4 key. Kana2 and Kana3 add the value 2 or 3 to the kana part.
enum class EWeightClass : uint8_t { Plain, Letter, Unprintable, Modifier, Kana2, Kana3, Ignored };

// Weights of a run of code units that begins at `first` and ends before the next row's first.
struct SJet4Weight {
  char16_t first;
  EWeightClass weightClass;
  uint32_t primary;  // bytes of the first unit, big-endian without leading zero bytes; 0 = none
  uint8_t step;      // growth of `primary` per code unit
  uint16_t second;   // second-level bytes, in the same form
};

struct SJet3Weight {
  uint16_t primary;  // one or two bytes, as above
  uint8_t slots;     // places that the character takes among the accents of a text
  uint8_t accent;    // half-byte, 0 = none
};

const SJet4Weight& FindJet4Weight(char16_t unit);
// Of the order "General", version 1; nullopt for a code unit that no file of the original engine has shown
// yet.
std::optional<SJet4Weight> FindGeneralWeight(char16_t unit);
const SJet3Weight& FindJet3Weight(uint8_t byte);

}  // namespace tolvane
