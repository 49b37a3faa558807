// What a report tells of one file and what was done with it: plain data, put together from the results of a
// run, and printed by somebody else.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/Losses.h"
#include "app/QueryList.h"
#include "app/report/Examination.h"
#include "app/report/Verdict.h"
#include "model/AccessData.h"
#include "writer/RelationReader.h"
#include "writer/SavedTable.h"

namespace tolvane {

struct SReportTable {
  const CAccessTable* table;
  STableRows rows;
};

// One place of damage.
struct SReportLoss {
  EDamage kind;
  CDamageLedger::SPlace place;
};

// Those of one table, or of none; a long list is shortened, and `count` tells its whole length.
struct SReportLosses {
  const CAccessTable* table = nullptr;  // null: of no table that is known
  uint64_t count = 0;
  std::vector<SReportLoss> shown{};
};

// What was asked for, in words of the front end.
struct SReportTask {
  std::string_view command;  // "repair"
  std::string_view version;  // of the program
  std::u16string source;
  std::u16string templatePath{};  // empty: none
  ERules rules = kDefaultRules;
  bool withSystemTables = false;
  std::u16string problem{};      // why there is no result; empty when there is one
  std::optional<double> date{};  // UTC, for a report that is to be the same each time; nothing: the clock's
};

struct SReport {
  SReportTask task;
  double date = 0;  // days since 30 December 1899; local unless the task names one
  SSourceFacts source{};
  SVerdict verdict{};
  SVerdictFacts facts{};
  const SExamination* examination = nullptr;  // null: the file was not examined
  // Of a recovery; null where there was none, and then there is nothing of what follows.
  const CAccessData* data = nullptr;
  std::vector<SReportTable> tables{};
  std::vector<SListedQuery> queries{};
  std::vector<SRecoveredRelation> relations{};
  std::vector<SReportLosses> losses{};  // in the order of the tables, those of no table first
  // Of a save; null where nothing was saved.
  const SSaveSummary* saved = nullptr;
  std::u16string outputPath{};
  std::u16string_view outputFormat{};
};

// What the collector looks at. Everything outlives the report.
struct SReportSources {
  const CSource* source = nullptr;
  bool isEncrypted = false;
  bool isNoDatabase = false;  // empty, shorter than a page or another kind of file
  const SExamination* examination = nullptr;
  const CAccessData* data = nullptr;
  const SSaveSummary* saved = nullptr;
  std::u16string outputPath{};
  std::u16string_view outputFormat{};
};

SReport CollectReport(const SReportTask& task, const SReportSources& sources);
// Of the pages that were read, those of which rows or values are lost, in their order.
std::vector<uint64_t> FindPagesWithLosses(const CAccessData& data);
// The verdict alone.
SVerdictFacts CollectFacts(const SReportTask& task, const SReportSources& sources);

}  // namespace tolvane
