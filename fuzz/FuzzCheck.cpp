// The consistency checker over any bytes.
#include "checker/DatabaseCheck.h"
#include "fuzz/FuzzFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tolvane::CheckDatabase(tolvane::WriteInput(data, size));
  return 0;
}
