// Recovered tables with rows in a work folder of their own, and a writer on a recording database engine.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "status/Status.h"
#include "store/AccessTableDataFile.h"
#include "store/WorkFolder.h"
#include "tests/writer/FakeDao.h"
#include "writer/AccessSaveRepairedFile.h"

namespace tolvane {

using Lines = std::vector<std::string>;
using Row = std::vector<std::u16string>;

struct STestColumn {
  std::u16string_view name;
  uint8_t type = kTypeText;
  uint16_t length = 50;
  uint8_t flags = 0;
};

class CWriterTest : public testing::Test {
 protected:
  explicit CWriterTest(const SRecoveryRules& rules = kStandardRules) : m_data(rules, m_folder.GetPath()) {}

  void SetUp() override {
    ASSERT_TRUE(m_hasFolder) << "no folder to write to";
    CSavingStatus::Instance().SetSaving(true);
    CRepairLog::Instance().Clear();
    m_writer.SetData(&m_data);
    m_writer.SetOutputPath(InFolder(u"new.mdb"));
  }
  void TearDown() override { CSavingStatus::Instance().SetSaving(false); }

  std::u16string InFolder(std::u16string_view name) const {
    return m_folder.GetPath() + std::u16string(name);
  }

  // Columns are numbered from 1.
  CAccessTable& AddTable(std::u16string_view name, const std::vector<STestColumn>& columns) {
    CAccessTable& table = m_data.GetTables().AddTable(4096 * (m_data.GetTables().GetCount() + 10));
    table.name = name;
    uint16_t number = 0;
    for (const STestColumn& given : columns) {
      CAccessColumn column;
      column.SetName(given.name);
      column.type = given.type;
      column.length = given.length;
      column.flags = given.flags;
      column.number = ++number;
      table.columns.Add(std::move(column));
    }
    return table;
  }

  static void WriteRows(CAccessTable& table, const std::vector<Row>& rows) {
    CAccessTableDataFile file(GetWorkFolder());
    ASSERT_TRUE(file.CreateDataFile(table.GetDefinitionOffset()));
    for (const Row& row : rows)
      for (const std::u16string& cell : row) file.WriteValue(cell);
    file.CloseDataFile();
    table.header.rowCount = static_cast<uint32_t>(rows.size());
  }

  // The lines of the save from the first that begins with `start` on.
  Lines CallsFrom(std::string_view start) const {
    auto call = m_engine.log.calls.begin();
    while (call != m_engine.log.calls.end() && !call->starts_with(start)) ++call;
    return {call, m_engine.log.calls.end()};
  }

  static std::string GetLog() { return ToUtf8(CRepairLog::Instance().Get()); }
  const SSaveSummary& GetSummary() const { return m_writer.GetSummary(); }
  // All that the summary of the save says: its counts but those that are 0, then losses, notes and the
  // failure.
  Lines Outcome() const {
    const SSaveSummary& summary = GetSummary();
    std::string counts;
    for (const auto& [word, count] : {std::pair{"tables", summary.tablesSaved},
                                      {"records", summary.recordsSaved},
                                      {"dropped values", summary.fieldsDropped},
                                      {"empty rows", summary.emptyRowsDropped},
                                      {"lost columns", summary.columnsLost},
                                      {"lost indexes", summary.indexesLost},
                                      {"queries", summary.queriesSaved},
                                      {"changed queries", summary.queriesChanged},
                                      {"lost queries", summary.queriesLost},
                                      {"skipped queries", summary.queriesSkipped},
                                      {"relations", summary.relationsSaved},
                                      {"weakened relations", summary.relationsWeakened},
                                      {"lost relations", summary.relationsLost},
                                      {"lost system rows", summary.systemRowsLost}})
      if (count != 0) counts += (counts.empty() ? "" : ", ") + std::to_string(count) + " " + word;
    Lines lines{counts};
    for (const SSaveLoss& loss : summary.losses)
      lines.push_back(ToUtf8(loss.table) + " lost " + std::to_string(loss.records) + " records, " +
                      std::to_string(loss.fields) + " values: " + ToUtf8(loss.reason));
    for (const std::u16string& note : summary.notes) lines.push_back(ToUtf8(note));
    if (!summary.failure.empty()) lines.push_back("failure: " + ToUtf8(summary.failure));
    return lines;
  }

  // The refusals of a test: lines that begin with `start` get `code`, the first `times` times.
  void Refuse(std::string start, EDaoError code, std::u16string text, int times = 1 << 20) {
    m_engine.log.refuse = [start = std::move(start), code, text = std::move(text),
                           times](const std::string& line) mutable -> CDaoResult {
      if (!line.starts_with(start) || times-- <= 0) return CDaoResult::Ok();
      return {code, text};
    };
  }

  CRunFolder m_folder;
  bool m_hasFolder = m_folder.Create(GetTempFolder());  // before what keeps its files there
  CAccessData m_data;
  CFakeEngine m_engine;
  CAccessSaveRepairedFile m_writer{m_engine, ShownJob()};
};

}  // namespace tolvane
