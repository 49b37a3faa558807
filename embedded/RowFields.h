// Sets fields of a row whose values stand in the row itself: texts, numbers, bytes, short memos.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dao/dao.h"
#include "embedded/StoredText.h"
#include "format/RowEncoder.h"

namespace tolvane {

// Why a value was not stored, for people.
CDaoResult WithField(EDaoError code, const SColumnDefinition& column, std::u16string_view why);

class CRowFields {
 public:
  // The layout outlives the object.
  explicit CRowFields(const SLayout& layout) : m_layout(layout) {}

  // A text column; `units` are UTF-16LE.
  CDaoResult SetText(const SColumnDefinition& column, std::span<const uint8_t> units, CRowEncoder& row,
                     STextLoss& loss);
  // A memo that is short enough to stay in its row, unless that gets too long. False, and nothing is set,
  // for others.
  bool SetShortMemo(const SColumnDefinition& column, std::span<const uint8_t> units, CRowEncoder& row,
                    STextLoss& loss);
  // A column of any type that holds neither texts nor long values.
  CDaoResult SetBytes(const SColumnDefinition& column, const SValue& value, CRowEncoder& row);

 private:
  [[nodiscard]] static bool CanCompress(std::span<const uint8_t> units);

  const SLayout& m_layout;
  std::u16string m_text;           // the text being set
  std::vector<uint8_t> m_storage;  // and its stored form
};

}  // namespace tolvane
