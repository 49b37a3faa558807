#include "embedded/PropertyStore.h"

#include <algorithm>
#include <utility>

#include "embedded/StoredText.h"
#include "format/Value.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

constexpr size_t kLongestName = 0xFFFF;

CDaoResult Refuse(std::u16string_view property, std::u16string_view why) {
  std::u16string text = u"The property \"";
  text.append(property).append(u"\" cannot be stored: ").append(why).append(u".");
  return {EDaoError::InvalidArgument, std::move(text)};
}

}  // namespace

CDaoResult CPropertyList::AddToObject(std::span<const CDaoProperty> properties) {
  return Add(kPropertiesOfObject, {}, properties);
}

CDaoResult CPropertyList::AddToColumn(std::u16string_view column, std::span<const CDaoProperty> properties) {
  return Add(kPropertiesOfColumn, column, properties);
}

CDaoResult CPropertyList::Add(uint16_t kind, std::u16string_view owner,
                              std::span<const CDaoProperty> properties) {
  if (properties.empty()) return CDaoResult::Ok();
  SPropertyOwner made;
  made.kind = kind;
  if (CDaoResult result = Encode(owner, made.name); !result.IsOk()) return result;
  for (const CDaoProperty& property : properties)
    if (CDaoResult result = Convert(property, made.properties.emplace_back()); !result.IsOk()) return result;
  m_owners.push_back(std::move(made));
  return CDaoResult::Ok();
}

CDaoResult CPropertyList::AddBlob(std::span<const uint8_t> blob) {
  CDaoResult told;
  if (blob.empty()) return told;
  std::vector<SPropertyOwner> owners;
  if (!DecodePropertyBlob(false, blob, owners)) told.text = u"Its properties cannot be read to their end";
  for (SPropertyOwner& owner : owners) {
    SPropertyOwner made{owner.kind, {}, {}};
    CDaoResult result = Encode(UnitsOf(AsBytes(owner.name)), made.name);
    for (size_t i = 0; result.IsOk() && i < owner.properties.size(); ++i) {
      SStoredProperty& from = owner.properties[i];
      SStoredProperty property;
      CDaoResult converted =
          Convert({UnitsOf(AsBytes(from.name)), from.type, false, std::move(from.value)}, property);
      property.flags = from.flags;
      if (converted.IsOk()) made.properties.push_back(std::move(property));
      if (told.text.empty()) told.text = std::move(converted.text);
    }
    if (told.text.empty()) told.text = std::move(result.text);
    if (!made.properties.empty()) m_owners.push_back(std::move(made));
  }
  return told;
}

CDaoResult CPropertyList::Convert(const CDaoProperty& from, SStoredProperty& property) const {
  if (CDaoResult result = Encode(from.name, property.name); !result.IsOk()) return result;
  property.flags = from.flags;
  property.type = from.type;
  property.value = from.value;
  if (IsTextType(from.type) && m_layout.text.IsCodePage()) {
    std::string bytes;
    if (CDaoResult result = Encode(UnitsOf(from.value), bytes); !result.IsOk())
      return Refuse(from.name, u"its text holds characters that the code page does not hold");
    property.value.assign(bytes.begin(), bytes.end());
  }
  return property.value.size() <= kLongestProperty ? CDaoResult::Ok()
                                                   : Refuse(from.name, u"its value is too long");
}

CDaoResult CPropertyList::Encode(std::u16string_view text, std::string& bytes) const {
  std::vector<uint8_t> stored;
  if (m_layout.text.IsCodePage()) {
    if (AppendStoredText(m_layout.text, text, ETextForm::Plain, stored).replaced != 0)
      return Refuse(text, u"its name holds characters that the code page does not hold");
  } else {
    AppendUnits(stored, text);
  }
  if (stored.size() > kLongestName) return Refuse(text, u"its name is too long");
  bytes.assign(stored.begin(), stored.end());
  return CDaoResult::Ok();
}

std::vector<uint8_t> CPropertyList::MakeBlob() const {
  if (IsEmpty()) return {};
  return EncodePropertyBlob(m_layout.text.IsCodePage(), m_owners);
}

CDaoProperty MakeTextProperty(std::u16string_view name, uint8_t type, std::u16string_view text) {
  CDaoProperty property{std::u16string(name), type, type == kTypeMemo ? kPropertyOfEngine : uint8_t{0}, {}};
  AppendUnits(property.value, text);
  return property;
}

CDaoProperty MakeByteProperty(std::u16string_view name, uint8_t type, std::vector<uint8_t> value) {
  return {std::u16string(name), type, kPropertyOfEngine, std::move(value)};
}

void AddIfMissing(std::vector<CDaoProperty>& properties, CDaoProperty property) {
  const auto isSame = [&](const CDaoProperty& other) { return EqualsIgnoreCase(other.name, property.name); };
  if (std::ranges::none_of(properties, isSame)) properties.push_back(std::move(property));
}

}  // namespace tolvane
