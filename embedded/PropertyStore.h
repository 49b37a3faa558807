// Properties as the database operations name them, turned into the blob that the catalogue holds.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "format/Layout.h"
#include "format/PropertyBlob.h"

namespace tolvane {

class CPropertyList {
 public:
  explicit CPropertyList(const SLayout& layout) : m_layout(layout) {}

  // Fails when the format cannot hold a name or value; nothing is added then.
  CDaoResult AddToObject(std::span<const CDaoProperty> properties);
  CDaoResult AddToColumn(std::u16string_view column, std::span<const CDaoProperty> properties);
  // All that a Jet 4 blob holds. What the format cannot hold is left out; Ok then carries a text that tells.
  CDaoResult AddBlob(std::span<const uint8_t> blob);
  [[nodiscard]] bool IsEmpty() const { return m_owners.empty(); }
  // Empty when there are none.
  [[nodiscard]] std::vector<uint8_t> MakeBlob() const;

 private:
  CDaoResult Add(uint16_t kind, std::u16string_view owner, std::span<const CDaoProperty> properties);
  CDaoResult Convert(const CDaoProperty& from, SStoredProperty& property) const;
  [[nodiscard]] CDaoResult Encode(std::u16string_view text, std::string& bytes) const;

  const SLayout& m_layout;
  std::vector<SPropertyOwner> m_owners;
};

// Properties that the engine looks for, made where the caller has none of that name.
CDaoProperty MakeTextProperty(std::u16string_view name, uint8_t type, std::u16string_view text);
CDaoProperty MakeByteProperty(std::u16string_view name, uint8_t type, std::vector<uint8_t> value);
void AddIfMissing(std::vector<CDaoProperty>& properties, CDaoProperty property);

}  // namespace tolvane
