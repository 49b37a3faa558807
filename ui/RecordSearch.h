// The search through the preview, a piece at a time so that the window stays alive.
#pragma once

#include <optional>
#include <string>

#include "app/RecordStore.h"

namespace tolvane {

class CRecordSearch {
 public:
  enum class EState : uint8_t { Idle, Searching, Found, NotFound };

  // From the cell after `from`, once round.
  void Begin(std::u16string text, std::optional<CRecordStore::SPlace> from);
  void Cancel() { m_state = EState::Idle; }
  // Looks at the next rows. With Found, GetPlace tells where.
  EState Continue(const CRecordStore& records);
  [[nodiscard]] EState GetState() const { return m_state; }
  [[nodiscard]] CRecordStore::SPlace GetPlace() const { return m_place; }
  [[nodiscard]] const std::u16string& GetText() const { return m_text; }

 private:
  std::u16string m_text;
  std::optional<CRecordStore::SPlace> m_from;
  CRecordStore::SPlace m_place;
  size_t m_lookedAt = 0;  // items
  uint32_t m_generation = 0;
  EState m_state = EState::Idle;
};

}  // namespace tolvane
