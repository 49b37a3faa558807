#include "engine/AccessVersionHandler.h"

#include <atomic>

#include "engine/Source.h"
#include "engine/ValidateData.h"

namespace tolvane {

namespace {

std::atomic<bool> g_isJet4{false};

}  // namespace

bool CAccessVersionHandler::IsJet4(CSource& source) const {
  if (!source.IsOpen()) return false;
  return source.GetHeader()[kHeaderVersion] != 0 || !CValidateData().IsJet3(source.GetPages());
}

bool CAccessVersionHandler::IsJet4Flag() {
  return g_isJet4.load();
}

void CAccessVersionHandler::ShowJet4Flag(bool isJet4) {
  g_isJet4.store(isJet4);
}

}  // namespace tolvane
