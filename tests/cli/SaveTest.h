// What the tests of the whole way share: a database is recovered and saved by the embedded engine.
#pragma once

#include <memory>
#include <string>

#include "embedded/EmbeddedEngine.h"
#include "tests/engine/EngineTest.h"
#include "writer/AccessSaveRepairedFile.h"

namespace tolvane {

class CSaveTest : public CEngineTest {
 protected:
  SSaveSummary Save(const CAccessData& data, const std::u16string& path,
                    EOutputFormat format = EOutputFormat::ByRules) {
    CAccessSaveRepairedFile writer(*m_engine, ShownJob());
    writer.SetData(&data);
    writer.SetOutputPath(path);
    writer.SetFormat(format);
    CSavingStatus::Instance().SetSaving(true);
    EXPECT_TRUE(writer.Save()) << ToUtf8(writer.GetSummary().failure);
    CSavingStatus::Instance().SetSaving(false);
    return writer.GetSummary();
  }
  static void ExpectOk(const CDaoResult& result) { EXPECT_TRUE(result.IsOk()) << ToUtf8(result.text); }

  const std::unique_ptr<CDaoEngine> m_engine = MakeEmbeddedEngine();
};

}  // namespace tolvane
