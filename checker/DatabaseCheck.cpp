#include "checker/DatabaseCheck.h"

#include "checker/CatalogueCheck.h"
#include "checker/ComplexCheck.h"
#include "checker/HeaderCheck.h"
#include "checker/QueryCheck.h"
#include "checker/RelationCheck.h"
#include "checker/TableCheck.h"
#include "checker/UsageCheck.h"
#include "format/SystemObjects.h"

namespace tolvane {
namespace {

// Runs the parts in the order in which they need each other.
class CDatabaseCheck {
 public:
  CDatabaseCheck(SCheckContext& context, SCheckReport& report)
      : m_context(context),
        m_report(report),
        m_usage(context),
        m_table(context, m_usage),
        m_catalogue(context),
        m_queries(context),
        m_relations(context),
        m_complexColumns(context) {}

  void Run() {
    m_context.ledger.Claim(kHeaderPage, EPageRole::Header, 0);
    CheckHeader(m_context);
    m_usage.LoadGlobalMaps();
    CheckSystemTables();
    for (const SCheckedObject& object : m_catalogue.GetObjects()) CheckObject(object);
    if (m_context.IsStopped()) return;
    m_context.findings.EnterTable({});
    m_catalogue.Finish();
    m_queries.Finish(m_catalogue);
    m_relations.Finish(m_catalogue);
    m_complexColumns.Finish(m_catalogue);
    m_context.ledger.CheckBalance();
  }

 private:
  void CheckSystemTables() {
    CheckSystemTable(kObjectsPage, kMSysObjects,
                     [this](const CRowView& row, SPlace place) { m_catalogue.AddObject(row, place); });
    CheckSystemTable(kAcesPage, kMSysAces,
                     [this](const CRowView& row, SPlace place) { m_catalogue.AddAce(row, place); });
    CheckSystemTable(kQueriesPage, kMSysQueries,
                     [this](const CRowView& row, SPlace place) { m_queries.AddRow(row, place); });
    CheckSystemTable(kRelationshipsPage, kMSysRelationships,
                     [this](const CRowView& row, SPlace place) { m_relations.AddRow(row, place); });
  }

  void CheckSystemTable(uint32_t page, std::u16string_view name, const CTableCheck::RowVisitor& visit) {
    m_context.findings.EnterTable(name);
    if (m_table.Open(page))
      Finish(visit);
    else
      m_context.findings.Error("A3", {page}, u"the definition of a system table cannot be read");
  }

  void CheckObject(const SCheckedObject& object) {
    if (object.type == kObjectLinkedAccess) m_relations.AddLinkedTable(object);
    if (m_context.IsStopped() || !object.HasDefinition() ||
        (object.id >= kObjectsPage && object.id <= kRelationshipsPage))
      return;
    m_context.findings.EnterTable(object.name);
    if (object.id >= m_context.file.GetPageCount())
      m_context.findings.Error("B4", object.place, u"there is no definition page ", object.id);
    else if (m_table.Open(object.id)) {
      m_complexColumns.AddTable(object, m_table.GetTable());
      const bool isListOfComplex = CComplexCheck::IsComplexColumns(object);
      Finish([&](const CRowView& row, SPlace place) {
        if (isListOfComplex) m_complexColumns.AddRow(row, place);
      });
      m_relations.AddTable(object, m_table.GetTable());
    }
  }

  void Finish(const CTableCheck::RowVisitor& visit) {
    m_table.CheckRows(visit);
    m_table.CheckIndexes();
    m_catalogue.CheckTableType(m_table.GetTable());
    m_report.tables++;
    m_report.rows += m_context.live.GetCount();
    m_report.indexes += m_table.GetTable().realIndexes.size();
  }

  SCheckContext& m_context;
  SCheckReport& m_report;
  CUsageCheck m_usage;
  CTableCheck m_table;
  CCatalogueCheck m_catalogue;
  CQueryCheck m_queries;
  CRelationCheck m_relations;
  CComplexCheck m_complexColumns;
};

}  // namespace

uint64_t SCheckReport::CountErrors() const {
  uint64_t sum = 0;
  for (const auto& [rule, count] : counts) sum += count.errors;
  return sum;
}

uint64_t SCheckReport::CountDoubts() const {
  uint64_t sum = 0;
  for (const auto& [rule, count] : counts) sum += count.doubts;
  return sum;
}

SCheckReport CheckDatabase(std::u16string_view path, const SCheckOptions& options) {
  SCheckReport report;
  CCheckedFile file;
  report.verdict = file.Open(path, options.place);
  if (report.verdict != ECheckVerdict::Checked) return report;
  report.pages = file.GetPageCount();
  CFindings findings(options.keptPerRule);
  CPageLedger ledger(findings, file.GetPageCount());
  SCheckContext context{file, findings, ledger, {}, {}, {}, {}, {}, {}, options.shouldStop};
  CDatabaseCheck(context, report).Run();
  if (context.isStopped) report.verdict = ECheckVerdict::Stopped;
  report.findings = findings.GetFindings();
  report.counts = findings.GetCounts();
  report.notes = findings.GetNotes();
  return report;
}

}  // namespace tolvane
