// How a check went, whatever it found.
#pragma once

#include <cstdint>

namespace tolvane {

enum class ECheckVerdict : uint8_t {
  Checked,
  CannotOpen,
  NotADatabase,
  Encrypted,  // the pages cannot be read without the password
  Stopped,    // by the caller
};

}  // namespace tolvane
