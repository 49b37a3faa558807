#include "embedded/QueryStore.h"

#include <array>
#include <optional>

#include "embedded/RowValues.h"
#include "format/SystemObjects.h"

namespace tolvane {
namespace {

bool Fits(const std::optional<std::u16string>& name) {
  return !name || name->size() <= kMaxTextLength;
}

CDaoResult StoreQueryRow(CTableStore& queries, uint32_t id, const SQueryRow& row, uint32_t order,
                         STextLoss& loss) {
  queries.BeginRow();
  CRowValues values(queries);
  values.SetNumber(kQueriesObjectId, id);
  values.SetNumber(kQueriesAttribute, row.attribute);
  const std::array<uint8_t, 4> counter{static_cast<uint8_t>(order >> 24), static_cast<uint8_t>(order >> 16),
                                       static_cast<uint8_t>(order >> 8), static_cast<uint8_t>(order)};
  values.SetBytes(kQueriesOrder, counter);
  if (row.flag) values.SetNumber(kQueriesFlag, *row.flag);
  if (row.extra && queries.GetDefinition().FindColumn(kQueriesLvExtra) != nullptr)
    values.SetNumber(kQueriesLvExtra, *row.extra);
  if (row.name1) values.SetText(kQueriesName1, *row.name1);
  if (row.name2) values.SetText(kQueriesName2, *row.name2);
  if (row.expression)
    if (CDaoResult result = values.SetMemo(kQueriesExpression, *row.expression); !result.IsOk())
      return result;
  loss.Add(values.GetLoss());
  return queries.StoreRow();
}

}  // namespace

CDaoResult CheckQueryRows(std::span<const SQueryRow> rows) {
  for (const SQueryRow& row : rows)
    if (!Fits(row.name1) || !Fits(row.name2))
      return {EDaoError::FieldTooSmall, u"The query holds a name of more than 255 characters."};
  return CDaoResult::Ok();
}

CDaoResult StoreQueryRows(CTableStore& queries, uint32_t id, std::span<const SQueryRow> rows,
                          STextLoss& loss) {
  std::array<uint32_t, 256> orders{};
  for (const SQueryRow& row : rows)
    if (CDaoResult result = StoreQueryRow(queries, id, row, ++orders[row.attribute], loss); !result.IsOk())
      return result;
  return CDaoResult::Ok();
}

}  // namespace tolvane
