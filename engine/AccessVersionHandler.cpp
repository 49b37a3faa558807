#include "engine/AccessVersionHandler.h"

#include <array>
#include <atomic>
#include <cstdint>

#include "engine/DatabaseStart.h"
#include "engine/JetLayout.h"
#include "engine/ValidateData.h"
#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"

namespace tolvane {

namespace {

std::atomic<bool> g_isJet4{false};

constexpr size_t kHeaderBytes = 512;

}  // namespace

bool CAccessVersionHandler::IsJet4(const std::u16string& path) {
  CFileCust file;
  if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting)) return false;
  std::array<uint8_t, kHeaderBytes> header{};
  CErrorHandler handler;
  file.ReadAt(FindDatabaseStart(file), header, handler);
  file.Close();
  const bool isJet4 = header[kVersionByte] != 0 || !CValidateData().IsJet3(path);
  g_isJet4.store(isJet4);
  return isJet4;
}

bool CAccessVersionHandler::IsJet4Flag() {
  return g_isJet4.load();
}

}  // namespace tolvane
