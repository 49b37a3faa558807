// Positioned reading of one database file, failures reported to the caller's error handler. Opened for
// reading only. Offsets and the length count from the database's first page. One thread at a time.
//
// A handler remembers: once it holds an error, every further call with it answers false, though the call is
// done.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"

namespace tolvane {

class CDBFileReader {
 public:
  CDBFileReader() = default;
  virtual ~CDBFileReader() = default;
  CDBFileReader(const CDBFileReader&) = delete;
  CDBFileReader& operator=(const CDBFileReader&) = delete;

  void SetPath(std::u16string path) { m_path = std::move(path); }
  bool Open(CErrorHandler& handler);
  bool Close();
  uint64_t GetLength();
  // Bytes that something put in front of the database.
  [[nodiscard]] uint64_t GetStart() const { return m_start; }

  bool Seek(uint64_t offset, CErrorHandler& handler);
  // At the end of the file the bytes that are missing stay as they were, which is no error.
  bool Read(std::span<uint8_t> buffer, CErrorHandler& handler);
  bool SeekRead(std::span<uint8_t> buffer, uint64_t offset, CErrorHandler& handler);
  bool SeekFromEnd(uint64_t offset, CErrorHandler& handler);

  // Bytes at `offset` that could be read; does not depend on the position.
  size_t ReadAt(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler) {
    return m_file.ReadAt(m_start + offset, buffer, handler);
  }

 private:
  CFileCust m_file;
  std::u16string m_path;
  uint64_t m_start = 0;
};

}  // namespace tolvane
