// Records of a table's data file (drawn in AccessTableDataFile.h), put together in memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "format/Bytes.h"
#include "store/ValueStream.h"

namespace tolvane {

class CRecordBuffer {
 public:
  void Clear() { m_used = 0; }
  // Drops what lies behind.
  void CutTo(size_t size) { m_used = size; }
  [[nodiscard]] size_t GetSize() const { return m_used; }
  [[nodiscard]] std::span<const uint8_t> GetBytes(size_t from, size_t to) const {
    return std::span(m_bytes).subspan(from, to - from);
  }

  // From there to the end, to be changed.
  [[nodiscard]] std::span<uint8_t> GetBytes(size_t from) {
    return std::span(m_bytes).subspan(from, m_used - from);
  }

  // A record of `size` bytes, which the caller fills before the next call.
  std::span<uint8_t> AddRecord(size_t size) {
    const std::span<uint8_t> record = MakeRoom(kCountBytes + size + 1);
    PutLittle(record, 0, static_cast<uint32_t>(size + 1));
    record.back() = 0;
    return record.subspan(kCountBytes, size);
  }
  void AddRecord(std::span<const uint8_t> bytes) {
    const std::span<uint8_t> record = AddRecord(bytes.size());
    if (!bytes.empty()) std::memcpy(record.data(), bytes.data(), bytes.size());
  }
  void AddNull() { PutLittle(MakeRoom(kCountBytes), 0, uint32_t{0}); }

 private:
  static constexpr size_t kFirstBytes = size_t{64} << 10;

  std::span<uint8_t> MakeRoom(size_t size) {
    if (m_bytes.size() - m_used < size) Grow(size);
    m_used += size;
    return std::span(m_bytes).subspan(m_used - size, size);
  }
  void Grow(size_t size) { m_bytes.resize(std::max(2 * m_bytes.size(), m_used + size + kFirstBytes)); }

  std::vector<uint8_t> m_bytes;  // of which the first m_used are records
  size_t m_used = 0;
};

}  // namespace tolvane
