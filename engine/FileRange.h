// A stretch of a file's bytes.
#pragma once

#include <cstdint>

namespace tolvane {

struct SFileRange {
  uint64_t offset = 0;
  uint64_t length = 0;

  bool operator==(const SFileRange&) const = default;
};

}  // namespace tolvane
