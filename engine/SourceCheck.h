// What can be said about a file before it is repaired: whether there is anything to read, and what its header
// tells. A damaged header is no obstacle.
#pragma once

#include <cstdint>
#include <string>

#include "model/AccessData.h"

namespace tolvane {

enum class ESourceState : uint8_t {
  Ok,
  Missing,
  NotReadable,  // the system refuses; its reason is in the text
  Folder,
  Device,  // a device, a pipe or a socket
  Empty,
  TooShort,   // less than one page
  Encrypted,  // the pages are; a password alone is no obstacle
};

struct SSourceVerdict {
  ESourceState state = ESourceState::Ok;
  std::u16string reason;  // a sentence without the path, for the user; empty when all is well
};

SSourceVerdict CheckSource(const std::u16string& path);

// What page 0 says, for a file whose format has been decided.
SSourceFacts ReadSourceFacts(const std::u16string& path, bool isJet4);

}  // namespace tolvane
