#include "engine/AccessRepair.h"

#include "engine/AccessProcessFile.h"
#include "engine/AccessVersionHandler.h"
#include "engine/DefinitionPlaces.h"
#include "platform/Files.h"
#include "store/WorkFolder.h"

namespace tolvane {

CAccessRepair::CAccessRepair(const SRecoveryRules& rules, CJobContext& job) : m_rules(rules), m_job(job) {}

CAccessRepair::~CAccessRepair() = default;

void CAccessRepair::Repair(std::u16string sourcePath, std::u16string /*unused*/, std::u16string scanPath) {
  CSource source(m_rules);
  source.SetJob(m_job);
  source.Open(sourcePath);
  if (scanPath == sourcePath || IsSameFile(scanPath, sourcePath)) {
    Repair(source, source);
    return;
  }
  CSource definitions(m_rules);
  definitions.SetJob(m_job);
  definitions.Open(scanPath);
  Repair(source, definitions);
}

void CAccessRepair::Repair(CSource& source, CSource& definitions) {
  m_job.log.Clear();
  Start(source, definitions);
  bool isDone = ReadDefinitions();
  if (isDone && &definitions == &source && m_rules.pagesDecideFormat) {
    const PagePairs swapped = source.SwapPages(FindSwappedDefinitions(m_data->GetTables(), source));
    if (!swapped.empty()) {
      Start(source, definitions);
      FileSwapped(swapped);
      isDone = ReadDefinitions();
    }
  }
  isDone = isDone && ReadTables();
  if (isDone && source.GetPages().HasChanged()) m_data->GetLedger().Add(EDamage::ChangedSource, {});
  m_parser.reset();
  if (!isDone) m_data.reset();
}

void CAccessRepair::Start(CSource& source, CSource& definitions) {
  // The data files are named after the tables: those of the run before must be gone before new ones are made.
  m_data.reset();
  m_data = std::make_unique<CAccessData>(m_rules, GetWorkFolder());
  m_parser.reset();

  const bool isJet4 = !source.GetLayout().isJet3;
  if (source.IsOpen()) CAccessVersionHandler::ShowJet4Flag(isJet4);
  if (&definitions != &source) definitions.UseLayout(source.GetLayout());
  m_data->sourcePath = source.GetPath();
  m_data->source = source.GetFacts();
  if (isJet4)
    m_parser = std::make_unique<CAccessProcessFileJet4>(m_rules, m_job);
  else
    m_parser = std::make_unique<CAccessProcessFileJet3>(m_rules, m_job);
  m_parser->SetSourcePath(source);
  m_parser->SetScanPath(definitions);
}

void CAccessRepair::FileSwapped(const PagePairs& pairs) {
  const auto file = [this](uint32_t page) {
    m_data->GetLedger().Add(EDamage::MovedPages,
                            {.page = page,
                             .definition = uint64_t{page} * m_data->source.pageSize,
                             .reason = "definitions of two tables stood in each other's places"});
  };
  for (const auto& [first, second] : pairs) {
    file(first);
    file(second);
  }
}

bool CAccessRepair::ReadDefinitions() {
  CRepairLog& log = m_job.log;
  if (!m_job.repairing.IsRunning()) return false;
  log.Append(u"Scanning file for table definition...");
  m_parser->ScanTableDefinitions(*m_data);
  m_parser->DropContinuationDefinitions(*m_data);
  log.Append(u"Scanning file for table data...");
  m_parser->ScanDataPages(*m_data);
  if (!m_job.repairing.IsRunning()) return false;

  log.Append(u"Parsing file data for table fields...");
  m_parser->ParseTableDefinitions(*m_data);
  m_parser->SortColumns(*m_data);
  return m_job.repairing.IsRunning();
}

bool CAccessRepair::ReadTables() {
  m_job.progress.SetPos(0);
  m_parser->ParseRecords(*m_data);
  m_job.progress.SetPos(0);
  m_job.log.Append(u"Parsing file data for table name...");
  m_parser->ParseTableNames(*m_data);
  m_parser->ParseComplexColumns(*m_data);
  return m_job.repairing.IsRunning();
}

}  // namespace tolvane
