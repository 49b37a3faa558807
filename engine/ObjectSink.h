// Where the bytes of OLE values go while rows are decoded.
#pragma once

#include <cstdint>
#include <span>

#include "engine/LongValueReader.h"

namespace tolvane {

// Begin, then the value's bytes as a sink, then End. One value at a time.
class CObjectSink : public CLongValueSink {
 public:
  virtual void Begin() = 0;
  // What the value's record holds to find the bytes again; it stays until the next Begin. May throw
  // CFileCustException, as Take may.
  virtual std::span<const uint8_t> End() = 0;
};

}  // namespace tolvane
