// The bytes of one run as a file in the temporary folder, which every fuzzer has for itself.
#pragma once

#include <cstdlib>
#include <string_view>

#include "platform/FileCust.h"
#include "platform/Files.h"

namespace tolvane {

inline std::u16string WriteInput(const uint8_t* data, size_t size, std::u16string_view name = u"input") {
  std::u16string path = GetTempFolder();
  path += name;
  if (!WriteWholeFile(path, EFileShare::Read, EFileCreation::CreateAlways, {data, size}).empty())
    std::abort();
  return path;
}

}  // namespace tolvane
