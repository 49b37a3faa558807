// A stretch of a file: where the records of a table are, which may share their file with those of others.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tolvane {

struct SFilePart {
  static constexpr uint64_t kToTheEnd = ~uint64_t{0};

  SFilePart() = default;
  // A whole file.
  explicit SFilePart(std::u16string_view filePath) : path(filePath) {}
  SFilePart(std::u16string_view filePath, uint64_t from, uint64_t size)
      : path(filePath), start(from), length(size) {}

  std::u16string path;
  uint64_t start = 0;
  uint64_t length = kToTheEnd;  // or fewer where the file is shorter

  // Of a file that is so long.
  [[nodiscard]] uint64_t LengthIn(uint64_t fileLength) const {
    const uint64_t rest = fileLength > start ? fileLength - start : 0;
    return rest < length ? rest : length;
  }
};

}  // namespace tolvane
