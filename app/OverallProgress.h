// How much of the whole work is done, for the title and the taskbar. Main thread only.
#pragma once

#include <cstdint>
#include <string_view>

namespace tolvane {

class COverallProgress {
 public:
  void Start() { m_percent = 0; }
  // From what the status objects say now. The steps have fixed shares of the whole; never goes back, and
  // never reaches 100, which only the end is.
  int Update(std::u16string_view status, int32_t position, int32_t maximum);
  [[nodiscard]] int GetPercent() const { return m_percent; }

 private:
  int m_percent = 0;
};

}  // namespace tolvane
