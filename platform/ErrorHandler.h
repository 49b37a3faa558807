// What went wrong in one step, in the system's words. Filled by the file classes, tested by their callers.
#pragma once

#include <cstdint>
#include <string>

namespace tolvane {

// One object per step, owned by the step; not shared between threads.
class CErrorHandler {
 public:
  void ReportError(std::u16string message, uint32_t flag);
  [[nodiscard]] bool HasError() const { return m_flag != 0; }
  [[nodiscard]] const std::u16string& GetMessageText() const { return m_message; }

 private:
  uint32_t m_flag = 0;
  std::u16string m_message = u"Operation completed successfully.";
};

}  // namespace tolvane
