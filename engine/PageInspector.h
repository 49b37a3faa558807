// Tells what each page of a file is and whether it can be true, without repairing anything.
//
// Two passes over the file: the first notes the kind of every page (one byte a page), the second judges each
// page by its own numbers and by its owner. Reports are handed over page by page; memory does not grow with
// them. Pages that the file says are free may hold anything: they are reported as free and judged no further.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "engine/Source.h"
#include "status/JobContext.h"

namespace tolvane {

enum class EPageKind : uint8_t {
  Header,
  Zero,  // never written
  Definition,
  DefinitionContinuation,
  Data,
  LongValue,
  UsageMap,
  IndexNode,
  IndexLeaf,
  MapPage,
  DroppedDefinition,
  EmptiedData,
  Unknown,
  Unreadable,
  Count_
};
std::u16string_view GetPageKindName(EPageKind kind);

enum class EPageVerdict : uint8_t {
  Ok,
  Free,
  Damaged,  // its own numbers contradict each other
  Orphan,   // sound, but what it belongs to is gone
  Unreadable,
  Count_
};
std::u16string_view GetPageVerdictName(EPageVerdict verdict);

struct SPageReport {
  static constexpr uint32_t kNoOwner = ~uint32_t{0};

  uint64_t page = 0;
  EPageKind kind = EPageKind::Unknown;
  uint32_t owner = kNoOwner;  // definition page of the table that the page belongs to
  EPageVerdict verdict = EPageVerdict::Ok;
  std::u16string_view reason{};  // why it is damaged or an orphan
};

struct SPageTotals {
  bool isJet3 = false;
  uint32_t pageSize = 0;
  uint64_t pages = 0;         // whole ones
  uint64_t leadingBytes = 0;  // foreign ones, in front of the first page
  uint64_t partialBytes = 0;  // behind the last whole page
  std::array<uint64_t, static_cast<size_t>(EPageKind::Count_)> kinds{};
  std::array<uint64_t, static_cast<size_t>(EPageVerdict::Count_)> verdicts{};

  [[nodiscard]] uint64_t Of(EPageKind kind) const { return kinds[static_cast<size_t>(kind)]; }
  [[nodiscard]] uint64_t Of(EPageVerdict verdict) const { return verdicts[static_cast<size_t>(verdict)]; }
};

class CPageInspector {
 public:
  using Sink = std::function<void(const SPageReport&)>;

  // The job outlives the inspector.
  explicit CPageInspector(CJobContext& job) : m_job(job) {}

  // False when the source is not open or the work was stopped; the totals then cover what was seen. The
  // repair of the job says whether to go on.
  bool Inspect(CSource& source, const Sink& sink);
  [[nodiscard]] const SPageTotals& GetTotals() const { return m_totals; }

 private:
  using Page = std::span<const uint8_t>;

  bool NoteKinds();
  bool JudgePages(const Sink& sink);
  [[nodiscard]] EPageKind KindOf(Page page, uint64_t number) const;
  [[nodiscard]] EPageKind KindOfDefinition(Page page) const;
  SPageReport Judge(Page page, uint64_t number) const;
  // Each answers the reason why the page cannot be true; empty when it can.
  [[nodiscard]] std::u16string_view FindFault(Page page, EPageKind kind) const;
  [[nodiscard]] std::u16string_view FindRowFault(Page page) const;
  [[nodiscard]] std::u16string_view FindIndexFault(Page page) const;
  [[nodiscard]] std::u16string_view FindDefinitionFault(Page page, EPageKind kind) const;
  [[nodiscard]] std::u16string_view FindOwnerFault(const SPageReport& report) const;
  [[nodiscard]] EPageKind NotedKind(uint64_t page) const;

  CJobContext& m_job;
  // Of the file that is being looked at.
  CSource* m_source = nullptr;
  const SLayout* m_layout = &kLayoutJet4;
  const CFreePageMap* m_freePages = nullptr;
  SPageTotals m_totals;
  std::vector<EPageKind> m_kinds;
  std::vector<bool> m_isContinuation;  // pages that a definition names as its next
};

}  // namespace tolvane
