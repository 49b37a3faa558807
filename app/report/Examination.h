// What a file's pages say about its damage, beside what a repair met: the kinds and states of all pages, the
// marks of writes that were cut off, pages that are gone from its end, and what the consistency checker says
// of its indexes and maps.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "app/report/PageBlocks.h"
#include "app/report/Verdict.h"
#include "engine/PageInspector.h"
#include "engine/Source.h"
#include "status/JobContext.h"

namespace tolvane {

struct SExamination {
  // Pages that are described one by one; all are counted.
  static constexpr size_t kBadPagesKept = 1000;

  // Pages in their order.
  void Add(const SPageReport& report);
  [[nodiscard]] uint64_t Of(EPageKind kind, EPageVerdict verdict) const {
    return counts[static_cast<size_t>(kind)][static_cast<size_t>(verdict)];
  }

  // Pages of which a repair has lost something, in their order; shown as such, and else not judged by it.
  std::vector<uint64_t> pagesWithLosses;
  bool isDone = false;  // false: the file could not be read, or the job was stopped
  SPageTotals totals;
  CPageBlocks blocks;
  std::vector<SPageReport> badPages;
  uint64_t badPageCount = 0;
  std::array<uint64_t, static_cast<size_t>(EPageLook::Count_)> looks{};  // pages of each
  // Pages of each kind by verdict.
  std::array<std::array<uint64_t, static_cast<size_t>(EPageVerdict::Count_)>,
             static_cast<size_t>(EPageKind::Count_)>
      counts{};
  uint64_t writesCutOff = 0;    // users of whom the header says that they were writing
  bool hasLockFile = false;     // beside the file: somebody has it open, or had when it broke
  uint64_t pagesCutOff = 0;     // that stood behind the last one, by the file's own map
  CDamageSigns checkedSigns{};  // what the checker found
};

// The pages alone: their kinds and states.
void InspectPages(CSource& source, CJobContext& job, SExamination& examination);
// Everything; reads the file about four times. Where pages cannot be read, the checker leaves it in peace.
void ExamineFile(CSource& source, CJobContext& job, SExamination& examination);

// The kinds of damage that pages which contradict themselves are signs of.
CDamageSigns FindPageSigns(const SExamination& examination);

}  // namespace tolvane
