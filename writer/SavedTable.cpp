#include "writer/SavedTable.h"

namespace tolvane {

namespace {
void KeepFirst(std::u16string& reason, const std::u16string& other) {
  if (reason.empty()) reason = other;
}
}  // namespace

bool EndsSave(EDaoError code) {
  return code == EDaoError::DiskFull || code == EDaoError::DiskError || code == EDaoError::EngineGone;
}

void LoseRecords(SSavedTable& saved, uint64_t count, const std::u16string& reason) {
  if (count == 0) return;
  saved.loss.records += count;
  KeepFirst(saved.loss.reason, reason);
}

void LoseField(SSavedTable& saved, const std::u16string& reason) {
  ++saved.loss.fields;
  KeepFirst(saved.loss.reason, reason);
}

}  // namespace tolvane
