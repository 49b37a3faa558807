// Who uses each page of the file. Every page has one user; a page that a second one asks for is not looked at
// again, so that nothing in a file makes the checker walk a page twice.
#pragma once

#include <cstdint>
#include <vector>

#include "checker/Finding.h"

namespace tolvane {

enum class EPageRole : uint8_t {
  None,
  Header,
  GlobalMaps,
  Definition,
  MapRows,  // shared by any number of tables
  MapBits,
  Rows,
  LongValues,
  Index,
  Count_
};

class CPageLedger {
 public:
  CPageLedger(CFindings& findings, uint32_t pageCount);

  // `owner` is the definition page of the table. False, with a finding, when the page lies outside the file
  // or is used already.
  bool Claim(uint32_t page, EPageRole role, uint32_t owner);
  [[nodiscard]] EPageRole GetRole(uint32_t page) const {
    return page < m_uses.size() ? m_uses[page].role : EPageRole::None;
  }
  void MarkFree(uint32_t page) { m_uses[page].isFree = true; }

  // When all users have claimed their pages: no page is both free and used, none is neither.
  void CheckBalance();

 private:
  struct SUse {
    uint32_t owner = 0;
    EPageRole role = EPageRole::None;
    bool isFree = false;
  };
  CFindings& m_findings;
  std::vector<SUse> m_uses;
};

}  // namespace tolvane
