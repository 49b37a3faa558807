#include "store/AccessTableDataFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

#include "platform/Files.h"
#include "platform/TextUnits.h"
#include "store/ValueStream.h"

namespace tolvane {

namespace {

constexpr size_t kBufferBytes = 256 * 1024;
// Of a table that shares a file, and of that file, which then is whole on any file system.
constexpr size_t kSmallTable = 64 * 1024;
constexpr uint64_t kMostShared = uint64_t{1} << 30;
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
  const std::u16string path = m_names.GetDataFilePath(key);
  m_part = SFilePart(path);
  if (FileExists(path)) RemoveFile(path);
  if (!m_file.Open(path, EFileAccess::Write, EFileShare::ReadWrite, EFileCreation::CreateAlways))
    return false;
  m_isWithoutFile = false;
  m_used = 0;  // values that came while no file was open belong to no table
  m_written = 0;
  m_strPath = path;
  return true;
}

void CAccessTableDataFile::StartDataFile(uint64_t key) {
  CloseDataFile();
  m_isOpen = true;
  m_isWithoutFile = false;
  m_used = 0;
  m_written = 0;
  m_strPath = m_names.GetDataFilePath(key);
  m_part = SFilePart(m_strPath);
}

void CAccessTableDataFile::CreateOwnFile() {
  if (!std::exchange(m_isOpen, false)) return;
  if (!m_file.Open(m_strPath, EFileAccess::Write, EFileShare::ReadWrite, EFileCreation::CreateAlways))
    throw CFileCustException(m_file.GetLastErrorCode());
}

// False: it is full.
bool CAccessTableDataFile::StoreInSharedFile() {
  m_isOpen = false;
  const std::u16string path = m_names.GetSharedFilePath();
  if (!m_sharedFile.IsOpen() &&
      !m_sharedFile.Open(path, EFileAccess::Write, EFileShare::ReadWrite, EFileCreation::OpenAlways))
    throw CFileCustException(m_sharedFile.GetLastErrorCode());
  const uint64_t place = m_sharedFile.GetLength();
  m_isOpen = place + m_used > kMostShared;
  if (m_isOpen) return false;
  m_part = {path, place, m_used};
  m_sharedFile.WriteAt(place, std::span(m_buffer).first(std::exchange(m_used, 0)));
  return true;
}

void CAccessTableDataFile::StartWithoutFile() {
  CloseDataFile();
  m_isWithoutFile = true;
  m_part = {};
  m_used = 0;
  m_written = 0;
}

void CAccessTableDataFile::WriteValue(std::u16string_view text) {
  text = text.substr(0, kMaximumUnits);
  WriteRecord({reinterpret_cast<const uint8_t*>(text.data()), 2 * text.size()});
}

void CAccessTableDataFile::WriteRecord(std::span<const uint8_t> bytes) {
  PutCount(static_cast<uint32_t>(bytes.size() + 1), MakeRoom(kCountBytes));
  m_used += kCountBytes;
  PutBytes(bytes);
  *MakeRoom(1) = 0;
  ++m_used;
}

void CAccessTableDataFile::BeginRecord() {
  MakeRoom(kCountBytes);
  m_recordPlace = m_written + m_used;
  WriteNull();
}

void CAccessTableDataFile::AppendToRecord(std::span<const uint8_t> bytes) {
  const uint64_t used = m_written + m_used - m_recordPlace - kCountBytes;
  PutBytes(bytes.first(static_cast<size_t>(std::min<uint64_t>(bytes.size(), 2 * kMaximumUnits - used))));
}

// Its count may have been written already.
void CAccessTableDataFile::EndRecord() {
  *MakeRoom(1) = 0;
  ++m_used;
  const auto count = static_cast<uint32_t>(m_written + m_used - m_recordPlace - kCountBytes);
  if (m_recordPlace >= m_written) {
    PutCount(count, m_buffer.data() + static_cast<size_t>(m_recordPlace - m_written));
    return;
  }
  if (m_isWithoutFile) return;
  std::array<uint8_t, kCountBytes> bytes{};
  PutCount(count, bytes.data());
  m_file.WriteAt(m_recordPlace, bytes);
}

// In pieces of the buffer's size, so that a long value needs no second copy of itself.
void CAccessTableDataFile::PutBytes(std::span<const uint8_t> bytes) {
  if (m_buffer.empty()) EmptyBuffer();
  while (!bytes.empty()) {
    const size_t piece = std::min(bytes.size(), kBufferBytes - m_used);
    std::memcpy(m_buffer.data() + m_used, bytes.data(), piece);
    m_used += piece;
    bytes = bytes.subspan(piece);
    if (!bytes.empty()) FlushBuffer();
  }
}

void CAccessTableDataFile::WriteNull() {
  PutCount(0, MakeRoom(kCountBytes));
  m_used += kCountBytes;
}

// Many at once need no second copy.
void CAccessTableDataFile::WriteRecords(std::span<const uint8_t> records) {
  if (m_isWithoutFile) return;
  if (records.size() < kBufferBytes) {
    PutBytes(records);
    return;
  }
  FlushBuffer();
  CreateOwnFile();
  m_written += records.size();
  m_file.Write(records);
}

// Made at its first use.
void CAccessTableDataFile::EmptyBuffer() {
  FlushBuffer();
  m_buffer.resize(kBufferBytes);
}

void CAccessTableDataFile::FlushBuffer() {
  // Nothing stays buffered even if the write fails: what was written then cannot be told.
  const std::span<const uint8_t> bytes(m_buffer.data(), std::exchange(m_used, 0));
  m_written += bytes.size();
  if (bytes.empty() || m_isWithoutFile) return;
  CreateOwnFile();
  m_file.Write(bytes);
}

void CAccessTableDataFile::CloseDataFile() {
  if (m_isOpen && m_used <= kSmallTable && StoreInSharedFile()) return;
  if (!m_isOpen && !m_file.IsOpen()) return;
  try {
    CreateOwnFile();
    FlushBuffer();
  } catch (const CFileCustException&) {
    m_file.Close();
    throw;
  }
  m_file.Close();
}

void CAccessTableDataFile::AppendOleFileName(std::u16string_view path) {
  CFileCust list;
  if (!list.Open(m_names.GetOleListPath(), EFileAccess::Write, EFileShare::Read, EFileCreation::OpenAlways))
    throw CFileCustException(list.GetLastErrorCode());
  const size_t count = path.size() + 1;
  std::vector<uint8_t> record(kCountBytes + 2 * path.size() + 1);  // for an empty path a zero byte follows
  PutCount(static_cast<uint32_t>(count), record.data());
  PutUnits(path, record.data() + kCountBytes);
  record.resize(kCountBytes + count);
  list.WriteAt(list.GetLength(), record);
}

bool CAccessTableDataFile::RemoveDataFile(uint64_t key) const {
  const std::u16string path = m_names.GetDataFilePath(key);
  if (CanWrite(path)) RemoveFile(path);
  return true;
}

void CAccessTableDataFile::RemoveSharedFile() const {
  const std::u16string path = m_names.GetSharedFilePath();
  if (FileExists(path)) RemoveFile(path);
}

// By its letters alone: a name with ".." in it is none that this program made.
bool CAccessTableDataFile::IsInWorkFolder(std::u16string_view path) const {
  const std::u16string& folder = m_names.GetFolder();
  return !folder.empty() && path.starts_with(folder) &&
         path.substr(folder.size()).find_first_of(u"/\\") == std::u16string_view::npos;
}

void CAccessTableDataFile::RemoveOleFiles() const {
  const std::u16string listPath = m_names.GetOleListPath();
  if (!FileExists(listPath)) return;
  CValueStream list;
  list.Open(SFilePart(listPath));
  std::u16string path;
  uint32_t count = 0;
  while (list.ReadCount(count) && count <= list.GetBytesLeft()) {
    if (count > kMaximumPathBytes) {
      list.Skip(count);
      continue;
    }
    list.ReadText(count, path);
    // A zero unit would end the name for the system: that is another file's name.
    if (path.find(u'\0') == std::u16string::npos && IsInWorkFolder(path) &&
        GetFileKind(path) == EFileKind::File)
      RemoveFile(path);
  }
  list.Close();
  if (FileExists(listPath)) RemoveFile(listPath);
}

}  // namespace tolvane
