#include "platform/Identity.h"

namespace tolvane {

namespace {

// The generator SplitMix64.
uint64_t NextNumber(uint64_t& state) {
  state += 0x9E3779B97F4A7C15;
  uint64_t number = state;
  number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9;
  number = (number ^ number >> 27) * 0x94D049BB133111EB;
  return number ^ number >> 31;
}

}  // namespace

SGuidBytes CIdentity::MakeGuid() {
  if (!m_isFixed) return tolvane::MakeGuid();
  SGuidBytes guid{};
  uint64_t number = 0;
  for (size_t i = 0; i < sizeof(guid.bytes); ++i) {
    if (i % sizeof(number) == 0) number = NextNumber(m_state);
    guid.bytes[i] = static_cast<uint8_t>(number >> i % sizeof(number) * 8);
  }
  return guid;
}

}  // namespace tolvane
