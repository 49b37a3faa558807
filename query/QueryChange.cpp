#include "query/QueryChange.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "query/SqlScanner.h"

namespace tolvane {
namespace {

// What a query consists of, by the attribute of its rows.
constexpr size_t kParts = kQuerySortKey + 1;
constexpr std::array<std::u16string_view, kParts> kPartWords{
    u"",        u"kind",  u"parameters", u"options",  u"database", u"sources",
    u"columns", u"joins", u"WHERE",      u"GROUP BY", u"HAVING",   u"ORDER BY"};

uint64_t Mix(uint64_t value) {
  value = (value ^ value >> 31) * 0x9E3779B97F4A7C15U;
  return value ^ value >> 29;
}

// One number for all the units of a part, in whatever order the rows hold them.
class CPartSums {
 public:
  CPartSums(std::span<const SQueryRow> rows, EQueryKind kind) : m_kind(kind) {
    for (const SQueryRow& row : rows)
      if (row.attribute == kQueryKind && row.flag) m_kind = *row.flag;
    for (const SQueryRow& row : rows) Add(row);
    if (m_kind == kKindUnion) m_options &= kOptionDistinct;
    // It is about the tables without output columns.
    if (m_sources < 2) m_options &= ~kOptionDistinctRow;
    // "*" stands for itself unless columns stand beside it.
    if (!m_hasColumns || m_kind == kKindDelete) m_options &= ~kOptionAllColumns;
  }
  [[nodiscard]] int GetKind() const { return m_kind; }
  [[nodiscard]] int GetOptions() const { return m_options; }
  [[nodiscard]] uint64_t operator[](size_t part) const { return m_sums[part]; }

 private:
  void Add(const SQueryRow& row) {
    if (row.attribute >= kParts || row.attribute == kQueryStart || IsForeign(row.attribute)) return;
    size_t part = row.attribute;
    if (part == kQueryOptions) {
      m_options |= row.flag.value_or(0);
      AddText(part, 1, row.name1);
      return;
    }
    if (part == kQueryColumn) m_hasColumns = true;
    if (part == kQuerySource) ++m_sources;
    // The sort keys of a union may stand at the end of its last member.
    if (m_kind == kKindUnion && part == kQuerySortKey) part = kQuerySource;
    const bool isFlagged = part == kQueryParameter || part == kQueryColumn || part == kQueryJoin ||
                           (part == kQueryGrouping && m_kind == kKindCrosstab);
    const uint64_t salt = isFlagged ? static_cast<uint16_t>(row.flag.value_or(0)) * 8U : 0;
    const bool isPivot = m_kind == kKindCrosstab && part == kQueryColumn && row.flag == kColumnPivot;
    // Joins are found again by their conditions.
    if (part != kQueryJoin && !isPivot) AddText(part, salt + 1, row.name1);
    if (part != kQueryJoin && m_kind != kKindUnion) AddText(part, salt + 2, row.name2);
    AddText(part, salt + 3, row.expression);
    if (part == kQueryParameter || (part == kQueryJoin && !row.expression)) m_sums[part] += Mix(salt + 4);
  }

  // Clauses that mean nothing in a query of this kind.
  [[nodiscard]] bool IsForeign(uint8_t attribute) const {
    const bool isAction = m_kind == kKindUpdate || m_kind == kKindDelete;
    return (isAction && (attribute == kQueryGrouping || attribute == kQuerySortKey)) ||
           (m_kind == kKindDelete && attribute == kQueryColumn);
  }

  void AddText(size_t part, uint64_t salt, const std::optional<std::u16string>& text) {
    if (!text) return;
    const CSqlScanner scanner(*text);
    for (size_t i = 0; i < scanner.GetCount(); ++i) {
      if (IsGlue(scanner, i)) continue;
      for (const char16_t unit : FoldedName(scanner.GetText(i)))
        if (unit != u'[' && unit != u']' && unit != u' ') m_sums[part] += Mix(salt << 16 | unit);
    }
  }
  // What comes and goes where a text is cut into rows.
  static bool IsGlue(const CSqlScanner& scanner, size_t i) {
    for (const char16_t unit : {u'(', u')', u',', u';'})
      if (scanner.IsSymbol(i, unit)) return true;
    for (const std::u16string_view word : {u"AND", u"AS", u"ORDER", u"BY", u"ASC"})
      if (scanner.IsWord(i, word)) return true;
    return false;
  }

  int m_kind;
  int m_options = 0;
  bool m_hasColumns = false;
  size_t m_sources = 0;
  std::array<uint64_t, kParts> m_sums{};
};

void AddWord(std::u16string& words, std::u16string_view word) {
  if (!words.empty()) words += u", ";
  words += word;
}

}  // namespace

std::u16string DescribeQueryChange(std::span<const SQueryRow> recovered, EQueryKind kind,
                                   std::span<const SQueryRow> saved) {
  const CPartSums before(recovered, kind);
  const CPartSums after(saved, kKindSelect);
  std::u16string words;
  if (before.GetKind() != after.GetKind()) return std::u16string(kPartWords[kQueryKind]);
  if (before[kQueryKind] != after[kQueryKind]) AddWord(words, u"target");
  const int options = before.GetOptions() ^ after.GetOptions();
  if ((options & kOptionAllColumns) != 0) AddWord(words, u"*");
  if ((options & kOptionDistinct) != 0) AddWord(words, u"DISTINCT");
  if ((options & kOptionDistinctRow) != 0) AddWord(words, u"DISTINCTROW");
  if ((options & (kOptionTop | kOptionPercent)) != 0 || before[kQueryOptions] != after[kQueryOptions])
    AddWord(words, u"TOP");
  if ((options & kOptionOwnerAccess) != 0) AddWord(words, u"OWNERACCESS");
  for (size_t part = kQueryParameter; part < kParts; ++part)
    if (part != kQueryOptions && before[part] != after[part]) AddWord(words, kPartWords[part]);
  return words;
}

}  // namespace tolvane
