#include "ui/RecordSearch.h"

namespace tolvane {

namespace {

// Items a piece: few, as each may hold a long memo.
constexpr size_t kPiece = 100;

}  // namespace

void CRecordSearch::Begin(std::u16string text, std::optional<CRecordStore::SPlace> from) {
  m_text = std::move(text);
  m_from = from;
  m_lookedAt = 0;
  m_generation = 0;
  m_state = m_text.empty() ? EState::Idle : EState::Searching;
}

CRecordSearch::EState CRecordSearch::Continue(const CRecordStore& records) {
  if (m_state != EState::Searching) return m_state;
  if (m_lookedAt == 0) m_generation = records.GetGeneration();
  if (m_generation != records.GetGeneration()) return m_state = EState::Idle;
  CRecordStore::SPlace lookedTo;
  if (const auto found = records.Find(m_text, m_from, kPiece, lookedTo)) {
    m_place = *found;
    return m_state = EState::Found;
  }
  m_from = lookedTo;
  m_lookedAt += kPiece;
  // The first item is looked at twice: from the start cell on, and up to it at the end.
  if (m_lookedAt > records.GetItemCount() + kPiece) m_state = EState::NotFound;
  return m_state;
}

}  // namespace tolvane
