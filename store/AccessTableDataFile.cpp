#include "store/AccessTableDataFile.h"

#include <algorithm>
#include <array>
#include <span>

#include "platform/Files.h"
#include "store/FileNameManager.h"
#include "store/ValueStream.h"

namespace tolvane {

namespace {

constexpr size_t kBufferBytes = 256 * 1024;
// No system's path is longer; a list record that claims more names nothing.
constexpr uint32_t kMaximumPathBytes = 2 * 65536;

void PutCount(uint32_t count, std::vector<uint8_t>& out) {
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<uint8_t>(count >> shift));
}

void PutUnits(std::u16string_view units, std::vector<uint8_t>& out) {
  const size_t start = out.size();
  out.resize(start + units.size() * 2);
  uint8_t* target = out.data() + start;
  for (const char16_t unit : units) {
    *target++ = static_cast<uint8_t>(unit);
    *target++ = static_cast<uint8_t>(unit >> 8);
  }
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
  m_strPath = path;
  return true;
}

void CAccessTableDataFile::WriteValue(std::u16string_view text) {
  text = text.substr(0, kMaximumUnits);
  if (m_buffer.capacity() < kBufferBytes) m_buffer.reserve(kBufferBytes);
  if (kBufferBytes - m_buffer.size() < sizeof(uint32_t)) FlushBuffer();
  PutCount(static_cast<uint32_t>(2 * text.size() + 1), m_buffer);
  Append(text);
  if (m_buffer.size() == kBufferBytes) FlushBuffer();
  m_buffer.push_back(0);
}

// In pieces of the buffer's size, so that a long text needs no second copy of itself.
void CAccessTableDataFile::Append(std::u16string_view text) {
  while (!text.empty()) {
    const size_t room = (kBufferBytes - m_buffer.size()) / 2;
    const size_t piece = std::min(room, text.size());
    PutUnits(text.substr(0, piece), m_buffer);
    text.remove_prefix(piece);
    if (!text.empty()) FlushBuffer();
  }
}

void CAccessTableDataFile::FlushBuffer() {
  if (m_buffer.empty()) return;
  try {
    m_file.Write(m_buffer);
  } catch (const CFileCustException&) {
    m_buffer.clear();
    throw;
  }
  m_buffer.clear();
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
  std::vector<uint8_t> record;
  PutCount(static_cast<uint32_t>(count), record);
  PutUnits(path, record);
  record.resize(sizeof(uint32_t) + count);  // cuts the text's second half; for an empty path adds a zero byte
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
