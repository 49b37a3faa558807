// Which table of a template a page of the damaged file belongs to.
//
// A template that was copied from the damaged file has its definitions on the same pages. One that was made
// anew has them elsewhere; then the names that both catalogues give their tables tell.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "engine/Source.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"

namespace tolvane {

class CTemplateMatch {
 public:
  // Owners are the template's pages.
  CTemplateMatch() = default;
  // Reads both catalogues, through data files of the run that are gone afterwards.
  CTemplateMatch(CSource& source, CSource& definitions, const SRecoveryRules& rules, CJobContext& job,
                 const std::u16string& workFolder);

  // The definition page in the template of a page's owner in the damaged file.
  [[nodiscard]] uint32_t DefinitionOf(uint32_t owner) const {
    const auto found = m_pages.find(owner);
    return found != m_pages.end() ? found->second : owner;
  }
  [[nodiscard]] bool IsByName() const { return !m_pages.empty(); }
  // Gives the template's tables the names that its own catalogue has for them, where pages differ.
  void NameTables(CAccessTableList& tables, uint32_t pageSize) const;

 private:
  std::unordered_map<uint32_t, uint32_t> m_pages;        // owner in the damaged file to template page
  std::unordered_map<uint32_t, std::u16string> m_names;  // by template page
};

}  // namespace tolvane
