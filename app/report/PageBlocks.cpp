#include "app/report/PageBlocks.h"

#include <algorithm>
#include <array>

namespace tolvane {

std::string_view GetPageLookName(EPageLook look) {
  static constexpr std::array<std::string_view, static_cast<size_t>(EPageLook::Count_)> kNames{
      "never written",    "free",   "index",        "usage map",           "long values",         "rows",
      "table definition", "header", "unknown kind", "belongs to no table", "rows or values lost", "damaged",
      "unreadable"};
  return look < EPageLook::Count_ ? kNames[static_cast<size_t>(look)] : std::string_view{};
}

namespace {

EPageLook LookOfKind(EPageKind kind) {
  using enum EPageLook;
  static constexpr std::array<EPageLook, static_cast<size_t>(EPageKind::Count_)> kLooks{
      Header, NeverWritten, Definition, Definition, Rows, LongValues,  UsageMap,
      Index,  Index,        UsageMap,   Free,       Free, UnknownKind, UnknownKind};
  return kLooks[static_cast<size_t>(kind)];
}

}  // namespace

EPageLook LookOf(const SPageReport& report) {
  switch (report.verdict) {
    case EPageVerdict::Unreadable:
      return EPageLook::Unreadable;
    case EPageVerdict::Damaged:
      return EPageLook::Damaged;
    case EPageVerdict::Orphan:
      return EPageLook::Orphan;
    case EPageVerdict::Free:
      return EPageLook::Free;
    default:
      return LookOfKind(report.kind);
  }
}

void CPageBlocks::Add(uint64_t page, EPageLook look) {
  auto position = static_cast<size_t>(page / m_pagesPerBlock);
  if (position >= m_looks.size() && m_looks.size() == kMostBlocks) {
    Halve();
    position = static_cast<size_t>(page / m_pagesPerBlock);
  }
  if (position < m_looks.size()) {
    m_looks[position] = std::max(m_looks[position], look);
  } else {
    m_looks.push_back(look);
  }
  m_pages = page + 1;
}

CPageBlocks CPageBlocks::Reduce(size_t mostBlocks) const {
  CPageBlocks reduced = *this;
  while (reduced.m_looks.size() > mostBlocks) reduced.Halve();
  return reduced;
}

void CPageBlocks::Halve() {
  const size_t half = (m_looks.size() + 1) / 2;
  for (size_t i = 0; i < half; ++i)
    m_looks[i] = std::max(m_looks[2 * i], m_looks[std::min(2 * i + 1, m_looks.size() - 1)]);
  m_looks.resize(half);
  m_pagesPerBlock *= 2;
}

}  // namespace tolvane
