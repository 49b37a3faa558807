// Which of the two page formats a file has.
#pragma once

#include <string>

namespace tolvane {

class CAccessVersionHandler {
 public:
  virtual ~CAccessVersionHandler() = default;
  // From the header's version byte; where that is zero, from the pages themselves. A file that cannot be
  // opened counts as Jet 3. The answer is kept in the process-wide flag, unless the file could not be opened.
  bool IsJet4(const std::u16string& path);
  // The last answer of this process. Any thread.
  static bool IsJet4Flag();
};

}  // namespace tolvane
