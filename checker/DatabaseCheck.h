// The consistency checker: walks a database file of any page format and proves the rules that files made by
// the original engines keep. docs/checker.md lists them.
//
// It needs no trust in the file: every page is walked once, nothing recurses, memory is bounded by the file's
// length (some bytes a page), the catalogue (bounded) and one table's definition.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "checker/CheckVerdict.h"
#include "checker/CheckedFile.h"
#include "checker/Finding.h"

namespace tolvane {

struct SCheckOptions {
  size_t keptPerRule = 20;                // findings of one rule that are kept; all are counted
  std::function<bool()> shouldStop = {};  // asked for every page that is walked
  SCheckedPlace place = {};               // of the database in its file
};

struct SCheckReport {
  ECheckVerdict verdict = ECheckVerdict::CannotOpen;
  std::vector<SFinding> findings;
  std::map<std::string_view, SRuleCount> counts;
  std::vector<std::u16string> notes;
  uint32_t pages = 0, tables = 0;
  uint64_t rows = 0, indexes = 0;

  [[nodiscard]] uint64_t CountErrors() const;
  [[nodiscard]] uint64_t CountDoubts() const;
};

SCheckReport CheckDatabase(std::u16string_view path, const SCheckOptions& options = {});

}  // namespace tolvane
