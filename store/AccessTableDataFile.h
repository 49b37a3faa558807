// The temporary file that holds every recovered value of one table, and the list of OLE side files. Creating
// a file costs more than writing a small one: tables that are small may share one file, one behind the other.
//
//   data file: value records, row after row, one record a column, no header and no row count
//     0  u32  N = 2L + 1
//     4       L UTF-16LE units, then one zero byte
//   or, where a run keeps values instead of their texts, N = 0 for null, else the value's bytes and one zero
//   byte
//   OLE list file: one record a side file
//     0  u32  N = L + 1
//     4       the first L + 1 bytes of the path's UTF-16LE form
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/FileCust.h"
#include "store/FileNameManager.h"
#include "store/FilePart.h"

namespace tolvane {

// One open data file. One thread at a time; readers may open the same file meanwhile.
class CAccessTableDataFile {
 public:
  // A longer text is cut there, so that no count is negative for a reader that takes it as a signed number.
  static constexpr size_t kMaximumUnits = 0x3FFF'FFFF;

  // `folder` is the work folder of the run, with its separator at the end.
  explicit CAccessTableDataFile(std::u16string folder) : m_names(std::move(folder)) {}
  // Closes the file; what cannot be written then is lost.
  virtual ~CAccessTableDataFile();

  // Closes an open file (see there), then starts the file of `key` from empty. False when it cannot be
  // created; the reason is in GetLastErrorCode.
  bool CreateDataFile(uint64_t key);
  // The same, but a table that proves small is stored in the shared file when it is closed. What cannot be
  // created is thrown there, or by the first write that the buffer does not hold.
  void StartDataFile(uint64_t key);
  // The same without a file: what is written is dropped.
  void StartWithoutFile();
  // Appends one value. Buffered; throws CFileCustException when the disk is full or gone. What was buffered
  // is then dropped: the file is not whole and should not be used.
  void WriteValue(std::u16string_view text);
  // Appends a record of these bytes and the zero byte behind them; of a text's UTF-16LE form it is the same
  // record.
  void WriteRecord(std::span<const uint8_t> bytes);
  // The same of bytes that come in pieces: Begin, any number of them, End.
  void BeginRecord();
  void AppendToRecord(std::span<const uint8_t> bytes);
  void EndRecord();
  // Appends the record without bytes.
  void WriteNull();
  // Appends whole records.
  void WriteRecords(std::span<const uint8_t> records);
  // Writes what is buffered (may throw CFileCustException) and closes the file, in any case. Nothing when no
  // file is open.
  void CloseDataFile();

  // Adds a side file's path to the list. Throws CFileCustException.
  void AppendOleFileName(std::u16string_view path);

  // Deletes the data file of `key`, if it is there. Always true.
  bool RemoveDataFile(uint64_t key) const;
  // Deletes the side files that the list names, then the list. The list holds the first half of each path,
  // and only a file of exactly that name goes, and only inside the work folder.
  void RemoveOleFiles() const;

  // Deletes the shared file, if it is there.
  void RemoveSharedFile() const;

  // Where the records of the table are that was closed last.
  [[nodiscard]] const SFilePart& GetPart() const { return m_part; }
  [[nodiscard]] const std::u16string& GetPath() const { return m_strPath; }
  [[nodiscard]] uint32_t GetLastErrorCode() const { return m_file.GetLastErrorCode(); }

 private:
  // Where the next bytes go, at most as many as the buffer holds.
  uint8_t* MakeRoom(size_t bytes) {
    if (m_buffer.size() - m_used < bytes) EmptyBuffer();
    return m_buffer.data() + m_used;
  }
  void PutBytes(std::span<const uint8_t> bytes);
  void EmptyBuffer();
  void FlushBuffer();
  void CreateOwnFile();
  bool StoreInSharedFile();

  [[nodiscard]] bool IsInWorkFolder(std::u16string_view path) const;

  CFileNameManager m_names;
  std::u16string m_strPath;  // the file created last; empty until then
  CFileCust m_file;
  CFileCust m_sharedFile;  // once a table is in it
  SFilePart m_part;
  bool m_isOpen = false;  // a table that has no file of its own yet
  bool m_isWithoutFile = false;
  std::vector<uint8_t> m_buffer;
  size_t m_used = 0;           // bytes of the buffer that are not written yet
  uint64_t m_written = 0;      // bytes of the file in front of the buffer's
  uint64_t m_recordPlace = 0;  // of the record that comes in pieces, in the file
};

}  // namespace tolvane
