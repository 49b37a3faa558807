// What the tests of the page parsers share: a repair that is running, with a work folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "engine/AccessRepair.h"
#include "engine/Source.h"
#include "model/AccessData.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "status/Status.h"
#include "store/WorkFolder.h"
#include "tests/format/KeyBytes.h"
#include "tests/support/PageBuilder.h"

namespace tolvane {

inline Bytes Hex(std::string_view digits) {
  return FromHex(digits);
}

class CEngineTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_folder.Create(GetTempFolder())) << "no folder to write to";
    CRepairingFileStatus::Instance().SetRunning(true);
    CRepairLog::Instance().Clear();
    CStatusProgress::Instance().SetText({});
    CProgressStatus::Instance().SetPos(0);
  }
  void TearDown() override { CRepairingFileStatus::Instance().SetRunning(false); }

  static std::string StatusText() { return ToUtf8(CStatusProgress::Instance().GetText()); }

 private:
  CRunFolder m_folder;
};

// A file of these bytes, opened.
class COpenedFile {
 public:
  explicit COpenedFile(std::span<const uint8_t> bytes) : m_file(bytes) { m_source.Open(m_file.GetPath()); }
  // Read in this format, whatever the bytes say.
  COpenedFile(std::span<const uint8_t> bytes, const SLayout& layout) : COpenedFile(bytes) {
    m_source.UseLayout(layout);
  }
  operator CSource&() { return m_source; }
  CSource* operator->() { return &m_source; }

 private:
  CTempFile m_file;
  CSource m_source;
};

// Tests of what both formats do alike.
class CAllFormats : public CEngineTest, public testing::WithParamInterface<const SLayout*> {
 protected:
  const SLayout& layout = *GetParam();
};
inline std::string FormatName(const testing::TestParamInfo<const SLayout*>& info) {
  return info.param->isJet3 ? "Jet3" : "Jet4";
}

inline STableSpec SmallTable() {
  STableSpec table;
  table.AddFixed(u"Id", kTypeLong, 4).AddVariable(u"Name", kTypeText, 100);
  return table;
}

inline Bytes SmallRow(const SLayout& layout, uint32_t id, std::u16string_view name) {
  return MakeRow(SmallTable(), layout, {Little(id, 4), StoredText(name, layout)});
}

// What a repair makes of a file, by its own definitions or by those of a template.
inline std::unique_ptr<CAccessData> Recover(const std::u16string& path, const SRecoveryRules& rules,
                                            const std::u16string& definitions = {}) {
  CAccessRepair repair(rules, ShownJob());
  repair.Repair(path, u"", definitions.empty() ? path : definitions);
  return repair.TakeData();
}
inline std::unique_ptr<CAccessData> Recover(const Bytes& bytes, const SRecoveryRules& rules) {
  return Recover(CTempFile(bytes).GetPath(), rules);
}

inline const CAccessTable* TableNamed(const CAccessData& data, std::u16string_view name) {
  const auto& tables = data.GetTables();
  const auto found = std::ranges::find_if(tables, [&](const auto& t) { return t->name == name; });
  return found != tables.end() ? found->get() : nullptr;
}

}  // namespace tolvane
