#include "checker/PageLedger.h"

#include <string_view>

namespace tolvane {
namespace {

std::u16string_view NameOf(EPageRole role) {
  switch (role) {
    case EPageRole::None:
      return u"nothing";
    case EPageRole::Header:
      return u"header";
    case EPageRole::GlobalMaps:
      return u"global maps";
    case EPageRole::Definition:
      return u"definition";
    case EPageRole::MapRows:
      return u"usage maps";
    case EPageRole::MapBits:
      return u"bits of a usage map";
    case EPageRole::Rows:
      return u"rows";
    case EPageRole::LongValues:
      return u"long values";
    case EPageRole::Index:
      return u"index";
  }
  return {};
}

}  // namespace

CPageLedger::CPageLedger(CFindings& findings, uint32_t pageCount) : m_findings(findings), m_uses(pageCount) {}

bool CPageLedger::Claim(uint32_t page, EPageRole role, uint32_t owner) {
  if (page >= m_uses.size()) {
    m_findings.Error("F5", {page}, Say(u"a page for ", NameOf(role), u" lies outside the file"));
    return false;
  }
  SUse& use = m_uses[page];
  if (use.role != EPageRole::None) {
    m_findings.Error("F2", {page},
                     Say(u"used for ", NameOf(role), u" of the table at page ", owner, u" and for ",
                         NameOf(use.role), u" of the one at page ", use.owner));
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
      m_findings.Error("F1", {page}, Say(u"marked as free, but used for ", NameOf(use.role)));
    else if (!isUsed && !use.isFree)
      m_findings.Doubt("F3", {page}, u"neither used nor marked as free");
  }
}

}  // namespace tolvane
