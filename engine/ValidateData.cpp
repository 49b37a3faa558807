#include "engine/ValidateData.h"

#include <array>
#include <cstdint>

#include "engine/JetLayout.h"
#include "engine/PageReader.h"

namespace tolvane {

namespace {

constexpr uint32_t kPagesTried = 10;

}  // namespace

bool CValidateData::IsJet3(CPageReader& pages) const {
  if (!pages.IsOpen()) return true;
  std::array<uint8_t, kJet3Layout.definition.signature.size()> head{};
  for (uint64_t page = 0; page < kPagesTried && page < pages.GetPageCount(kJet3Layout.pageSize); page++) {
    pages.ReadPartialPage(page * kJet3Layout.pageSize, head);
    if (head == kJet3Layout.definition.signature) return true;
  }
  return false;
}

}  // namespace tolvane
