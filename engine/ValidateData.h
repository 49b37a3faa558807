// Tells a Jet 3 file by its pages, for files whose version byte says nothing.
#pragma once

namespace tolvane {

class CPageReader;

class CValidateData {
 public:
  // True when one of the first ten pages of 2048 bytes is a Jet 3 definition, or when no file is open.
  bool IsJet3(CPageReader& pages) const;
};

}  // namespace tolvane
