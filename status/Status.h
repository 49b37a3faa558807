// The status objects: the only way in which a worker reports, or learns that it must stop.
//
// A job has one of each (JobContext.h); Instance() is that of the job that the process shows. Every field has
// its own lock, held for one read or one write; no operation holds a lock while it calls anything else. All
// operations may be called from any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tolvane {

// One value behind its own lock; numbers and flags, which are asked for at every row, are atomic.
template <class T>
class CLocked {
 public:
  CLocked() = default;
  explicit CLocked(T value) : m_value(std::move(value)) {}
  T Get() const {
    const std::lock_guard lock(m_mutex);
    return m_value;
  }
  void Set(T value) {
    const std::lock_guard lock(m_mutex);
    m_value = std::move(value);
  }
  // `change` sees the value under the lock and must not call out.
  template <class F>
  auto Change(F change) {
    const std::lock_guard lock(m_mutex);
    return change(m_value);
  }

 private:
  mutable std::mutex m_mutex;
  T m_value{};
};
template <class T>
requires std::is_arithmetic_v<T>
class CLocked<T> {
 public:
  CLocked() = default;
  explicit CLocked(T value) : m_value(value) {}
  T Get() const { return m_value.load(); }
  void Set(T value) { m_value.store(value); }
  // The old value.
  T Add(T count) { return m_value.fetch_add(count); }

 private:
  std::atomic<T> m_value{};
};

// Worker threads that are inside a repair or a save.
class CRepairThreadCounter {
 public:
  static CRepairThreadCounter& Instance();
  CRepairThreadCounter() = default;
  CRepairThreadCounter(const CRepairThreadCounter& other) : m_count(other.GetCount()) {}
  CRepairThreadCounter& operator=(const CRepairThreadCounter&) = delete;
  // Both answer a counter with the old count.
  CRepairThreadCounter operator++(int) { return CRepairThreadCounter(m_count.Add(1)); }
  CRepairThreadCounter operator--(int) { return CRepairThreadCounter(m_count.Add(-1)); }
  [[nodiscard]] int32_t GetCount() const { return m_count.Get(); }

 private:
  explicit CRepairThreadCounter(int32_t count) : m_count(count) {}
  CLocked<int32_t> m_count{0};
};

// The repair's running flag: false means stop now.
class CRepairingFileStatus {
 public:
  static CRepairingFileStatus& Instance();
  void SetRunning(bool isRunning) { m_isRunning.Set(isRunning); }
  [[nodiscard]] bool IsRunning() const { return m_isRunning.Get(); }

 private:
  CLocked<bool> m_isRunning{false};
};

// The save's running flag, and whether the external save engine could not be started.
class CSavingStatus {
 public:
  static CSavingStatus& Instance();
  void SetSaving(bool isSaving) { m_isSaving.Set(isSaving); }
  [[nodiscard]] bool IsSaving() const { return m_isSaving.Get(); }
  void SetLaunchFailed(bool hasFailed) { m_hasLaunchFailed.Set(hasFailed); }
  [[nodiscard]] bool GetLaunchFailed() const { return m_hasLaunchFailed.Get(); }

 private:
  CLocked<bool> m_isSaving{false};
  CLocked<bool> m_hasLaunchFailed{false};
};

// Position and maximum of the progress bar.
class CProgressStatus {
 public:
  static CProgressStatus& Instance();
  [[nodiscard]] int32_t GetPos() const { return m_pos.Get(); }
  void SetPos(int32_t pos) { m_pos.Set(pos); }
  void IncrementPos() { m_pos.Add(1); }
  void Advance(uint32_t units) { m_pos.Add(static_cast<int32_t>(units)); }
  [[nodiscard]] int32_t GetMax() const { return m_max.Get(); }
  void SetMax(uint64_t max);  // 0 stores 1, and what the type does not hold its largest number
  void Begin(uint64_t max) {
    SetMax(max);
    SetPos(0);
  }

 private:
  CLocked<int32_t> m_pos{0};
  CLocked<int32_t> m_max{1};
};

// The one-line status under the progress bar.
class CStatusProgress {
 public:
  static CStatusProgress& Instance();
  void SetText(std::u16string text) { m_text.Set(std::move(text)); }
  [[nodiscard]] std::u16string GetText() const { return m_text.Get(); }

 private:
  CLocked<std::u16string> m_text;
};

// The repair log, lines joined with "\r\n".
class CRepairLog {
 public:
  static CRepairLog& Instance();
  void Set(std::u16string text) { m_text.Set(std::move(text)); }
  void Append(std::u16string_view text);
  void Clear() { Set({}); }
  [[nodiscard]] std::u16string Get() const { return m_text.Get(); }

 private:
  CLocked<std::u16string> m_text;
};

// Flags of the record preview's loader.
class CPreviewThreadStatus {
 public:
  static CPreviewThreadStatus& Instance();
  void SetAbort(int32_t abort) { m_abort.Set(abort); }
  [[nodiscard]] bool IsAborted() const { return m_abort.Get() == 1; }
  void SetFinished(int32_t finished) { m_finished.Set(finished); }
  [[nodiscard]] int32_t GetFinished() const { return m_finished.Get(); }
  [[nodiscard]] bool IsBusy() const { return GetFinished() == 0; }
  // Loops until the finished flag is non-zero, calling `keepPainting` between reads (the window repaints
  // there; without one the thread just yields).
  void WaitUntilFinished(void (*keepPainting)() = nullptr);

 private:
  CLocked<int32_t> m_abort{0};
  CLocked<int32_t> m_finished{1};
};

// The length of the pause in which a full bar can be seen. The front end sets it: one second in the window,
// none (the default) on the command line and in tests.
class CDisplayPause {
 public:
  static CDisplayPause& Instance();
  void SetLength(uint32_t milliseconds) { m_milliseconds.Set(milliseconds); }
  [[nodiscard]] uint32_t GetLength() const { return m_milliseconds.Get(); }
  static void Pause();  // of the shown job

 private:
  CLocked<uint32_t> m_milliseconds{0};
};

}  // namespace tolvane
