// What one repair needs and what it left.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "engine/AccessRepair.h"
#include "engine/Source.h"

namespace tolvane {

// 1 is Advance (template) mode, anything else Standard mode.
class CRepairModeStatus {
 public:
  static constexpr int32_t kStandard = 0;
  static constexpr int32_t kAdvance = 1;

  void SetMode(int32_t mode) { m_mode = mode; }
  [[nodiscard]] int32_t GetMode() const { return m_mode; }
  [[nodiscard]] bool IsAdvance() const { return m_mode == kAdvance; }

 private:
  int32_t m_mode = kStandard;
};

// The mode, the two paths and the result. The main thread changes it only while no worker runs; while the
// repair's worker runs, it alone touches the result.
class COvRepairFileManager {
 public:
  [[nodiscard]] CRepairModeStatus& GetMode() { return m_mode; }
  [[nodiscard]] const CRepairModeStatus& GetMode() const { return m_mode; }
  // For the next repair; a save goes by those of the repair that it saves.
  [[nodiscard]] ERules GetRules() const { return m_rules; }
  void SetRules(ERules rules) { m_rules = rules; }
  // The last successful repair; null before the first and after a stopped one.
  void SetRepair(std::unique_ptr<CAccessRepair> repair) { m_repair = std::move(repair); }
  // The recovered tables; null when there are none.
  [[nodiscard]] const CAccessData* GetData() const { return m_repair ? m_repair->GetData() : nullptr; }

  [[nodiscard]] std::u16string GetCorruptedPath() const { return m_corruptedPath; }
  void SetCorruptedPath(std::u16string_view path) { m_corruptedPath = path; }
  [[nodiscard]] std::u16string GetTemplatePath() const { return m_templatePath; }
  void SetTemplatePath(std::u16string_view path) { m_templatePath = path; }
  // Files that are open already, for the next repair instead of the paths; not owned. The second may be the
  // first.
  void SetSources(CSource* source, CSource* definitions) { m_source = source, m_definitions = definitions; }
  [[nodiscard]] CSource* GetSource() const { return m_source; }
  [[nodiscard]] CSource* GetDefinitions() const { return m_definitions; }

 private:
  CRepairModeStatus m_mode;
  ERules m_rules = kDefaultRules;
  std::unique_ptr<CAccessRepair> m_repair;
  std::u16string m_corruptedPath;
  std::u16string m_templatePath;
  CSource* m_source = nullptr;
  CSource* m_definitions = nullptr;
};

}  // namespace tolvane
