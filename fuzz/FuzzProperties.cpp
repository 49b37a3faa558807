// Property blobs: what is read of one, written again, reads back as the same.
#include "format/PropertyBlob.h"
#include "fuzz/FuzzInput.h"

namespace tolvane {
namespace {

bool AreSame(const SStoredProperty& one, const SStoredProperty& other) {
  return one.name == other.name && one.flags == other.flags && one.type == other.type &&
         one.value == other.value;
}

bool AreSame(const SPropertyOwner& one, const SPropertyOwner& other) {
  return one.kind == other.kind && one.name == other.name &&
         std::ranges::equal(one.properties, other.properties,
                            [](const SStoredProperty& a, const SStoredProperty& b) { return AreSame(a, b); });
}

bool CanWrite(const std::vector<SPropertyOwner>& owners) {
  for (const SPropertyOwner& owner : owners)
    for (const SStoredProperty& property : owner.properties)
      if (property.value.size() > kLongestProperty || property.name.size() > kLongestPropertyName)
        return false;
  return true;
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tolvane;
  CFuzzInput input(data, size);
  const bool isJet3 = input.TakeByte() % 2 == 0;
  std::vector<SPropertyOwner> owners, again;
  if (!DecodePropertyBlob(isJet3, input.Rest(), owners) || !CanWrite(owners)) return 0;
  Require(DecodePropertyBlob(isJet3, EncodePropertyBlob(isJet3, owners), again));
  Require(std::ranges::equal(owners, again, [](const SPropertyOwner& one, const SPropertyOwner& other) {
    return AreSame(one, other);
  }));
  return 0;
}
