// Writes the recovered tables into a new database through the DAO operations: structure first, then the rows.
//
// A table, column, index, record or value that the database engine refuses costs itself and is counted; only
// when the database cannot be created or opened, or can take nothing more, does the save as a whole fail.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "model/AccessData.h"
#include "platform/Identity.h"
#include "status/JobContext.h"
#include "writer/LinkSaver.h"
#include "writer/RelationSaver.h"
#include "writer/SavedTable.h"

namespace tolvane {

// Of the new database.
enum class EOutputFormat : uint8_t {
  ByRules,  // the source's own, or where the rules say so Jet 4 for all but Access 97 sources
  Jet3,
  Jet4,
  Ace,
};

// Runs on the save thread. The job must be saving; stopping it stops the save at the next value.
class CAccessSaveRepairedFile {
 public:
  // Both outlive the save.
  CAccessSaveRepairedFile(CDaoEngine& engine, CJobContext& job);
  virtual ~CAccessSaveRepairedFile();

  // Not owned; must outlive the save, which goes by the rules that it was recovered with.
  void SetData(const CAccessData* data) { m_data = data; }
  // A file of that name is deleted when the save starts.
  void SetOutputPath(std::u16string_view path) { m_outputPath = path; }

  void SetFormat(EOutputFormat format) { m_format = format; }
  // Of what has no name of its own; the clock and chance if left out.
  void SetIdentity(std::shared_ptr<CIdentity> identity) { m_identity = std::move(identity); }

  // All steps in their order. False when the save failed or was stopped.
  bool Save();
  bool SaveStructure();
  // The rows, into the tables that SaveStructure created, and then the relationships that Save read.
  bool SaveData();
  [[nodiscard]] const SSaveSummary& GetSummary() const { return m_summary; }

  // ByRules, decided for that source.
  static EOutputFormat DecideFormat(const CAccessData& data, EOutputFormat chosen);

 private:
  bool SaveAll();
  // Of the new database.
  [[nodiscard]] bool HasComplexFields() const;
  void PrepareTables();
  void AddTable(const CAccessTable& table, std::vector<SComplexField> complex);
  void AddValues(const CAccessTable& flat, const CAccessTable& owner, size_t ownersColumn,
                 const SComplexField& complex);
  // Of the new database, as an option of CreateDatabase.
  [[nodiscard]] int32_t GetVersion() const;
  // With the source's sort order, or where the engine does not know that, with the general one.
  CDaoResult CreateDatabase(std::unique_ptr<CDaoDatabase>& database);
  void SaveDocuments(CDaoDatabase& database);
  void TellSettings();
  // Fields sort as the database does.
  void TellOtherOrders();
  void Remark(std::u16string text) { tolvane::Remark(m_summary, m_job, std::move(text)); }
  ESaveStep BuildTables(CDaoDatabase& database);
  ESaveStep CopyTables(CDaoDatabase& database);
  ESaveStep CopyTable(CDaoDatabase& database, SSavedTable& saved);
  ESaveStep CompleteTables(CDaoDatabase& database);
  bool PrepareValues(const SSavedTable& owner, SSavedTable& saved) const;
  void CloseTable(SSavedTable& saved);
  [[nodiscard]] uint64_t CountRecords() const;
  // The last step of a save: its end as a result, with the database closed.
  bool CloseDatabase(CDaoDatabase& database, ESaveStep step);

  CDaoEngine& m_engine;
  CJobContext& m_job;
  const CAccessData* m_data = nullptr;
  std::u16string m_outputPath;
  EOutputFormat m_format = EOutputFormat::ByRules;
  std::shared_ptr<CIdentity> m_identity = std::make_shared<CIdentity>();
  std::vector<SSavedTable> m_tables;  // those that are saved at all, in list order
  LinkNames m_links;
  SSaveSummary m_summary;
  std::unique_ptr<CRelationSaver> m_relations;
};

}  // namespace tolvane
