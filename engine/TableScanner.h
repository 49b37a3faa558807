// Steps 1 and 2 of a repair: which pages define tables, and which data page belongs to which table.
//
// Both steps look at every whole page once, in order, and ask before each page whether the repair was
// stopped. They share one progress range of two units a page. What is lost is counted in the ledger, each
// page once.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "engine/FreePageMap.h"
#include "engine/JetLayout.h"
#include "engine/PageReader.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"

namespace tolvane {

class CTableScanner {
 public:
  // Both arguments outlive the scanner.
  CTableScanner(const SJetLayout& layout, const SRecoveryRules& rules) : m_layout(layout), m_rules(rules) {}

  // Step 1. Adds the catalogue, then each page that starts a definition. Nothing when the file cannot be
  // opened.
  void ScanTableDefinitions(CAccessData& data, const std::u16string& scanPath);
  // Removes candidates that another candidate names as its next page; of a ring one stays. Nothing at all is
  // removed when one of them lies beyond the end of the file.
  void DropContinuationDefinitions(CAccessData& data, const std::u16string& scanPath);
  // Step 2. Credits each data page of the damaged file to the candidate that owns it.
  void ScanDataPages(CAccessData& data, const std::u16string& sourcePath);

 private:
  class COwners;
  using Page = std::span<const uint8_t>;
  enum class EOwner : uint8_t { None, Impossible, Unknown, Known };

  [[nodiscard]] bool StartsTable(Page page) const;
  EOwner CreditPage(CAccessData& data, Page page, uint64_t offset, COwners& owners) const;
  [[nodiscard]] bool IsOrphan(Page page) const;
  static void Count(CAccessData& data, EDamage kind, uint64_t page, uint64_t amount = 1);

  const SJetLayout& m_layout;
  const SRecoveryRules& m_rules;
};

}  // namespace tolvane
