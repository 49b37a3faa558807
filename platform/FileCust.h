// One file handle of the system and its last error. Every file that the program touches goes through here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

class CErrorHandler;

enum class EFileAccess : uint8_t { Read, Write, ReadWrite };
// What others may do with the file meanwhile. POSIX has no such locks; there it is ignored.
enum class EFileShare : uint8_t { None, Read, ReadWrite };
enum class EFileCreation : uint8_t {
  CreateNew,     // fails if the file exists
  CreateAlways,  // empties an existing file
  OpenExisting,  // fails if the file does not exist
  OpenAlways,    // opens or creates, keeps the content
};
enum class EFileFlags : uint8_t { Normal, Sequential, Overlapped };

enum class ESeekOrigin : uint32_t { Begin = 0, Current = 1, End = 2 };
enum class ESeekDirection : uint32_t { Backward = 0, Forward = 1 };

// Error codes are the system's own: GetLastError on Windows, errno elsewhere.
inline constexpr uint32_t kNoSystemError = 0;
extern const uint32_t kWriteFaultError;  // a write that wrote less than asked (29 on Windows, EIO elsewhere)
extern const uint32_t kDiskFullError;

// The system's text for an error code, without a line break at its end.
std::u16string SystemMessage(uint32_t code);

// Thrown by the write operations of CFileCust only.
class CFileCustException {
 public:
  explicit CFileCustException(uint32_t code) : m_code(code) {}
  virtual ~CFileCustException() = default;
  CFileCustException(const CFileCustException&) = default;
  CFileCustException& operator=(const CFileCustException&) = default;
  [[nodiscard]] uint32_t GetCode() const { return m_code; }
  [[nodiscard]] std::u16string GetMessageText() const { return SystemMessage(m_code); }

 private:
  uint32_t m_code;
};

// One overlapped write: the caller may keep the record to wait for its end.
struct SOverlappedWrite;

// Process-wide counters of overlapped writes.
struct SOverlappedCounters {
  uint32_t pendingWrites = 0;
  uint64_t outstandingBytes = 0;
  uint32_t lastError = kNoSystemError;
};
// Below this many outstanding bytes the process-wide room-to-write event is signalled.
inline constexpr uint64_t kRoomToWriteBytes = 419'430'400;  // 400 MiB
SOverlappedCounters GetOverlappedCounters();
// Lets completions run and waits until the room-to-write event is signalled; false when the time is over.
bool WaitForRoomToWrite(uint32_t milliseconds);

// Owns one handle. One thread at a time.
class CFileCust {
 public:
  CFileCust();
  virtual ~CFileCust();
  CFileCust(const CFileCust&) = delete;
  CFileCust& operator=(const CFileCust&) = delete;

  // Closes nothing: a handle that is still open is the caller's mistake and is closed first.
  // False on failure; GetLastErrorCode and SystemMessage tell why.
  bool Open(std::u16string_view path, EFileAccess access, EFileShare share, EFileCreation creation,
            EFileFlags flags = EFileFlags::Normal);
  void Close();
  [[nodiscard]] bool IsOpen() const;

  // 0 on failure.
  uint64_t GetLength();
  uint64_t GetPosition();
  bool IsAtEnd();

  // The new absolute position. Any other combination of origin and direction than the named ones seeks to 0.
  uint64_t Seek(uint64_t offset, ESeekOrigin origin, ESeekDirection direction, CErrorHandler& handler);

  // Bytes read; fewer than asked at the end of the file, which is no error.
  size_t Read(std::span<uint8_t> buffer, CErrorHandler& handler);
  // At an absolute offset, without moving the position on POSIX; -1 is never returned, failure reads 0 bytes.
  size_t ReadAt(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler);

  bool Truncate(uint64_t length);
  // Hands what was written to the disk.
  bool Flush();

  // All of `bytes` at the current position, or CFileCustException.
  void Write(std::span<const uint8_t> bytes);
  void WriteAt(uint64_t offset, std::span<const uint8_t> bytes);
  // Takes the buffer; it is freed when the write ends. CFileCustException when it cannot be issued.
  void WriteOverlapped(std::vector<uint8_t> buffer, uint64_t offset);
  // Waits until no overlapped write of this process is pending.
  static bool WaitForOverlapped(uint32_t milliseconds);

  [[nodiscard]] uint32_t GetLastErrorCode() const { return m_lastError; }
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }

 private:
  struct SHandle;  // the system's handle
  std::unique_ptr<SHandle> m_handle;
  uint32_t m_lastError = kNoSystemError;
  std::u16string m_path;
};

}  // namespace tolvane
