// One file handle of the system and its last error. Every file that the program touches goes through here.
#pragma once

#include <atomic>
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

// Signalled when the overlapped write that it was given to has ended, well or not. For one write.
class COverlappedEvent {
 public:
  // False when the time is over first. Lets completions run meanwhile.
  bool Wait(uint32_t milliseconds);
  [[nodiscard]] bool IsSignalled() const { return m_isSignalled; }

 private:
  friend class COverlappedLedger;
  std::atomic<bool> m_isSignalled{false};
};

// Process-wide counters of overlapped writes.
struct SOverlappedCounters {
  uint32_t pendingWrites = 0;
  uint64_t outstandingBytes = 0;
  uint32_t lastError = kNoSystemError;  // of the last overlapped write that failed; a later success keeps it
};
// Below this many outstanding bytes the process-wide room-to-write event is signalled.
inline constexpr uint64_t kRoomToWriteBytes = 419'430'400;  // 400 MiB
SOverlappedCounters GetOverlappedCounters();
// Lets completions run and waits until the room-to-write event is signalled; false when the time is over.
bool WaitForRoomToWrite(uint32_t milliseconds);

// Differs when somebody has written to the file in between, as far as the system's clock tells moments apart.
struct SFileStamp {
  uint64_t length = 0;
  uint64_t written = 0;  // when; in units of the system
  bool operator==(const SFileStamp&) const = default;
};

// Owns one handle. One thread at a time.
class CFileCust {
 public:
  CFileCust();
  virtual ~CFileCust();

  // A file that is still open is closed first. A folder cannot be opened.
  // False on failure; GetLastErrorCode and SystemMessage tell why.
  bool Open(std::u16string_view path, EFileAccess access, EFileShare share, EFileCreation creation,
            EFileFlags flags = EFileFlags::Normal);
  // Waits for the file's own overlapped writes first.
  void Close();
  [[nodiscard]] bool IsOpen() const;

  // 0 on failure.
  uint64_t GetLength();
  SFileStamp GetStamp();
  uint64_t GetPosition();
  bool IsAtEnd();

  // The new absolute position. Any other combination of origin and direction than the named ones seeks to 0.
  uint64_t Seek(uint64_t offset, ESeekOrigin origin, ESeekDirection direction, CErrorHandler& handler);

  // Bytes read; fewer than asked at the end of the file, which is no error. On failure the handler is told
  // and what was read before it counts.
  size_t Read(std::span<uint8_t> buffer, CErrorHandler& handler);
  // The same at an absolute offset, without moving the position; any number of threads at a time.
  size_t ReadAt(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler);
  // Where it does not matter why there are fewer.
  size_t ReadAt(uint64_t offset, std::span<uint8_t> buffer);

  // Cuts or extends the file and moves the position to its new end.
  bool Truncate(uint64_t length);
  // Hands what was written to the disk.
  bool Flush();

  // All of `bytes` at the current position, or CFileCustException.
  void Write(std::span<const uint8_t> bytes);
  // The same at an absolute offset, without moving the position.
  void WriteAt(uint64_t offset, std::span<const uint8_t> bytes);
  // On a file opened with EFileFlags::Overlapped. Takes the buffer; it is freed when the write ends, which
  // may be later than this call: a failure then shows in GetOverlappedCounters().lastError.
  // CFileCustException when it cannot be issued. On Windows a write ends while its own thread waits in one of
  // the waits here or in Close.
  void WriteOverlapped(std::vector<uint8_t> buffer, uint64_t offset,
                       std::shared_ptr<COverlappedEvent> event = nullptr);
  // Waits until no overlapped write of this process is pending; false when the time is over.
  static bool WaitForOverlapped(uint32_t milliseconds);

  [[nodiscard]] uint32_t GetLastErrorCode() const { return m_lastError.load(); }
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }

 private:
  struct SHandle;  // the system's handle

  bool SetPosition(uint64_t position);
  void Report(uint32_t error, CErrorHandler& handler);
  [[noreturn]] void Throw(uint32_t error);

  std::unique_ptr<SHandle> m_handle;
  std::atomic<uint32_t> m_lastError = kNoSystemError;
  std::u16string m_path;
};

// All that a file is to hold, written at once. Why that failed; empty when it did not.
std::u16string WriteWholeFile(std::u16string_view path, EFileShare share, EFileCreation creation,
                              std::span<const uint8_t> bytes);

}  // namespace tolvane
