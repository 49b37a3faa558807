#include "render/ObjectProperties.h"

#include <algorithm>
#include <utility>

#include "format/Bytes.h"
#include "format/Value.h"
#include "platform/CodePage.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

class CWidener {
 public:
  explicit CWidener(const SSourceFacts& source) : m_source(source) {}

  [[nodiscard]] std::u16string Widen(std::span<const uint8_t> bytes) const {
    if (!m_source.isJet3) return UnitsOf(bytes);
    std::u16string units;
    DecodeCodePage(m_source.codePage, bytes, units);
    return units;
  }
  [[nodiscard]] SProperty Widen(SStoredProperty& stored) const {
    SProperty property{Widen(AsBytes(stored.name)), stored.type, stored.flags, std::move(stored.value)};
    if (!m_source.isJet3 || !IsTextType(property.type)) return property;
    const std::u16string units = Widen(property.value);
    property.value.clear();
    AppendUnits(property.value, units);
    return property;
  }

 private:
  const SSourceFacts& m_source;
};

}  // namespace

bool TakeObjectProperties(const SSourceFacts& source, std::span<const uint8_t> blob,
                          std::vector<SOwnedProperties>& owners) {
  std::vector<SPropertyOwner> stored;
  const bool isWhole = DecodePropertyBlob(source.isJet3, blob, stored);
  const CWidener widener(source);
  owners.clear();
  for (SPropertyOwner& from : stored) {
    SOwnedProperties& owner = owners.emplace_back();
    owner.kind = from.kind;
    owner.column = widener.Widen(AsBytes(from.name));
    for (SStoredProperty& property : from.properties) owner.properties.push_back(widener.Widen(property));
  }
  return isWhole;
}

const SProperty* FindProperty(std::span<const SProperty> properties, std::u16string_view name) {
  const auto found = std::ranges::find_if(
      properties, [name](const SProperty& property) { return EqualsIgnoreCase(property.name, name); });
  return found == properties.end() ? nullptr : &*found;
}

std::u16string TextOf(const SProperty* property) {
  return property != nullptr && IsTextType(property->type) ? UnitsOf(property->value) : std::u16string();
}

bool IsYes(const SProperty* property) {
  return property != nullptr && property->type == kTypeBoolean &&
         std::ranges::any_of(property->value, [](uint8_t byte) { return byte != 0; });
}

}  // namespace tolvane
