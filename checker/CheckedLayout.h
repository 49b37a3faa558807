// Page layouts that the checker knows: those of the embedded engine; ACE files have that of Jet 4. A field
// that a format lacks is kAbsent and reads as 0.
#pragma once

#include "embedded/EmbeddedLayout.h"

namespace tolvane {

inline constexpr SEmbeddedLayout kCheckedJet4 = kLayoutJet4;
inline constexpr SEmbeddedLayout kCheckedJet3 = kLayoutJet3;

}  // namespace tolvane
