// Steps 1 and 2 of a repair: which pages define tables, and which data page belongs to which table.
//
// Both steps look at every whole page, or a note of it, once, in order, and ask before each page whether the
// repair was stopped. They share one progress range of two units a page. What is lost is counted in the
// ledger, each page once.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "engine/PageClaims.h"
#include "engine/PageNotes.h"
#include "engine/PageTwins.h"
#include "engine/Source.h"
#include "engine/TemplateMatch.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"

namespace tolvane {

class CTableScanner {
 public:
  // Rules and job outlive the scanner. Nothing is done with a source that is not open.
  CTableScanner(const SRecoveryRules& rules, CJobContext& job) : m_rules(rules), m_job(job) {}

  // Step 1. Adds the catalogue, then each page that starts a definition. `notes`, if any, gets those of all
  // pages; pages of which it has one are not read again.
  void ScanTableDefinitions(CAccessData& data, CSource& definitions, PageNotes* notes = nullptr) const;
  // Removes candidates that another candidate names as its next page; of a ring one stays. Nothing at all is
  // removed when one of them lies beyond the end of the file.
  void DropContinuationDefinitions(CAccessData& data, CSource& definitions) const;
  // After step 2: removes candidates that were guessed and that no page of rows belongs to.
  static void DropGuesses(CAccessData& data);
  // Step 2. Credits each data page of the damaged file to the candidate that owns it. Where the rules have
  // pages adopted, those without a home are handed back instead of being counted. Pages of tables are noted
  // in `twins`, if any. Pages of which there is a note already are not read again.
  std::vector<SHomelessPage> ScanDataPages(CAccessData& data, CSource& source,
                                           const CTemplateMatch& match = {}, CPageTwins* twins = nullptr,
                                           std::span<const SPageNote> notes = {}) const;

 private:
  class COwners;
  enum class EOwner : uint8_t { None, Impossible, Unknown, Known };

  static EOwner CreditPage(CAccessData& data, const SPageNote& note, uint64_t offset, COwners& owners,
                           const CTemplateMatch& match);
  // Of the tables that every database has those that no page defines.
  static void AddBuiltInTables(CAccessData& data, const CSource& definitions);
  static void Count(CAccessData& data, EDamage kind, uint64_t page, uint64_t amount = 1);

  const SRecoveryRules& m_rules;
  CJobContext& m_job;
};

}  // namespace tolvane
