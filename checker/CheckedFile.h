// The file under check: which format it has, and its pages. Opened for reading only; nothing in it is
// trusted.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "checker/CheckVerdict.h"
#include "format/Layout.h"
#include "platform/FileCust.h"

namespace tolvane {

// Where in the file the database is.
struct SCheckedPlace {
  uint64_t start = 0;
  uint64_t end = ~uint64_t{0};  // of the file, where that is less
  // Whether the file holds these bytes; empty: all of them.
  std::function<bool(uint64_t offset, uint64_t length)> isThere = {};
};

class CCheckedFile {
 public:
  ECheckVerdict Open(std::u16string_view path, const SCheckedPlace& place = {});

  [[nodiscard]] const SLayout& GetLayout() const { return *m_layout; }
  [[nodiscard]] EIndexVersion GetVersion() const { return m_version; }
  [[nodiscard]] bool IsJet3() const { return m_version == EIndexVersion::Jet3; }
  [[nodiscard]] uint64_t GetLength() const { return m_length; }
  // Whole pages, no more than the format allows.
  [[nodiscard]] uint32_t GetPageCount() const { return m_pageCount; }
  // Page 0 without its mask.
  [[nodiscard]] std::span<const uint8_t> GetHeader() const { return m_header; }

  // `bytes` takes one page. False when there is no such page or the system cannot read it.
  bool Read(uint32_t page, std::span<uint8_t> bytes);

 private:
  struct SCachedPage {
    uint32_t number = 0xFFFFFFFF;
    std::vector<uint8_t> bytes;
  };

  bool RecogniseHeader();
  // `offset`: in the database.
  size_t ReadAt(uint64_t offset, std::span<uint8_t> bytes);

  CFileCust m_file;
  SCheckedPlace m_place;
  const SLayout* m_layout = nullptr;
  EIndexVersion m_version = EIndexVersion::Jet4;
  uint64_t m_length = 0;
  uint32_t m_pageCount = 0;
  std::vector<uint8_t> m_header;
  std::vector<SCachedPage> m_cache;  // by page number modulo its size
};

// One page in memory, read again only when another one is asked for.
class CPageBuffer {
 public:
  explicit CPageBuffer(CCheckedFile& file) : m_file(file), m_bytes(file.GetLayout().pageSize) {}

  bool Load(uint32_t page);
  [[nodiscard]] std::span<const uint8_t> GetBytes() const { return m_bytes; }

 private:
  CCheckedFile& m_file;
  std::vector<uint8_t> m_bytes;
  uint32_t m_number = 0xFFFFFFFF;
};

}  // namespace tolvane
