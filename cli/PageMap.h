// A compact map of a file's pages: one sign a page, or a group of pages when there are many.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/PageInspector.h"

namespace tolvane {

class CPageMap {
 public:
  // At most this many signs are kept; memory does not grow with the file.
  static constexpr size_t kMaximumSigns = 4096;

  // Pages in their order.
  void Add(const SPageReport& report);
  // Lines of `width` signs, each with the number of its first page; then what the signs mean.
  [[nodiscard]] std::string Draw(size_t width) const;
  [[nodiscard]] uint64_t GetPagesPerSign() const { return m_pagesPerSign; }

 private:
  static char SignOf(const SPageReport& report);
  // A group shows the sign that matters most.
  static size_t RankOf(char sign);
  static char Worse(char a, char b) { return RankOf(a) > RankOf(b) ? a : b; }
  void Halve();

  std::vector<char> m_signs;
  uint64_t m_pagesPerSign = 1;
};

}  // namespace tolvane
