// Databases that are sound but for one thing: copies of one that the embedded engine made, with bytes
// changed.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "checker/DatabaseCheck.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane::test {

// A database in memory, changed byte by byte; rows and slots are those of Jet 4. Offsets are written out here
// and in the tests, so that a wrong constant of the checker does not prove itself.
class CChangedFile {
 public:
  static constexpr size_t kPageSize = 4096;  // of Jet 4

  struct SRow {
    size_t page, start;
  };

  explicit CChangedFile(std::vector<uint8_t> bytes)
      : m_bytes(std::move(bytes)), m_pageSize(m_bytes.at(0x14) == 0 ? 2048 : kPageSize) {}

  [[nodiscard]] size_t GetPageCount() const { return m_bytes.size() / m_pageSize; }
  std::vector<uint8_t>& GetBytes() { return m_bytes; }
  uint8_t& At(size_t page, size_t offset) { return m_bytes[page * m_pageSize + offset]; }
  [[nodiscard]] uint32_t Get(size_t page, size_t offset, size_t width) const {
    uint32_t value = 0;
    for (size_t i = width; i-- > 0;) value = value << 8 | m_bytes[page * m_pageSize + offset + i];
    return value;
  }
  void Put(size_t page, size_t offset, size_t width, uint32_t value) {
    for (size_t i = 0; i < width; i++) At(page, offset + i) = static_cast<uint8_t>(value >> (8 * i));
  }
  // The first page of this type whose dword 4 is `owner`; 0 when there is none.
  [[nodiscard]] size_t FindPage(uint8_t type, uint32_t owner, size_t from = 1) const {
    for (size_t page = from; page < GetPageCount(); page++)
      if (m_bytes[page * m_pageSize] == type && Get(page, 4, 4) == owner) return page;
    return 0;
  }
  // Definition page of the table that has a column of this name.
  [[nodiscard]] size_t FindTable(std::string_view column) const;
  // Where the bytes stand on the page; npos when they do not.
  [[nodiscard]] size_t Find(size_t page, std::string_view bytes, size_t from = 0) const;
  // Start and end of a row.
  [[nodiscard]] size_t StartOfRow(size_t page, size_t row) const {
    return Get(page, 14 + 2 * row, 2) & 0x1FFF;
  }
  // Row pointer at an offset of a page: the row's start on its page.
  [[nodiscard]] SRow Follow(size_t page, size_t offset) const {
    const uint32_t pointer = Get(page, offset, 4);
    return {pointer >> 8, StartOfRow(pointer >> 8, pointer & 0xFF)};
  }

 private:
  std::vector<uint8_t> m_bytes;
  size_t m_pageSize;
};

std::string WideBytes(std::string_view ascii);

// The sound database, made once a program.
CChangedFile MakeSoundFile();

SCheckReport CheckBytes(const std::vector<uint8_t>& bytes);
// The rules that were broken.
std::set<std::string> RulesOf(const SCheckReport& report);
// For messages: all findings, one a line.
std::string Describe(const SCheckReport& report);

// Folder of real databases; empty when it is not on this machine.
std::u16string CorpusFolder();
// The databases in it, by name.
struct SCorpusFile {
  std::u16string path;
  std::string name;  // below the folder
};
std::vector<SCorpusFile> CorpusFiles();
inline constexpr char kNoCorpus[] = "no folder of real databases (TOLVANE_CORPUS, or ../shared/corpus)";

std::vector<uint8_t> ReadFileBytes(const std::u16string& path);
void WriteFileBytes(const std::u16string& path, std::span<const uint8_t> bytes);

}  // namespace tolvane::test
