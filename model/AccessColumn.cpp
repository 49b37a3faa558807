#include "model/AccessColumn.h"

#include <algorithm>
#include <numeric>

namespace tolvane {

std::u16string_view CAccessColumn::GetName() const {
  const std::u16string_view units(name.data(), name.size());
  return units.substr(0, units.find(u'\0'));
}

void CAccessColumn::SetName(std::u16string_view text) {
  const auto end = std::copy_n(text.begin(), std::min(text.size(), kNameUnits), name.begin());
  std::fill(end, name.end(), u'\0');
}

void CAccessColumn::SetComplexData(std::unique_ptr<CMSysComplexColumnsData> data) {
  m_complexData = std::move(data);
}

CAccessColumn* CAccessColumnList::GetAt(size_t position) {
  return position < m_columns.size() ? &m_columns[position] : nullptr;
}

const CAccessColumn* CAccessColumnList::GetAt(size_t position) const {
  return position < m_columns.size() ? &m_columns[position] : nullptr;
}

bool CAccessColumnList::SetNameAt(size_t position, std::u16string_view name) {
  CAccessColumn* const column = GetAt(position);
  if (column != nullptr) column->SetName(name);
  return column != nullptr;
}

const CAccessColumn* CAccessColumnList::FindByNumber(uint16_t number) const {
  const auto found = std::ranges::find(m_columns, number, &CAccessColumn::number);
  return found != m_columns.end() ? &*found : nullptr;
}

namespace {

// How many of the positions that were added lie before a position (a Fenwick tree).
class CPositionCounter {
 public:
  explicit CPositionCounter(size_t count) : m_sums(count + 1) {}
  void Add(size_t position) {
    for (size_t i = position + 1; i < m_sums.size(); i += i & (~i + 1)) ++m_sums[i];
  }
  [[nodiscard]] size_t CountBefore(size_t position) const {
    size_t count = 0;
    for (size_t i = position; i > 0; i -= i & (~i + 1)) count += m_sums[i];
    return count;
  }

 private:
  std::vector<uint32_t> m_sums;
};

// The order in which the exchange sort leaves columns of one number, given their positions in ascending order
// and the positions of all smaller columns.
//
// Each pass of the exchange sort brings the next smaller column to the front, and whatever it meets on the
// way to it moves one place along the chain of exchanges: of our columns that stand before that smaller one,
// the first goes to its place, behind all the others. So each smaller column turns the queue of ours that
// stand before it by one. Columns between two of ours turn it as often as there are smaller ones among them.
void AppendEqualColumns(const std::vector<size_t>& positions, const CPositionCounter& smaller, size_t count,
                        std::vector<size_t>& order) {
  std::vector<size_t> next(positions.size());  // the queue as a ring; the head follows the tail
  size_t tail = 0;
  for (size_t k = 0; k < positions.size(); ++k) {
    if (k > 0) next[k] = std::exchange(next[tail], k);
    tail = k;
    const size_t end = k + 1 < positions.size() ? positions[k + 1] : count;
    const size_t turns = smaller.CountBefore(end) - smaller.CountBefore(positions[k]);
    for (size_t turn = turns % (k + 1); turn > 0; --turn) tail = next[tail];
  }
  for (size_t k = 0; k < positions.size(); ++k) {
    tail = next[tail];
    order.push_back(positions[tail]);
  }
}

}  // namespace

void CAccessColumnList::SortByNumber() {
  const size_t count = m_columns.size();
  std::vector<size_t> byNumber(count);
  std::iota(byNumber.begin(), byNumber.end(), size_t{0});
  const auto numberOf = [this](size_t position) { return m_columns[position].number; };
  std::ranges::stable_sort(byNumber, [&](size_t a, size_t b) { return numberOf(a) < numberOf(b); });

  std::vector<size_t> order;
  order.reserve(count);
  CPositionCounter smaller(count);
  std::vector<size_t> equal;
  for (size_t first = 0; first < count; first += equal.size()) {
    equal.clear();
    for (size_t i = first; i < count && numberOf(byNumber[i]) == numberOf(byNumber[first]); ++i)
      equal.push_back(byNumber[i]);
    AppendEqualColumns(equal, smaller, count, order);
    for (const size_t position : equal) smaller.Add(position);
  }

  std::vector<CAccessColumn> sorted;
  sorted.reserve(count);
  for (const size_t position : order) sorted.push_back(std::move(m_columns[position]));
  m_columns = std::move(sorted);
}

}  // namespace tolvane
