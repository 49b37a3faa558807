#include "checker/Finding.h"

#include <algorithm>
#include <utility>

namespace tolvane {
namespace {

constexpr size_t kMostNotes = 100;

}  // namespace

void CFindings::Add(ESeverity severity, std::string_view rule, SPlace place, std::u16string text) {
  SRuleCount& count = m_counts[rule];
  if (count.errors + count.doubts < m_keptPerRule)
    m_findings.push_back({severity, rule, place, m_table, std::move(text)});
  (severity == ESeverity::Error ? count.errors : count.doubts)++;
  if (severity == ESeverity::Error) m_errors++;
}

void CFindings::AddNote(std::u16string text) {
  if (m_notes.size() < kMostNotes && std::ranges::find(m_notes, text) == m_notes.end())
    m_notes.push_back(std::move(text));
}

}  // namespace tolvane
