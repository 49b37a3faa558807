#include "checker/SystemRow.h"

#include <vector>

#include "checker/DefinitionCheck.h"
#include "format/CompressedText.h"
#include "format/TextKey.h"

namespace tolvane {

std::u16string CSystemRow::GetText(uint16_t column) const {
  return DecodeStoredText(m_file, GetBytes(column));
}

std::string CSystemRow::GetNameKey(uint16_t column) const {
  const std::span<const uint8_t> stored = GetBytes(column);
  if (m_file.IsJet3()) return MakeNameKey(true, stored);
  std::vector<uint8_t> plain;
  AppendPlainUtf16(stored, plain);
  return MakeNameKey(false, plain);
}

}  // namespace tolvane
