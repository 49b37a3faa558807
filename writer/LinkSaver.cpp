#include "writer/LinkSaver.h"

#include <memory>
#include <string>

namespace tolvane {
ESaveStep CLinkSaver::Save(const std::vector<SFileLink>& links, LinkNames& names) {
  for (const SFileLink& link : links) {
    if (!m_job.saving.IsSaving()) return ESaveStep::Stopped;
    const CDaoResult result = SaveOne(link, names);
    if (EndsSave(result.code)) return FailSave(m_summary, result);
    if (result.IsOk()) {
      ++m_summary.linksSaved;
    } else {
      ++m_summary.linksLost;
      Remark(link, u" could not be saved: " + result.text);
    }
  }
  return ESaveStep::Done;
}

CDaoResult CLinkSaver::SaveOne(const SFileLink& link, LinkNames& names) {
  std::u16string name = link.name;
  CDaoResult result = TryCreate(link, name);
  for (int attempt = 1; attempt < kNameAttempts && NeedsOtherName(result.code); ++attempt) {
    m_names.Take(name);
    name = m_names.MakeVariation(link.name, u"Link");
    result = TryCreate(link, name);
  }
  m_names.Take(name);
  if (result.IsOk()) names.emplace(CNameSet::Fold(link.name), name);
  if (!result.IsOk() || name == link.name) return result;
  ++m_summary.tablesChanged;
  Remark(link, u" was saved as " + Quoted(name));
  return result;
}

CDaoResult CLinkSaver::TryCreate(const SFileLink& link, const std::u16string& name) {
  std::unique_ptr<CDaoTableDef> table;
  CDaoResult result = m_database.CreateTableDef(name, 0, {}, {}, table);
  if (!result.IsOk()) return result;
  result = table->SetLink(link.link);
  const std::vector<CDaoProperty> properties = m_keptProperties.OfTable(link.properties);
  if (result.IsOk() && !properties.empty()) result = table->SetProperties(properties);
  if (result.IsOk()) result = table->Append();
  table->Close();
  if (!result.IsOk()) return result;
  for (const std::u16string& property : m_keptProperties.GetLost()) {
    ++m_summary.propertiesLost;
    Remark(link, DescribeLostProperty(property));
  }
  return result;
}

void CLinkSaver::Remark(const SFileLink& link, std::u16string_view text) {
  tolvane::Remark(m_summary, m_job, u"Link " + Quoted(link.name) + std::u16string(text));
}

}  // namespace tolvane
