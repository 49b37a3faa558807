// The temporary file that holds every recovered value of one table, and the list of OLE side files.
//
//   data file: value records, row after row, one record a column, no header and no row count
//     0  u32  N = 2L + 1
//     4       L UTF-16LE units, then one zero byte
//   OLE list file: one record a side file
//     0  u32  N = L + 1
//     4       the first L + 1 bytes of the path's UTF-16LE form
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileCust.h"

namespace tolvane {

class CAccessTableDataFile {
 public:
  CAccessTableDataFile() = default;
  virtual ~CAccessTableDataFile();
  CAccessTableDataFile(const CAccessTableDataFile&) = delete;
  CAccessTableDataFile& operator=(const CAccessTableDataFile&) = delete;

  // Starts the file of `key` from empty. False when it cannot be created; the reason is in GetLastErrorCode.
  bool CreateDataFile(uint64_t key);
  // Appends one value. Buffered; throws CFileCustException when the disk is full or gone.
  void WriteValue(std::u16string_view text);
  // Writes what is buffered (may throw CFileCustException) and closes the file.
  void CloseDataFile();

  // Adds a side file's path to the list. Throws CFileCustException.
  void AppendOleFileName(std::u16string_view path);

  // Deletes the data file of `key`, if it is there. Always true.
  static bool RemoveDataFile(uint64_t key);
  // Deletes the side files that the list names, then the list.
  static void RemoveOleFiles();

  [[nodiscard]] const std::u16string& GetPath() const { return m_strPath; }
  [[nodiscard]] uint32_t GetLastErrorCode() const { return m_file.GetLastErrorCode(); }

 private:
  void FlushBuffer();

  std::u16string m_strPath;  // the file created last; empty until then
  CFileCust m_file;
  std::vector<uint8_t> m_buffer;
};

}  // namespace tolvane
