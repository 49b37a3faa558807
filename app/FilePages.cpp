#include "app/FilePages.h"

#include <algorithm>
#include <vector>

#include "app/report/Report.h"
#include "engine/SourceCheck.h"
#include "format/PageHead.h"
#include "platform/Text.h"

namespace tolvane {

void CFilePages::Start(const CAccessData& data, const std::u16string& path) {
  Stop();
  m_data = &data;
  m_path = path;
  m_examination.emplace();
  m_context.repairing.SetRunning(true);
  if (!m_thread.Start([this] { RunGuarded([this] { Inspect(); }); })) m_examination.reset();
}

void CFilePages::Stop() {
  m_context.Stop();
  m_thread.Join();
  m_examination.reset();
  m_data = nullptr;
}

void CFilePages::Inspect() {
  CSource source(m_data->GetRules());
  if (OpenSource(source, m_path).state != ESourceState::Ok) return;
  m_examination->pagesWithLosses = FindPagesWithLosses(*m_data);
  InspectPages(source, m_context, *m_examination);
}

const CPageBlocks* CFilePages::GetBlocks() const {
  const bool isKnown = m_examination && !m_thread.IsWorking() && m_examination->isDone;
  return isKnown ? &m_examination->blocks : nullptr;
}

std::u16string CFilePages::DescribeAll() const {
  const CPageBlocks* const blocks = GetBlocks();
  if (!blocks) return {};
  std::u16string text = ToGroupedDecimal(blocks->GetPageCount()) + u" pages";
  for (size_t look = static_cast<size_t>(EPageLook::Count_); look-- > 0;) {
    const uint64_t count = m_examination->looks[look];
    if (count > 0)
      text +=
          u", " + FromAscii(GetPageLookName(static_cast<EPageLook>(look))) + u": " + ToGroupedDecimal(count);
  }
  return text;
}

std::u16string CFilePages::Describe(uint64_t firstPage, uint64_t pages, EPageLook look) const {
  const std::u16string what = u": " + FromAscii(GetPageLookName(look));
  if (pages != 1)
    return u"Pages " + ToGroupedDecimal(firstPage) + u" to " + ToGroupedDecimal(firstPage + pages - 1) +
           what + u", among others";
  std::u16string text = u"Page " + ToGroupedDecimal(firstPage) + what;
  if (const std::u16string table = FindTableOf(firstPage); !table.empty()) text += u", of the table " + table;
  const SPageReport* const report = FindReport(firstPage);
  if (!report) return text;
  text += u". It is a page of the kind: " + std::u16string(GetPageKindName(report->kind));
  if (!report->reason.empty()) text += u"; " + std::u16string(report->reason);
  return text;
}

const SPageReport* CFilePages::FindReport(uint64_t page) const {
  const auto& bad = m_examination->badPages;
  const auto found = std::ranges::lower_bound(bad, page, {}, &SPageReport::page);
  return found != bad.end() && found->page == page ? &*found : nullptr;
}

// By the owner that stands in the page; a definition is its own.
std::u16string CFilePages::FindTableOf(uint64_t page) const {
  CSource source(m_data->GetRules());
  if (OpenSource(source, m_path).state != ESourceState::Ok) return {};
  const SLayout& layout = source.GetLayout();
  std::vector<uint8_t> bytes(layout.pageSize);
  if (!source.ReadPage(page, bytes) || !HasPageType(bytes)) return {};
  const bool isDefinition = IsPageOf(bytes, kPageDefinition);
  const uint64_t owner = isDefinition ? page : OwnerOf(bytes);
  const CAccessTable* const table = m_data->GetTables().FindTable(owner * layout.pageSize);
  return table ? table->name : std::u16string();
}

}  // namespace tolvane
