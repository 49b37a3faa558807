#include "cli/PageMap.h"

#include <algorithm>
#include <string_view>

#include "cli/DisplayText.h"

namespace tolvane {

namespace {

struct SSign {
  char sign;
  const char* meaning;
};

// From what matters least in a group to what matters most.
constexpr SSign kSigns[] = {
    {'_', "never written"},       {'.', "free"},        {'i', "index"},
    {'u', "usage map"},           {'l', "long values"}, {'d', "rows"},
    {'T', "table definition"},    {'H', "header"},      {'?', "unknown kind"},
    {'o', "belongs to no table"}, {'X', "damaged"},     {'!', "unreadable"},
};
constexpr size_t kLegendColumns = 3;

}  // namespace

char CPageMap::SignOf(const SPageReport& report) {
  switch (report.verdict) {
    case EPageVerdict::Unreadable:
      return '!';
    case EPageVerdict::Damaged:
      return 'X';
    case EPageVerdict::Orphan:
      return 'o';
    case EPageVerdict::Free:
      return '.';
    default:
      break;
  }
  switch (report.kind) {
    case EPageKind::Header:
      return 'H';
    case EPageKind::Zero:
      return '_';
    case EPageKind::Definition:
    case EPageKind::DefinitionContinuation:
      return 'T';
    case EPageKind::Data:
      return 'd';
    case EPageKind::LongValue:
      return 'l';
    case EPageKind::UsageMap:
    case EPageKind::MapPage:
      return 'u';
    case EPageKind::IndexNode:
    case EPageKind::IndexLeaf:
      return 'i';
    case EPageKind::DroppedDefinition:
    case EPageKind::EmptiedData:
      return '.';
    default:
      return '?';
  }
}

size_t CPageMap::RankOf(char sign) {
  const auto* found = std::find_if(std::begin(kSigns), std::end(kSigns),
                                   [sign](const SSign& known) { return known.sign == sign; });
  return static_cast<size_t>(found - std::begin(kSigns));
}

void CPageMap::Add(const SPageReport& report) {
  const char sign = SignOf(report);
  size_t position = static_cast<size_t>(report.page / m_pagesPerSign);
  if (position >= m_signs.size() && m_signs.size() == kMaximumSigns) {
    Halve();
    position = static_cast<size_t>(report.page / m_pagesPerSign);
  }
  if (position < m_signs.size()) {
    m_signs[position] = Worse(m_signs[position], sign);
  } else {
    m_signs.push_back(sign);
  }
}

void CPageMap::Halve() {
  for (size_t i = 0; i < m_signs.size() / 2; ++i) m_signs[i] = Worse(m_signs[2 * i], m_signs[2 * i + 1]);
  m_signs.resize(m_signs.size() / 2);
  m_pagesPerSign *= 2;
}

std::string CPageMap::Draw(size_t width) const {
  const size_t digits = std::to_string(m_signs.size() * m_pagesPerSign).size();
  size_t perLine = width > digits + 12 ? (width - digits - 4) / 10 * 10 : 10;
  perLine = std::min<size_t>(perLine, 100);
  std::string text;
  for (size_t i = 0; i < m_signs.size(); i += perLine) {
    text += "  " + PadLeft(std::to_string(i * m_pagesPerSign), digits) + "  ";
    text.append(m_signs.data() + i, std::min(perLine, m_signs.size() - i));
    text += "\n";
  }
  text += m_pagesPerSign == 1
              ? "  One sign a page:\n"
              : "  One sign for " + std::to_string(m_pagesPerSign) + " pages, the one that matters most:\n";
  size_t column = 0;
  for (const SSign& known : kSigns) {
    if (std::find(m_signs.begin(), m_signs.end(), known.sign) == m_signs.end()) continue;
    const bool isLineEnd = ++column % kLegendColumns == 0;
    text += "    " + std::string(1, known.sign) + " ";
    text += isLineEnd ? known.meaning + std::string("\n") : PadRight(known.meaning, 19);
  }
  while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
  return text + "\n";
}

}  // namespace tolvane
