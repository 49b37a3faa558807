// The properties of an object and of its columns as the damaged file stores them, made into what the model
// keeps.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/PropertyBlob.h"
#include "model/AccessData.h"

namespace tolvane {

struct SOwnedProperties {
  uint16_t kind = kPropertiesOfObject;
  std::u16string column;  // of kPropertiesOfColumn
  std::vector<SProperty> properties;
};

// Names and texts of a Jet 3 source leave its code page. False when the blob cannot be followed to its end:
// what is whole is there.
bool TakeObjectProperties(const SSourceFacts& source, std::span<const uint8_t> blob,
                          std::vector<SOwnedProperties>& owners);

// By its name, whatever the case; null where there is none.
const SProperty* FindProperty(std::span<const SProperty> properties, std::u16string_view name);
// The units of a text; empty for null and for other types.
std::u16string TextOf(const SProperty* property);
// A yes/no takes one, two or four bytes. False for null.
bool IsYes(const SProperty* property);

}  // namespace tolvane
