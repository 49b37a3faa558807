// Saved queries, both ways. The first byte says what the text behind it is:
//   'S'   the SQL of a query: split into rows, and made SQL again from these
//   else  the kind of a query, as a digit, and its rows for a builder: fields end with '|', rows with '~'
#include <algorithm>

#include "platform/Text.h"
#include "platform/TextUnits.h"
#include "query/QB.h"
#include "query/QueryChange.h"
#include "query/QueryText.h"
#include "query/SqlSplitter.h"

namespace tolvane {
namespace {

std::u16string Build(uint32_t type, std::u16string_view text) {
  CTList<CQueryAttributes> rows;
  while (!text.empty()) {
    std::u16string_view fields = CutPart(text, u'~');
    auto row = std::make_unique<CQueryAttributes>();
    for (auto field : {&CQueryAttributes::Attribute, &CQueryAttributes::Flag, &CQueryAttributes::Name1,
                       &CQueryAttributes::Name2, &CQueryAttributes::Expression})
      (*row).*field = CutPart(fields, u'|');
    rows.Append(std::move(row));
  }
  SSavedQuery stored;
  stored.flags = type;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext())
    stored.rows.push_back(row->GetRow());
  RenderQuery(stored);
  DescribeQueryChange(stored.rows, kKindSelect, stored.rows);

  std::u16string sql;
  if (const auto builder = MakeQueryBuilder(ToDecimal(type))) builder->Build(rows, sql);
  return sql;
}

void Split(std::u16string_view sql) {
  SSplitQuery query;
  std::u16string reason, rows;
  if (!SplitQueryText(sql, query, reason)) return;
  for (const SQueryRow& row : query.rows)
    rows += ToDecimal(row.attribute) + u"|" + ToDecimal(row.flag.value_or(0)) + u"|" +
            row.name1.value_or(u"") + u"|" + row.name2.value_or(u"") + u"|" + row.expression.value_or(u"") +
            u"~";
  SplitQueryText(Build(query.flags, rows), query, reason);
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::u16string text = tolvane::FromUtf8({reinterpret_cast<const char*>(data) + 1, size - 1});
  if (data[0] == 'S')
    tolvane::Split(text);
  else
    tolvane::Build(data[0] % 16U * 16, text);
  return 0;
}
