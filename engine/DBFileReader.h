// Positioned reading of one database file, failures reported to the caller's error handler. Opened for
// reading only. One thread at a time.
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
  CDBFileReader(const CDBFileReader&) = delete;
  CDBFileReader& operator=(const CDBFileReader&) = delete;

  void SetPath(std::u16string path) { m_path = std::move(path); }
  bool Open(CErrorHandler& handler);
  bool Close();
  [[nodiscard]] bool IsOpen() const { return m_file.IsOpen(); }
  uint64_t GetLength() { return m_file.GetLength(); }
  SFileStamp GetStamp() { return m_file.GetStamp(); }

  bool Seek(uint64_t offset, CErrorHandler& handler);
  // At the end of the file the bytes that are missing stay as they were, which is no error.
  bool Read(std::span<uint8_t> buffer, CErrorHandler& handler);
  bool SeekRead(std::span<uint8_t> buffer, uint64_t offset, CErrorHandler& handler);

  // Bytes at `offset` that could be read; does not depend on the position.
  size_t ReadAt(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler) {
    return m_file.ReadAt(offset, buffer, handler);
  }

 private:
  CFileCust m_file;
  std::u16string m_path;
};

}  // namespace tolvane
