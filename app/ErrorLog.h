// A file that texts are appended to. Nothing in the program creates one.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

class CErrorLog {
 public:
  CErrorLog() = default;
  explicit CErrorLog(std::u16string path) : m_path(std::move(path)) {}

  // Appends as many bytes as the text has units, from the start of its buffer: its first half. Always true;
  // what cannot be written is lost.
  [[nodiscard]] bool Write(std::u16string_view text) const;
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }

 private:
  std::u16string m_path = u"E:\\Dev\\Access\\src\\Full Version\\OrlinVexaFileScan\\ErrorLog\\ErrorLog.txt";
};

}  // namespace tolvane
