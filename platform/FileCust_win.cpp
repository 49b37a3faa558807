// Positions are kept here, not by the system, which keeps none for overlapped handles: every transfer names
// its offset.
#include "platform/FileCust.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/ErrorHandler.h"
#include "platform/OverlappedLedger.h"
#include "platform/Text.h"
#include "platform/Wide_win.h"

namespace tolvane {

const uint32_t kWriteFaultError = ERROR_WRITE_FAULT;
const uint32_t kDiskFullError = ERROR_DISK_FULL;

std::u16string SystemMessage(uint32_t code) {
  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
      code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  if (length == 0) return u"Unknown error " + ToDecimal(code);
  std::u16string message = FromWide({buffer, length});
  LocalFree(buffer);
  while (message.ends_with(u'\n') || message.ends_with(u'\r')) message.pop_back();
  return message;
}

bool RunCompletions(uint32_t milliseconds) {
  SleepEx(milliseconds, TRUE);
  return true;
}

struct CFileCust::SHandle {
  HANDLE handle = INVALID_HANDLE_VALUE;
  bool isOverlapped = false;
  uint64_t position = 0;
  std::shared_ptr<uint32_t> pending = std::make_shared<uint32_t>(0);
  DWORD writer = 0;  // the thread that issued the last overlapped write
};

namespace {

// Servers of older systems refuse larger ones.
constexpr size_t kMaxTransfer = size_t{32} << 20;

bool IsOffset(uint64_t offset) {
  return offset <= static_cast<uint64_t>(std::numeric_limits<LONGLONG>::max());
}

OVERLAPPED AtOffset(uint64_t offset) {
  OVERLAPPED overlapped{};
  overlapped.Offset = static_cast<DWORD>(offset & 0xFFFFFFFF);
  overlapped.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return overlapped;
}

// The event that a transfer on an overlapped handle needs to tell its own end from that of others.
class CEvent {
 public:
  CEvent() : m_handle(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~CEvent() {
    if (m_handle) CloseHandle(m_handle);
  }
  CEvent(const CEvent&) = delete;
  CEvent& operator=(const CEvent&) = delete;
  [[nodiscard]] HANDLE Get() const { return m_handle; }

 private:
  HANDLE m_handle;
};

struct STransfer {
  size_t count = 0;
  uint32_t error = kNoSystemError;
};

// One ReadFile or WriteFile at an offset, waited for.
template <class F>
STransfer TransferChunk(HANDLE handle, bool isOverlapped, uint64_t offset, F transfer) {
  OVERLAPPED overlapped = AtOffset(offset);
  DWORD count = 0;
  if (!isOverlapped) {
    if (transfer(handle, &count, &overlapped)) return {count, kNoSystemError};
    return {count, GetLastError()};
  }
  const CEvent event;
  if (!event.Get()) return {0, GetLastError()};
  overlapped.hEvent = event.Get();
  if (!transfer(handle, nullptr, &overlapped) && GetLastError() != ERROR_IO_PENDING)
    return {0, GetLastError()};
  if (!GetOverlappedResult(handle, &overlapped, &count, TRUE)) return {count, GetLastError()};
  return {count, kNoSystemError};
}

bool IsEndOfFile(uint32_t error) {
  return error == ERROR_HANDLE_EOF || error == ERROR_BROKEN_PIPE;
}

STransfer ReadAll(HANDLE handle, bool isOverlapped, uint64_t offset, std::span<uint8_t> buffer) {
  STransfer total;
  while (total.count < buffer.size()) {
    uint8_t* target = buffer.data() + total.count;
    const auto size = static_cast<DWORD>(std::min(buffer.size() - total.count, kMaxTransfer));
    const STransfer chunk = TransferChunk(
        handle, isOverlapped, offset + total.count,
        [&](HANDLE file, DWORD* count, OVERLAPPED* at) { return ReadFile(file, target, size, count, at); });
    total.count += chunk.count;
    if (!IsEndOfFile(chunk.error)) total.error = chunk.error;
    if (chunk.error != kNoSystemError || chunk.count == 0) break;
  }
  return total;
}

STransfer WriteAll(HANDLE handle, bool isOverlapped, uint64_t offset, std::span<const uint8_t> bytes) {
  STransfer total;
  while (total.count < bytes.size() && total.error == kNoSystemError) {
    const uint8_t* source = bytes.data() + total.count;
    const auto size = static_cast<DWORD>(std::min(bytes.size() - total.count, kMaxTransfer));
    const STransfer chunk = TransferChunk(
        handle, isOverlapped, offset + total.count,
        [&](HANDLE file, DWORD* count, OVERLAPPED* at) { return WriteFile(file, source, size, count, at); });
    total.count += chunk.count;
    total.error = chunk.error == kNoSystemError && chunk.count < size ? kWriteFaultError : chunk.error;
  }
  return total;
}

// `overlapped` comes first: its address is what the completion routine is given.
struct SSystemWrite {
  OVERLAPPED overlapped;
  SOverlappedWrite write;
};

void CALLBACK OnWriteCompleted(DWORD error, DWORD count, OVERLAPPED* overlapped) {
  const std::unique_ptr<SSystemWrite> done(reinterpret_cast<SSystemWrite*>(overlapped));
  const bool isShort = error == kNoSystemError && count < done->write.buffer.size();
  COverlappedLedger::Instance().Complete(done->write, isShort ? kWriteFaultError : error);
}

// By EFileAccess, EFileShare, EFileCreation and EFileFlags.
constexpr DWORD kAccess[] = {GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE};
constexpr DWORD kShare[] = {0, FILE_SHARE_READ, FILE_SHARE_READ | FILE_SHARE_WRITE};
constexpr DWORD kCreation[] = {CREATE_NEW, CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS};
constexpr DWORD kAttributes[] = {FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN,
                                 FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED};

}  // namespace

CFileCust::CFileCust() = default;
CFileCust::~CFileCust() {
  Close();
}

bool CFileCust::Open(std::u16string_view path, EFileAccess access, EFileShare share, EFileCreation creation,
                     EFileFlags flags) {
  Close();
  m_path = path;
  m_lastError = kNoSystemError;
  const HANDLE handle = CreateFileW(
      SystemPath(path).c_str(), kAccess[static_cast<size_t>(access)], kShare[static_cast<size_t>(share)],
      nullptr, kCreation[static_cast<size_t>(creation)], kAttributes[static_cast<size_t>(flags)], nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    m_lastError = GetLastError();
    return false;
  }
  m_handle = std::make_unique<SHandle>();
  m_handle->handle = handle;
  m_handle->isOverlapped = flags == EFileFlags::Overlapped;
  return true;
}

void CFileCust::Close() {
  if (!m_handle) return;
  // Completions run in the thread that issued the write; the system ends a write without its handle, too.
  if (m_handle->writer == GetCurrentThreadId()) {
    COverlappedLedger::Instance().WaitForFile(*m_handle->pending, std::numeric_limits<uint32_t>::max());
  }
  if (!CloseHandle(m_handle->handle)) m_lastError = GetLastError();
  m_handle.reset();
}

uint64_t CFileCust::GetLength() {
  LARGE_INTEGER length{};
  if (m_handle && GetFileSizeEx(m_handle->handle, &length)) return static_cast<uint64_t>(length.QuadPart);
  m_lastError = m_handle ? GetLastError() : ERROR_INVALID_HANDLE;
  return 0;
}

SFileStamp CFileCust::GetStamp() {
  FILETIME written{};
  if (!m_handle || !GetFileTime(m_handle->handle, nullptr, nullptr, &written)) return {};
  return {GetLength(), uint64_t{written.dwHighDateTime} << 32 | written.dwLowDateTime};
}

uint64_t CFileCust::GetPosition() {
  if (m_handle) return m_handle->position;
  m_lastError = ERROR_INVALID_HANDLE;
  return 0;
}

bool CFileCust::SetPosition(uint64_t position) {
  if (m_handle && IsOffset(position)) {
    m_handle->position = position;
    return true;
  }
  m_lastError = m_handle ? ERROR_NEGATIVE_SEEK : ERROR_INVALID_HANDLE;
  return false;
}

size_t CFileCust::Read(std::span<uint8_t> buffer, CErrorHandler& handler) {
  const size_t count = ReadAt(m_handle ? m_handle->position : 0, buffer, handler);
  if (m_handle) m_handle->position += count;
  return count;
}

size_t CFileCust::ReadAt(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler) {
  if (!m_handle || !IsOffset(offset)) {
    Report(m_handle ? ERROR_NEGATIVE_SEEK : ERROR_INVALID_HANDLE, handler);
    return 0;
  }
  const STransfer done = ReadAll(m_handle->handle, m_handle->isOverlapped, offset, buffer);
  if (done.error != kNoSystemError) Report(done.error, handler);
  return done.count;
}

bool CFileCust::Truncate(uint64_t length) {
  if (!SetPosition(length)) return false;
  LARGE_INTEGER end{};
  end.QuadPart = static_cast<LONGLONG>(length);
  if (SetFilePointerEx(m_handle->handle, end, nullptr, FILE_BEGIN) && SetEndOfFile(m_handle->handle))
    return true;
  m_lastError = GetLastError();
  return false;
}

bool CFileCust::Flush() {
  if (m_handle && FlushFileBuffers(m_handle->handle)) return true;
  m_lastError = m_handle ? GetLastError() : ERROR_INVALID_HANDLE;
  return false;
}

void CFileCust::Write(std::span<const uint8_t> bytes) {
  if (!m_handle) Throw(ERROR_INVALID_HANDLE);
  const STransfer done = WriteAll(m_handle->handle, m_handle->isOverlapped, m_handle->position, bytes);
  m_handle->position += done.count;
  if (done.error != kNoSystemError) Throw(done.error);
}

void CFileCust::WriteAt(uint64_t offset, std::span<const uint8_t> bytes) {
  if (!m_handle) Throw(ERROR_INVALID_HANDLE);
  if (!IsOffset(offset)) Throw(ERROR_NEGATIVE_SEEK);
  const STransfer done = WriteAll(m_handle->handle, m_handle->isOverlapped, offset, bytes);
  if (done.error != kNoSystemError) Throw(done.error);
}

void CFileCust::WriteOverlapped(std::vector<uint8_t> buffer, uint64_t offset,
                                std::shared_ptr<COverlappedEvent> event) {
  if (!m_handle) Throw(ERROR_INVALID_HANDLE);
  if (!IsOffset(offset)) Throw(ERROR_NEGATIVE_SEEK);
  if (buffer.size() > std::numeric_limits<DWORD>::max()) Throw(ERROR_INVALID_PARAMETER);
  auto record = std::make_unique<SSystemWrite>(
      SSystemWrite{AtOffset(offset), {std::move(buffer), offset, std::move(event), m_handle->pending}});
  m_handle->writer = GetCurrentThreadId();
  const SOverlappedWrite& write = record->write;
  COverlappedLedger::Instance().Issue(write);
  if (WriteFileEx(m_handle->handle, write.buffer.data(), static_cast<DWORD>(write.buffer.size()),
                  &record->overlapped, OnWriteCompleted)) {
    [[maybe_unused]] const SSystemWrite* owned = record.release();  // by the completion routine
    return;
  }
  const uint32_t error = GetLastError();
  COverlappedLedger::Instance().Complete(write, error);
  CancelIo(m_handle->handle);
  Throw(error);
}

}  // namespace tolvane
