// What can be said about a file before it is repaired: whether there is anything to read, and whether it can
// be read. A damaged header is no obstacle.
#pragma once

#include <cstdint>
#include <string>

#include "engine/Source.h"

namespace tolvane {

enum class ESourceState : uint8_t {
  Ok,
  Missing,
  NotReadable,  // the system refuses; its reason is in the text
  Folder,
  Device,  // a device, a pipe or a socket
  Empty,
  TooShort,   // less than one page
  Foreign,    // another kind of file; the reason says what to do
  Encrypted,  // the pages are; a password alone is no obstacle
};

struct SSourceVerdict {
  ESourceState state = ESourceState::Ok;
  std::u16string reason;  // a sentence without the path, for the user; empty when all is well
};

// Opens `source`, which stays open where the system lets it, and judges it.
SSourceVerdict OpenSource(CSource& source, const std::u16string& path);
// The verdict alone.
SSourceVerdict CheckSource(const std::u16string& path);

}  // namespace tolvane
