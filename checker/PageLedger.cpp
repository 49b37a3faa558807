#include "checker/PageLedger.h"

#include <array>
#include <string_view>

namespace tolvane {
namespace {

std::u16string_view NameOf(EPageRole role) {
  static constexpr std::array<std::u16string_view, static_cast<size_t>(EPageRole::Count_)> kNames{
      u"nothing", u"header",      u"global maps", u"definition", u"usage maps", u"bits of a usage map",
      u"rows",    u"long values", u"index"};
  return kNames[static_cast<size_t>(role)];
}

}  // namespace

CPageLedger::CPageLedger(CFindings& findings, uint32_t pageCount) : m_findings(findings), m_uses(pageCount) {}

bool CPageLedger::Claim(uint32_t page, EPageRole role, uint32_t owner) {
  if (page >= m_uses.size()) {
    m_findings.Error("F5", {page}, u"a page for ", NameOf(role), u" lies outside the file");
    return false;
  }
  SUse& use = m_uses[page];
  if (use.role != EPageRole::None) {
    m_findings.Error("F2", {page}, u"used for ", NameOf(role), u" of the table at page ", owner, u" and for ",
                     NameOf(use.role), u" of the one at page ", use.owner);
    return false;
  }
  use.role = role;
  use.owner = owner;
  return true;
}

void CPageLedger::CheckBalance() {
  for (uint32_t page = 0; page < m_uses.size(); page++) {
    const SUse& use = m_uses[page];
    const bool isUsed = use.role != EPageRole::None;
    if (isUsed && use.isFree)
      m_findings.Error("F1", {page}, u"marked as free, but used for ", NameOf(use.role));
    else if (!isUsed && !use.isFree)
      m_findings.Doubt("F3", {page}, u"neither used nor marked as free");
  }
}

}  // namespace tolvane
