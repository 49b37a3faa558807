#include "engine/PageInspector.h"

#include "format/PageHead.h"
#include "format/PageSlots.h"
#include "status/Status.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kRowBounds = u"row offsets outside the page";
constexpr std::u16string_view kFreeBytes = u"free space does not match the content";
constexpr std::u16string_view kNoHeader = u"not a database header";
constexpr std::u16string_view kUnknownType = u"unknown page type";
constexpr std::u16string_view kNextPage = u"next page is not a definition";
constexpr std::u16string_view kDefinitionCounts = u"definition counts cannot be true";
constexpr std::u16string_view kOwnerGone = u"owner is no table definition";
constexpr std::u16string_view kChainGone = u"no definition leads here";

bool HasOwner(EPageKind kind) {
  return kind == EPageKind::Data || kind == EPageKind::EmptiedData || kind == EPageKind::IndexNode ||
         kind == EPageKind::IndexLeaf;
}

std::u16string_view TextOf(ESlotFault fault) {
  constexpr std::u16string_view kTexts[] = {
      u"more rows than a page can hold", kRowBounds, u"row offsets out of order", {}, kFreeBytes};
  return kTexts[static_cast<size_t>(fault)];
}

}  // namespace

std::u16string_view GetPageKindName(EPageKind kind) {
  static constexpr std::array<std::u16string_view, static_cast<size_t>(EPageKind::Count_)> kNames{
      u"header",     u"never written", u"table definition", u"definition, continued",
      u"rows",       u"long values",   u"usage map rows",   u"index node",
      u"index leaf", u"page map",      u"dropped table",    u"emptied rows",
      u"unknown",    u"unreadable"};
  return kind < EPageKind::Count_ ? kNames[static_cast<size_t>(kind)] : std::u16string_view{};
}

std::u16string_view GetPageVerdictName(EPageVerdict verdict) {
  static constexpr std::array<std::u16string_view, static_cast<size_t>(EPageVerdict::Count_)> kNames{
      u"ok", u"free", u"damaged", u"orphan", u"unreadable"};
  return verdict < EPageVerdict::Count_ ? kNames[static_cast<size_t>(verdict)] : std::u16string_view{};
}

bool CPageInspector::Inspect(CSource& source, const Sink& sink) {
  m_totals = {};
  m_kinds.clear();
  if (!source.IsOpen()) return false;
  m_source = &source;
  m_layout = &source.GetLayout();
  m_freePages = &source.GetFreePages();
  const SSourceFacts& facts = source.GetFacts();
  m_totals.isJet3 = facts.isJet3;
  m_totals.pageSize = facts.pageSize;
  m_totals.leadingBytes = facts.start;
  m_totals.partialBytes = facts.length % facts.pageSize;
  m_job.progress.Begin(2 * source.GetPageCount());
  m_job.status.SetText(u"Examining pages");
  return NoteKinds() && JudgePages(sink);
}

bool CPageInspector::NoteKinds() {
  const auto count = static_cast<size_t>(m_source->GetPageCount());
  m_kinds.assign(count, EPageKind::Unreadable);
  m_isContinuation.assign(count, false);
  std::vector<uint8_t> page(m_layout->pageSize);
  for (size_t number = 0; number < count; number++) {
    if (!m_job.repairing.IsRunning()) return false;
    m_job.progress.IncrementPos();
    if (!m_source->ReadPage(number, page)) continue;
    m_kinds[number] = KindOf(page, number);
    if (!IsPageOf(page, kPageDefinition) || m_freePages->IsFree(number)) continue;
    const uint32_t next = GetLittle<uint32_t>(page, kDefinitionNext);
    if (next != 0 && next < count) m_isContinuation[next] = true;
  }
  for (size_t number = 0; number < count; number++)
    if (m_kinds[number] == EPageKind::Definition && m_isContinuation[number])
      m_kinds[number] = EPageKind::DefinitionContinuation;
  return true;
}

bool CPageInspector::JudgePages(const Sink& sink) {
  std::vector<uint8_t> page(m_layout->pageSize);
  for (uint64_t number = 0; number < m_kinds.size(); number++) {
    if (!m_job.repairing.IsRunning()) return false;
    m_job.progress.IncrementPos();
    SPageReport report{.page = number, .kind = EPageKind::Unreadable, .verdict = EPageVerdict::Unreadable};
    if (m_source->ReadPage(number, page))
      report = Judge(page, number);
    else if (!m_source->GetPages().HasPlace(number * m_layout->pageSize))
      report = {.page = number,
                .kind = EPageKind::Unknown,
                .owner = SPageReport::kNoOwner,
                .verdict = EPageVerdict::Damaged,
                .reason = u"nowhere in the file: pages or bytes are missing here"};
    m_totals.pages++;
    m_totals.kinds[static_cast<size_t>(report.kind)]++;
    m_totals.verdicts[static_cast<size_t>(report.verdict)]++;
    sink(report);
  }
  return true;
}

EPageKind CPageInspector::KindOf(Page page, uint64_t number) const {
  if (number == 0) return EPageKind::Header;
  if (page[0] == kPageHeader && IsBlankPage(page)) return EPageKind::Zero;
  if (page[1] != kPageFormatted) return EPageKind::Unknown;
  switch (page[0]) {
    case kPageDefinition:
      return KindOfDefinition(page);
    case kPageIndexNode:
      return EPageKind::IndexNode;
    case kPageIndexLeaf:
      return EPageKind::IndexLeaf;
    case kPageMap:
      return EPageKind::MapPage;
    case kPageDroppedDefinition:
      return EPageKind::DroppedDefinition;
    case kPageEmptiedData:
      return EPageKind::EmptiedData;
    case kPageData:
      break;
    default:
      return EPageKind::Unknown;
  }
  const uint32_t owner = OwnerOf(page);
  if (owner == kOwnerLongValues) return EPageKind::LongValue;
  return owner == kOwnerMaps || owner == kGlobalMapPage ? EPageKind::UsageMap : EPageKind::Data;
}

EPageKind CPageInspector::KindOfDefinition(Page page) const {
  if (!HasDefinitionHead(page, *m_layout)) return EPageKind::Unknown;
  return IsFirstOfDefinition(page, *m_layout) ? EPageKind::Definition : EPageKind::DefinitionContinuation;
}

EPageKind CPageInspector::NotedKind(uint64_t page) const {
  return page < m_kinds.size() ? m_kinds[static_cast<size_t>(page)] : EPageKind::Unknown;
}

SPageReport CPageInspector::Judge(Page page, uint64_t number) const {
  SPageReport report{.page = number, .kind = NotedKind(number)};
  if (HasOwner(report.kind)) report.owner = OwnerOf(page);
  if (m_freePages->IsFree(number)) {
    report.verdict = EPageVerdict::Free;
    return report;
  }
  report.reason = FindFault(page, report.kind);
  if (!report.reason.empty()) {
    report.verdict = EPageVerdict::Damaged;
    return report;
  }
  report.reason = FindOwnerFault(report);
  if (!report.reason.empty()) report.verdict = EPageVerdict::Orphan;
  return report;
}

std::u16string_view CPageInspector::FindFault(Page page, EPageKind kind) const {
  switch (kind) {
    case EPageKind::Header:
      return IsPageOf(page, kPageHeader) ? std::u16string_view{} : kNoHeader;
    case EPageKind::Data:
    case EPageKind::LongValue:
    case EPageKind::UsageMap:
    case EPageKind::EmptiedData:
      return FindRowFault(page);
    case EPageKind::IndexNode:
    case EPageKind::IndexLeaf:
      return FindIndexFault(page);
    case EPageKind::Definition:
    case EPageKind::DefinitionContinuation:
      return FindDefinitionFault(page, kind);
    case EPageKind::Unknown:
      return kUnknownType;
    default:
      return {};
  }
}

std::u16string_view CPageInspector::FindRowFault(Page page) const {
  std::u16string_view text;
  CheckSlots(page, *m_layout, [&](const SSlotFault& fault) { text = TextOf(fault.kind); });
  return text;
}

std::u16string_view CPageInspector::FindIndexFault(Page page) const {
  const SIndexPageLayout& at = m_layout->index;
  const size_t end = EndOfEntries(page, at);
  if (end > at.Capacity()) return kRowBounds;
  const bool isExact = GetLittle<uint16_t>(page, kFreeBytesOffset) == at.Capacity() - end;
  return isExact ? std::u16string_view{} : kFreeBytes;
}

std::u16string_view CPageInspector::FindDefinitionFault(Page page, EPageKind kind) const {
  const uint32_t next = GetLittle<uint32_t>(page, kDefinitionNext);
  if (next != 0 && NotedKind(next) != EPageKind::DefinitionContinuation) return kNextPage;
  if (kind != EPageKind::Definition) return {};
  const SDefinitionLayout& at = m_layout->definition;
  const uint64_t columns = GetLittle<uint16_t>(page, at.columnCount);
  const uint64_t indexes = GetLittle<uint32_t>(page, at.realCount);
  const uint64_t least = at.headerSize + indexes * (at.statisticsSize + m_layout->realIndex.size) +
                         columns * m_layout->column.size;
  const bool isPossible = columns <= GetLittle<uint16_t>(page, at.columnsEver) &&
                          indexes <= GetLittle<uint32_t>(page, at.logicalCount) &&
                          least <= GetLittle<uint32_t>(page, at.length);
  return isPossible ? std::u16string_view{} : kDefinitionCounts;
}

std::u16string_view CPageInspector::FindOwnerFault(const SPageReport& report) const {
  if (report.kind == EPageKind::DefinitionContinuation)
    return m_isContinuation[static_cast<size_t>(report.page)] ? std::u16string_view{} : kChainGone;
  if (!HasOwner(report.kind) || report.kind == EPageKind::EmptiedData) return {};
  // The catalogue's definition is known without the file.
  if (report.owner == kObjectsPage) return {};
  const EPageKind owner = NotedKind(report.owner);
  return owner == EPageKind::Definition ? std::u16string_view{} : kOwnerGone;
}

}  // namespace tolvane
