#include "checker/PropertyCheck.h"

#include <vector>

#include "format/PropertyBlob.h"

namespace tolvane {

void CheckProperties(SCheckContext& context, std::span<const uint8_t> blob, SPlace place) {
  std::vector<SPropertyOwner> owners;
  if (!DecodePropertyBlob(context.file.IsJet3(), blob, owners))
    context.findings.Error("P1", place, u"the properties of the object cannot be read to their end");
}

}  // namespace tolvane
