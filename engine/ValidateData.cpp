#include "engine/ValidateData.h"

#include <array>
#include <cstdint>

#include "engine/PageReader.h"
#include "format/Layout.h"

namespace tolvane {

namespace {

constexpr uint32_t kPagesTried = 10;

}  // namespace

bool CValidateData::IsJet3(CPageReader& pages) const {
  if (!pages.IsOpen()) return true;
  std::array<uint8_t, kLayoutJet3.definition.signature.size()> head{};
  for (uint64_t page = 0; page < kPagesTried && page < pages.GetPageCount(kLayoutJet3.pageSize); page++) {
    pages.ReadPartialPage(page * kLayoutJet3.pageSize, head);
    if (head == kLayoutJet3.definition.signature) return true;
  }
  return false;
}

}  // namespace tolvane
