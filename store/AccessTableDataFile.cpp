#include "store/AccessTableDataFile.h"

#include <span>
#include <utility>

#include "platform/Files.h"
#include "platform/TextUnits.h"
#include "store/FileNameManager.h"
#include "store/ValueStream.h"

namespace tolvane {

namespace {

constexpr size_t kCountBytes = 4;
constexpr size_t kBufferBytes = 256 * 1024;
// No system's path is longer; a list record that claims more names nothing.
constexpr uint32_t kMaximumPathBytes = 2 * 65536;

void PutCount(uint32_t count, uint8_t* target) {
  for (int shift = 0; shift < 32; shift += 8) *target++ = static_cast<uint8_t>(count >> shift);
}

}  // namespace

CAccessTableDataFile::~CAccessTableDataFile() {
  try {
    CloseDataFile();
  } catch (const CFileCustException&) {
    // A file whose end matters is closed by its owner, who learns it there.
  }
}

bool CAccessTableDataFile::CreateDataFile(uint64_t key) {
  CloseDataFile();
  const std::u16string path = CFileNameManager().GetDataFilePath(key);
  if (FileExists(path)) RemoveFile(path);
  if (!m_file.Open(path, EFileAccess::Write, EFileShare::ReadWrite, EFileCreation::CreateAlways))
    return false;
  m_used = 0;  // values that came while no file was open belong to no table
  m_strPath = path;
  return true;
}

void CAccessTableDataFile::WriteValue(std::u16string_view text) {
  text = text.substr(0, kMaximumUnits);
  PutCount(static_cast<uint32_t>(2 * text.size() + 1), MakeRoom(kCountBytes));
  m_used += kCountBytes;
  // In pieces of the buffer's size, so that a long text needs no second copy of itself.
  do {
    const size_t room = (kBufferBytes - m_used) / 2;
    const std::u16string_view piece = text.substr(0, room);
    PutUnits(piece, m_buffer.data() + m_used);
    m_used += 2 * piece.size();
    text.remove_prefix(piece.size());
    if (!text.empty()) FlushBuffer();
  } while (!text.empty());
  *MakeRoom(1) = 0;
  ++m_used;
}

// Made at its first use.
void CAccessTableDataFile::EmptyBuffer() {
  FlushBuffer();
  m_buffer.resize(kBufferBytes);
}

void CAccessTableDataFile::FlushBuffer() {
  // Nothing stays buffered even if the write fails: what was written then cannot be told.
  const std::span<const uint8_t> bytes(m_buffer.data(), std::exchange(m_used, 0));
  if (!bytes.empty()) m_file.Write(bytes);
}

void CAccessTableDataFile::CloseDataFile() {
  if (!m_file.IsOpen()) return;
  try {
    FlushBuffer();
  } catch (const CFileCustException&) {
    m_file.Close();
    throw;
  }
  m_file.Close();
}

void CAccessTableDataFile::AppendOleFileName(std::u16string_view path) {
  CFileCust list;
  if (!list.Open(CFileNameManager().GetOleListPath(), EFileAccess::Write, EFileShare::Read,
                 EFileCreation::OpenAlways))
    throw CFileCustException(list.GetLastErrorCode());
  const size_t count = path.size() + 1;
  std::vector<uint8_t> record(kCountBytes + 2 * path.size() + 1);  // for an empty path a zero byte follows
  PutCount(static_cast<uint32_t>(count), record.data());
  PutUnits(path, record.data() + kCountBytes);
  record.resize(kCountBytes + count);
  list.WriteAt(list.GetLength(), record);
}

bool CAccessTableDataFile::RemoveDataFile(uint64_t key) {
  const std::u16string path = CFileNameManager().GetDataFilePath(key);
  if (CanWrite(path)) RemoveFile(path);
  return true;
}

void CAccessTableDataFile::RemoveOleFiles() {
  const std::u16string listPath = CFileNameManager().GetOleListPath();
  if (!FileExists(listPath)) return;
  CValueStream list;
  list.Open(listPath);
  std::u16string path;
  uint32_t count = 0;
  while (list.ReadCount(count) && count <= list.GetBytesLeft()) {
    if (count > kMaximumPathBytes) {
      list.Skip(count);
      continue;
    }
    list.ReadText(count, path);
    // A zero unit would end the name for the system: that is another file's name.
    if (path.find(u'\0') == std::u16string::npos && GetFileKind(path) == EFileKind::File) RemoveFile(path);
  }
  list.Close();
  if (FileExists(listPath)) RemoveFile(listPath);
}

}  // namespace tolvane
