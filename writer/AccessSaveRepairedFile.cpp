#include "writer/AccessSaveRepairedFile.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "format/Layout.h"
#include "format/SystemObjects.h"
#include "platform/CodePage.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Hex.h"
#include "platform/Text.h"
#include "writer/FieldPlanner.h"
#include "writer/KeptProperties.h"
#include "writer/LinkSaver.h"
#include "writer/QuerySaver.h"
#include "writer/RowCopier.h"
#include "writer/TableBuilder.h"

namespace tolvane {

namespace {

bool IsSaved(const CAccessTable& table) {
  return !IsSystemTable(table) && !table.name.empty() && table.columns.GetCount() > 0;
}

int32_t VersionOf(EOutputFormat format) {
  if (format == EOutputFormat::Jet3) return kDaoVersionJet3;
  return format == EOutputFormat::Ace ? kDaoVersionAce : kDaoVersionJet4;
}

// ";LANGID=0x0409;CP=1252;COUNTRY=0". The version of a sort order stands in the language's top byte.
// Only texts of Jet 3 are in a code page.
std::u16string MakeLocale(const SSourceFacts& source, int32_t version) {
  const uint32_t codePage = version == kDaoVersionJet3 ? source.codePage : kWindowsLatin1;
  const uint32_t order = source.sortOrder != 0 ? source.sortOrder : kGeneralSortOrder;
  return u";LANGID=0x" + ToHex(order, 4, u'0') + u";CP=" + ToDecimal(codePage) + u";COUNTRY=0";
}

}  // namespace

CAccessSaveRepairedFile::CAccessSaveRepairedFile(CDaoEngine& engine, CJobContext& job)
    : m_engine(engine), m_job(job) {}

CAccessSaveRepairedFile::~CAccessSaveRepairedFile() = default;

EOutputFormat CAccessSaveRepairedFile::DecideFormat(const CAccessData& data, EOutputFormat chosen) {
  if (chosen != EOutputFormat::ByRules) return chosen;
  // The Access 97 files that are made here are Western ones; the later format holds all characters.
  const bool isWestern = data.source.codePage == kWindowsLatin1 || !data.GetRules().keepDatabaseSettings;
  if (data.source.isJet3 && isWestern) return EOutputFormat::Jet3;
  const bool isAce = data.source.versionByte >= kVersionAce12;
  return isAce && data.GetRules().keepAceFormat ? EOutputFormat::Ace : EOutputFormat::Jet4;
}

bool CAccessSaveRepairedFile::Save() {
  static_cast<void>(m_engine.TakeErrors());
  const bool isSaved = SaveAll();
  m_summary.engineErrors = m_engine.TakeErrors();
  for (const CDaoEngineError& error : m_summary.engineErrors) m_job.log.Append(DescribeEngineError(error));
  return isSaved;
}

bool CAccessSaveRepairedFile::SaveAll() {
  if (!SaveStructure()) return false;
  // Neither the saved queries nor the relationships end the save.
  static_cast<void>(CQuerySaver(m_engine, *m_data, m_outputPath, m_summary, m_job, *m_identity).Save());
  m_relations = std::make_unique<CRelationSaver>(*m_data, m_summary, m_job);
  static_cast<void>(m_relations->Read());
  return SaveData();
}

bool CAccessSaveRepairedFile::HasComplexFields() const {
  return DecideFormat(*m_data, m_format) == EOutputFormat::Ace && m_engine.HasComplexFields();
}

void CAccessSaveRepairedFile::PrepareTables() {
  m_summary = {};
  m_relations.reset();
  m_tables.clear();
  m_links.clear();
  const CAccessTableList& tables = m_data->GetTables();
  const bool hasFields = HasComplexFields();
  std::unordered_map<const CAccessTable*, std::vector<SComplexField>> complex;
  struct SOwner {
    const CAccessTable* table;
    size_t column;
  };
  std::unordered_map<const CAccessTable*, SOwner> owners;
  for (const auto& table : tables) {
    if (!m_data->GetRules().complexValuesAreData || !IsSaved(*table)) continue;
    std::vector<SComplexField>& planned = complex[table.get()];
    planned = PlanComplexFields(*m_data, *table, hasFields);
    for (size_t i = 0; i < planned.size(); ++i)
      if (planned[i].HasValues()) owners.try_emplace(planned[i].flat.table, SOwner{table.get(), i});
  }
  for (const auto& table : tables) {
    const auto owner = owners.find(table.get());
    if (owner != owners.end())
      AddValues(*table, *owner->second.table, owner->second.column,
                complex[owner->second.table][owner->second.column]);
    else if (IsSaved(*table))
      AddTable(*table, {});
  }
  std::unordered_map<const CAccessTable*, size_t> places;
  for (size_t i = 0; i < m_tables.size(); ++i)
    if (m_tables[i].rows == ERows::All && !owners.contains(m_tables[i].table)) {
      places.emplace(m_tables[i].table, i);
      m_tables[i].complex = std::move(complex[m_tables[i].table]);
    }
  for (SSavedTable& saved : m_tables)
    if (const auto owner = owners.find(saved.table); owner != owners.end())
      saved.owner = places[owner->second.table];
}

void CAccessSaveRepairedFile::AddTable(const CAccessTable& table, std::vector<SComplexField> complex) {
  SSavedTable& saved = m_tables.emplace_back();
  saved.table = &table;
  saved.wantedName = table.name;
  saved.hasSystemMark = table.hasSystemMark;
  saved.complex = std::move(complex);
  saved.loss.table = table.name;
}

// Values that fit into their field have no table; all others have one.
void CAccessSaveRepairedFile::AddValues(const CAccessTable& flat, const CAccessTable& owner,
                                        size_t ownersColumn, const SComplexField& complex) {
  const auto add = [&](ERows rows) {
    AddTable(flat, {});
    SSavedTable& saved = m_tables.back();
    saved.rows = rows;
    saved.ownersColumn = ownersColumn;
    saved.wantedName = owner.name + u"_" + NameOf(complex, owner);
    saved.loss.table = owner.name + u", column " + NameOf(complex, owner);
    // As the hidden table that they come from, where nothing but columns would lead there.
    saved.hasSystemMark = HasComplexFields();
    if (rows == ERows::Attached) return;
    for (size_t i = 0; i < flat.columns.GetCount(); ++i) {
      const CAccessColumn& column = *flat.columns.GetAt(i);
      saved.columnNames.emplace_back(i == complex.flat.key   ? KeyNameOf(complex, owner)
                                     : IsVersionDate(column) ? u"Modified"
                                                             : column.GetName());
    }
  };
  if (complex.type == 0) return add(ERows::All);
  add(ERows::Attached);
  if (complex.values->Count(CComplexValues::EFate::Attached) < complex.values->CountAll()) add(ERows::Loose);
}

bool CAccessSaveRepairedFile::SaveStructure() {
  if (!m_job.saving.IsSaving()) return false;
  m_job.status.SetText(u"Saving table name and structure");
  if (!m_data || m_outputPath.empty()) return false;
  PrepareTables();
  if (FileExists(m_outputPath) && !RemoveFile(m_outputPath)) {
    m_summary.failure = u"The file that is there cannot be deleted: " + SystemMessage(LastSystemError());
    return false;
  }
  std::unique_ptr<CDaoDatabase> database;
  const CDaoResult created = CreateDatabase(database);
  if (!created.IsOk()) {
    m_summary.failure = created.text;
    return false;
  }
  SaveDocuments(*database);
  TellSettings();
  TellOtherOrders();
  return CloseDatabase(*database, BuildTables(*database));
}

CDaoResult CAccessSaveRepairedFile::CreateDatabase(std::unique_ptr<CDaoDatabase>& database) {
  const std::u16string wanted = m_data->GetRules().keepDatabaseSettings
                                    ? MakeLocale(m_data->source, GetVersion())
                                    : std::u16string(kDaoGeneralLocale);
  CDaoResult result = m_engine.CreateDatabase(m_outputPath, wanted, GetVersion(), database);
  const bool isRefused = result.code == EDaoError::NotSupported || result.code == EDaoError::InvalidArgument;
  if (!isRefused || wanted == kDaoGeneralLocale) return result;
  result = m_engine.CreateDatabase(m_outputPath, kDaoGeneralLocale, GetVersion(), database);
  if (!result.IsOk()) return result;
  ++m_summary.settingsChanged;
  Remark(u"The new database sorts texts as General Legacy (" + std::u16string(kDaoGeneralLocale.substr(1)) +
         u"), and not as the source does (" + wanted.substr(1) + u")");
  return result;
}

void CAccessSaveRepairedFile::SaveDocuments(CDaoDatabase& database) {
  CKeptProperties kept(GetVersion());
  const bool isSameFormat = DecideFormat(*m_data, EOutputFormat::ByRules) == DecideFormat(*m_data, m_format);
  std::set<std::u16string_view> saved;
  for (const SDatabaseDocument& document : m_data->documents) {
    const std::vector<CDaoProperty> properties =
        kept.OfDatabase(document.properties, m_data->GetOtherObjects(), isSameFormat);
    for (const std::u16string& name : kept.GetLost()) {
      ++m_summary.propertiesLost;
      Remark(u"The database" + DescribeLostProperty(name));
    }
    if (properties.empty()) continue;
    // Damage can double a row of the catalogue; the first one counts.
    CDaoResult result{EDaoError::InvalidName, u"Another document has its name."};
    if (saved.insert(document.name).second) result = database.SetProperties(document.name, properties);
    if (result.IsOk()) continue;
    m_summary.propertiesLost += properties.size();
    Remark(u"The database was saved without its properties " + Quoted(document.name) + u": " + result.text);
  }
}

void CAccessSaveRepairedFile::TellSettings() {
  if (!m_data->GetRules().keepDatabaseSettings) return;
  const SSourceFacts& source = m_data->source;
  const auto tell = [this](std::u16string text) {
    ++m_summary.settingsChanged;
    Remark(std::move(text));
  };
  if (source.hasPassword) tell(u"The new database has no password; the source has one");
  if (source.isJet3 && m_format == EOutputFormat::ByRules && GetVersion() != kDaoVersionJet3)
    tell(
        u"The new database is one of Access 2000: in Access 97 files only texts of code page 1252 can be "
        u"written, and those of the source are of code page " +
        ToDecimal(source.codePage));
}

void CAccessSaveRepairedFile::TellOtherOrders() {
  constexpr uint32_t kLanguage = 0xFFFF, kOrder = 0xFF00FFFF;
  const SSourceFacts& source = m_data->source;
  if (!m_data->GetRules().keepDatabaseSettings || source.isJet3 || source.sortOrder == 0) return;
  for (const SSavedTable& saved : m_tables)
    for (const CAccessColumn& column : saved.table->columns) {
      const bool isText = IsTextType(column.type) && !IsCalculated(column.extendedFlags);
      if (!isText || (column.misc & kLanguage) == 0 || (column.misc & kOrder) == source.sortOrder) continue;
      ++m_summary.columnsChanged;
      Remark(u"Table " + Quoted(saved.table->name) + u": Column " + Quoted(column.GetName()) +
             u" does not sort by an order of its own any more");
    }
}

int32_t CAccessSaveRepairedFile::GetVersion() const {
  return VersionOf(DecideFormat(*m_data, m_format));
}

ESaveStep CAccessSaveRepairedFile::BuildTables(CDaoDatabase& database) {
  const CAccessTableList& tables = m_data->GetTables();
  m_job.progress.Begin(tables.GetCount());
  CTableBuilder builder(database, m_data->GetRules(), GetVersion(), m_summary, m_job,
                        {m_data->source.codePage, DecideFormat(*m_data, m_format) != EOutputFormat::Jet3});
  size_t next = 0;
  for (const auto& table : tables) {
    m_job.progress.IncrementPos();
    if (!m_job.saving.IsSaving()) return ESaveStep::Stopped;
    m_job.status.SetText(u"(Step 1/2)Saving table name and structure: " + table->name);
    for (; next < m_tables.size() && m_tables[next].table == table.get(); ++next) {
      SSavedTable& saved = m_tables[next];
      if (saved.rows == ERows::Attached) continue;
      const ESaveStep step = builder.Build(saved);
      if (step != ESaveStep::Done) return step;
      if (saved.isCreated) ++(table->link ? m_summary.linksSaved : m_summary.tablesSaved);
    }
  }
  return CLinkSaver(database, GetVersion(), m_summary, m_job).Save(m_data->fileLinks, m_links);
}

bool CAccessSaveRepairedFile::CloseDatabase(CDaoDatabase& database, ESaveStep step) {
  const CDaoResult closed = database.Close();
  if (step == ESaveStep::Done && !closed.IsOk()) m_summary.failure = closed.text;
  if (closed.IsOk() && !closed.text.empty()) {
    ++m_summary.settingsChanged;
    Remark(closed.text);
  }
  return step == ESaveStep::Done && closed.IsOk();
}

uint64_t CAccessSaveRepairedFile::CountRecords() const {
  uint64_t count = 0;
  for (const auto& table : m_data->GetTables())
    if (!IsSystemTable(*table) || table->name == kMSysRelationships) count += table->header.rowCount;
  for (const SSavedTable& saved : m_tables)
    if (saved.owner != SSavedTable::kNoField && saved.rows != ERows::Loose)
      count += saved.table->header.rowCount;
  return count;
}

bool CAccessSaveRepairedFile::SaveData() {
  if (!m_data) return false;
  m_job.progress.Begin(CountRecords());
  std::unique_ptr<CDaoDatabase> database;
  const CDaoResult opened = m_engine.OpenDatabase(m_outputPath, false, false, {}, database);
  if (!opened.IsOk()) {
    m_summary.failure = opened.text;
    return false;
  }
  ESaveStep step = ESaveStep::Stopped;
  if (m_job.saving.IsSaving()) {
    m_job.status.SetText(u"Saving tables data");
    step = CopyTables(*database);
    if (step == ESaveStep::Done) step = CompleteTables(*database);
    if (step == ESaveStep::Done && m_relations) step = m_relations->Create(*database, m_tables, m_links);
  }
  if (!CloseDatabase(*database, step)) return false;
  m_job.progress.SetPos(m_job.progress.GetMax());
  m_job.Pause();
  return true;
}

ESaveStep CAccessSaveRepairedFile::CopyTables(CDaoDatabase& database) {
  for (SSavedTable& saved : m_tables) {
    const ESaveStep step = CopyTable(database, saved);
    CloseTable(saved);
    if (step != ESaveStep::Done) return step;
  }
  return ESaveStep::Done;
}

ESaveStep CAccessSaveRepairedFile::CompleteTables(CDaoDatabase& database) {
  std::vector<CDaoTableChange> changes;
  const CDaoResult result = database.CompleteTables(changes);
  for (const CDaoTableChange& change : changes) {
    m_summary.indexesWeakened += change.indexes;
    m_summary.propertiesLost += change.properties;
    Remark(u"Table " + Quoted(change.table) + u": " + change.text);
  }
  if (!m_job.saving.IsSaving()) return ESaveStep::Stopped;
  return result.IsOk() ? ESaveStep::Done : FailSave(m_summary, result);
}

ESaveStep CAccessSaveRepairedFile::CopyTable(CDaoDatabase& database, SSavedTable& saved) {
  if (!m_job.saving.IsSaving()) return ESaveStep::Stopped;
  const CAccessTable& table = *saved.table;
  const SSavedTable* const owner = saved.owner == SSavedTable::kNoField ? nullptr : &m_tables[saved.owner];
  if (saved.rows == ERows::Attached && (owner == nullptr || !PrepareValues(*owner, saved)))
    return ESaveStep::Done;
  // Its records are counted as lost already.
  if (!saved.isCreated || table.link) return ESaveStep::Done;
  if (!CanRead(table.GetRecords().path)) {
    LoseRecords(saved, table.header.rowCount, u"The table's temporary file cannot be read.");
    return ESaveStep::Done;
  }
  m_job.status.SetText(u"(Step 2/2)Saving table data: " + table.name);
  m_job.log.Append(u"Saving data for " + table.name + u"...");
  return CRowCopier(database, m_data->GetRules(), saved, m_summary, m_job, owner).Copy();
}

// Names the fields that the values go to. False when their table or field is not there.
bool CAccessSaveRepairedFile::PrepareValues(const SSavedTable& owner, SSavedTable& saved) const {
  const SComplexField& complex = owner.complex[saved.ownersColumn];
  const CAccessColumnList& columns = saved.table->columns;
  const size_t field = complex.type == kDaoVersions ? complex.memo : complex.column;
  saved.isCreated = owner.isCreated && owner.fields[field] != SSavedTable::kNoField &&
                    owner.fields[complex.column] != SSavedTable::kNoField;
  if (!saved.isCreated) {
    LoseRecords(saved, complex.values->Count(CComplexValues::EFate::Attached),
                u"Their column could not be created.");
    return false;
  }
  saved.name = owner.name + u", values of " + NameOf(complex, *owner.table);
  CFieldPlanner planner(m_data->GetRules(), GetVersion(), 0);
  for (size_t i = 0; i < columns.GetCount(); ++i) {
    const SFieldPlan plan = planner.Plan(*columns.GetAt(i));
    const bool isSkipped = i == complex.flat.number && !complex.values->AreNumbersUnique();
    saved.fields.push_back(isSkipped ? SSavedTable::kSkippedField : ComplexFieldIndex(complex.flat, i));
    saved.fieldTypes.push_back({plan.info.type, plan.info.scale});
    saved.fieldNames.emplace_back(columns.GetAt(i)->GetName());
  }
  return true;
}

void CAccessSaveRepairedFile::CloseTable(SSavedTable& saved) {
  const SSaveLoss& loss = saved.loss;
  if (loss.records == 0 && loss.fields == 0) return;
  const auto log = [&](uint64_t count, std::u16string_view noun) {
    if (count > 0)
      m_job.log.Append(Counted(count, noun) + u" of table " + loss.table + u" could not be saved: " +
                       loss.reason);
  };
  log(loss.records, u"record");
  log(loss.fields, u"value");
  m_summary.losses.push_back(std::move(saved.loss));
}

}  // namespace tolvane
