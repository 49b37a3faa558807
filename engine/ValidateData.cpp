#include "engine/ValidateData.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "engine/DBFileReader.h"
#include "engine/JetLayout.h"
#include "status/Status.h"

namespace tolvane {

namespace {

constexpr uint32_t kPagesTried = 10;

}  // namespace

bool CValidateData::IsJet3(const std::u16string& path) {
  CDBFileReader reader;
  CErrorHandler handler;
  reader.SetPath(path);
  if (!reader.Open(handler)) return true;

  const uint64_t length = reader.GetLength();
  std::array<uint8_t, kJet3Layout.definition.signature.size()> head{};
  for (uint64_t page = 0; page < kPagesTried && (page + 1) * kJet3Layout.pageSize <= length; page++) {
    if (!CRepairingFileStatus::Instance().IsRunning()) return false;
    reader.SeekRead(head, page * kJet3Layout.pageSize, handler);
    if (head == kJet3Layout.definition.signature) return true;
  }
  return false;
}

}  // namespace tolvane
