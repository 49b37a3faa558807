// Where new objects get their dates and identifiers from: the clock and chance, or, for results that can be
// made again, one date and a sequence.
#pragma once

#include <cstdint>

#include "platform/Process.h"

namespace tolvane {

// One thread at a time.
class CIdentity {
 public:
  CIdentity() = default;
  // Equal seeds give equal identifiers in equal order.
  CIdentity(double date, uint64_t seed) : m_isFixed(true), m_date(date), m_state(seed) {}

  // Days since 30 December 1899.
  [[nodiscard]] double GetDate() const { return m_isFixed ? m_date : GetLocalDate(); }
  SGuidBytes MakeGuid();

 private:
  bool m_isFixed = false;
  double m_date = 0;
  uint64_t m_state = 0;
};

}  // namespace tolvane
