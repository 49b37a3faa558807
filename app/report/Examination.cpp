#include "app/report/Examination.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "app/TextSearch.h"
#include "checker/DatabaseCheck.h"
#include "engine/DataReader.h"
#include "engine/FreePageMap.h"
#include "format/HeaderLayout.h"
#include "platform/Files.h"

namespace tolvane {

namespace {

// A write that is over leaves its counter's high byte set.
constexpr uint16_t kWriting = 0;

uint64_t CountWritesCutOff(CSource& source) {
  std::vector<uint8_t> page(source.GetLayout().pageSize);
  if (!source.ReadPage(0, page) || page[0] != kPageHeader || page[1] != kPageFormatted) return 0;
  const size_t at = source.GetLayout().header.commit;
  uint64_t count = 0;
  for (size_t slot = 0; slot < kCommitSlots; ++slot)
    if (CDataReader::ReadUInt16(&page[at + 2 * slot]) == kWriting) ++count;
  return count;
}

// The map of free pages calls all pages behind the end free, up to its own end: a used one among them was cut
// off.
uint64_t CountPagesCutOff(CSource& source) {
  const uint64_t pages = source.GetPageCount();
  uint64_t next = pages, end = pages;
  ReadUsageMap(source.GetPages(), source.GetLayout(), {.slot = 0, .page = kGlobalMapPage}, ~uint64_t{0},
               [&](uint32_t page) {
                 if (page < pages) return;
                 if (page > next) end = page;
                 next = page + 1;
               });
  return end - pages;
}

bool HasLockFile(const std::u16string& path) {
  const std::u16string folded = FoldCase(path);
  const auto isThere = [&path, &folded](std::u16string_view ending, std::u16string_view lockEnding) {
    return folded.ends_with(FoldCase(std::u16string(ending))) &&
           FileExists(path.substr(0, path.size() - ending.size()) + std::u16string(lockEnding));
  };
  return isThere(u".mdb", u".ldb") || isThere(u".accdb", u".laccdb");
}

// The kind of damage that a broken rule of the checker tells.
EVerdict VerdictOfRule(std::string_view rule) {
  switch (rule.front()) {
    case 'A':
      return EVerdict::Header;
    case 'B':
    case 'G':
    case 'H':
    case 'P':
      return EVerdict::Catalogue;
    case 'C':
      return EVerdict::Definitions;
    case 'E':
      return EVerdict::Indexes;
    case 'F':
      return EVerdict::Maps;
    case 'D':
      if (rule == "D1" || rule == "D5") return EVerdict::Maps;
      return rule == "D2" || rule == "D3" || rule == "D4" ? EVerdict::Rows : EVerdict::LongValues;
    default:
      return EVerdict::Rows;
  }
}

CDamageSigns RunChecker(const CSource& source, CJobContext& job) {
  CDamageSigns signs{};
  SCheckOptions options;
  job.progress.Begin(source.GetPageCount());
  job.status.SetText(u"Checking pages");
  options.shouldStop = [&job] {
    job.progress.IncrementPos();
    return !job.repairing.IsRunning();
  };
  const SCheckReport report = CheckDatabase(source.GetPath(), options);
  if (report.verdict == ECheckVerdict::NotADatabase) signs[EVerdict::Header] = 1;
  if (report.verdict != ECheckVerdict::Checked) return signs;
  for (const auto& [rule, count] : report.counts)
    if (count.errors > 0) signs[VerdictOfRule(rule)] += count.errors;
  return signs;
}

// The kind of damage that a damaged page is a sign of.
EVerdict VerdictOfPage(uint64_t page, EPageKind kind) {
  if (page == kGlobalMapPage) return EVerdict::Maps;
  if (page >= kObjectsPage && page <= kRelationshipsPage) return EVerdict::Catalogue;
  using enum EVerdict;
  static constexpr std::array<EVerdict, static_cast<size_t>(EPageKind::Count_)> kVerdicts{
      Header,  Rows,    Definitions, Definitions, Rows, LongValues, Maps,
      Indexes, Indexes, Maps,        Rows,        Rows, Rows,       Rows};
  return kVerdicts[static_cast<size_t>(kind)];
}

}  // namespace

void SExamination::Add(const SPageReport& report) {
  EPageLook look = LookOf(report);
  if (std::ranges::binary_search(pagesWithLosses, report.page)) look = std::max(look, EPageLook::Losses);
  blocks.Add(report.page, look);
  ++looks[static_cast<size_t>(look)];
  ++counts[static_cast<size_t>(report.kind)][static_cast<size_t>(report.verdict)];
  if (report.verdict == EPageVerdict::Ok || report.verdict == EPageVerdict::Free) return;
  ++badPageCount;
  if (badPages.size() < kBadPagesKept) badPages.push_back(report);
}

void InspectPages(CSource& source, CJobContext& job, SExamination& examination) {
  CPageInspector inspector(job);
  examination.isDone =
      inspector.Inspect(source, [&examination](const SPageReport& report) { examination.Add(report); });
  examination.totals = inspector.GetTotals();
}

void ExamineFile(CSource& source, CJobContext& job, SExamination& examination) {
  InspectPages(source, job, examination);
  if (!examination.isDone) return;
  examination.writesCutOff = CountWritesCutOff(source);
  examination.hasLockFile = HasLockFile(source.GetPath());
  examination.pagesCutOff = CountPagesCutOff(source);
  // It takes the file for a database from its first byte on.
  if (source.GetFacts().start == 0 && examination.totals.Of(EPageVerdict::Unreadable) == 0)
    examination.checkedSigns = RunChecker(source, job);
}

CDamageSigns FindPageSigns(const SExamination& examination) {
  CDamageSigns signs{};
  // The kept ones are enough: signs are weighed by their kinds.
  for (const SPageReport& page : examination.badPages)
    if (page.verdict == EPageVerdict::Damaged) signs[VerdictOfPage(page.page, page.kind)] += 1;
  signs[EVerdict::Unreadable] += examination.totals.Of(EPageVerdict::Unreadable);
  signs[EVerdict::CutShort] += examination.pagesCutOff + (examination.totals.partialBytes > 0 ? 1 : 0);
  signs[EVerdict::Shifted] += examination.totals.leadingBytes > 0 ? 1 : 0;
  signs[EVerdict::Flagged] += examination.writesCutOff + (examination.hasLockFile ? 1 : 0);
  // Sound files have hardly a page that is neither written nor free.
  constexpr uint64_t kHollowPart = 4;
  const uint64_t hollow = examination.Of(EPageKind::Zero, EPageVerdict::Ok);
  if (hollow > 0 && hollow * kHollowPart >= examination.totals.pages) signs[EVerdict::Hollow] += hollow;
  return signs;
}

}  // namespace tolvane
