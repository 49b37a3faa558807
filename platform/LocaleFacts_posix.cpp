// Whoever reads a terminal's output may be a program: one form for all.
#include "platform/LocaleFacts.h"

namespace tolvane {

SDigitGroups ReadDigitGroups() {
  return {};
}

SLocaleFacts ReadLocaleFacts() {
  return {};
}

}  // namespace tolvane
