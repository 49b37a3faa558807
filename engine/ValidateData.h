// Tells a Jet 3 file by its pages, for files whose version byte says nothing.
#pragma once

#include <string>

namespace tolvane {

class CValidateData {
 public:
  virtual ~CValidateData() = default;
  // True when one of the first ten pages of 2048 bytes is a Jet 3 definition, or when the file cannot be
  // opened. False as soon as the repair is stopped.
  bool IsJet3(const std::u16string& path);
};

}  // namespace tolvane
