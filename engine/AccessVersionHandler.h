// Which of the two page formats a file has.
#pragma once

namespace tolvane {

class CSource;

class CAccessVersionHandler {
 public:
  // From the header's version byte; where that is zero, from the pages themselves. A source that is not open
  // counts as Jet 3.
  bool IsJet4(CSource& source) const;
  // The answer for the last repair of this process. Any thread.
  static bool IsJet4Flag();
  static void ShowJet4Flag(bool isJet4);
};

}  // namespace tolvane
