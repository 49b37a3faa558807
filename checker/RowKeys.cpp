#include "checker/RowKeys.h"

#include <optional>

#include "format/CompressedText.h"
#include "format/IndexKey.h"
#include "format/Value.h"

namespace tolvane {
namespace {

constexpr uint8_t kNullAscending = 0x00, kNullDescending = 0xFF;

}  // namespace

CRowKeys::CRowKeys(SCheckContext& context, const SCheckedRealIndex& index, CLongValueCheck& longValues)
    : m_context(context), m_index(index), m_longValues(longValues) {
  for (const SCheckedIndexPart& part : index.parts) {
    m_nullKey.push_back(part.ascending ? kNullAscending : kNullDescending);
    if (part.column == nullptr || part.column->IsCalculated()) m_areKeysKnown = false;
  }
}

bool CRowKeys::Make(const CRowView& row, std::vector<uint8_t>& key) {
  key.clear();
  m_isAllNull = true;
  m_hasNull = false;
  for (const SCheckedIndexPart& part : m_index.parts) {
    if (part.column == nullptr) {
      m_areKeysKnown = false;
      continue;
    }
    const bool isNull = !row.Get(*part.column);
    m_isAllNull = m_isAllNull && isNull;
    m_hasNull = m_hasNull || isNull;
    if (m_areKeysKnown && !AppendPart(row, part, key)) m_areKeysKnown = false;
  }
  return m_areKeysKnown;
}

bool CRowKeys::AppendPart(const CRowView& row, const SCheckedIndexPart& part, std::vector<uint8_t>& key) {
  const SCheckedColumn& column = *part.column;
  std::optional<std::span<const uint8_t>> value = row.Get(column);
  if (value && column.type == kTypeMemo) {
    m_longValues.ReadHead(*value, kIndexedMemoBytes, m_head);
    value = m_head;
  }
  if (value && IsTextType(column.type) && !m_context.file.IsJet3()) {
    m_text.clear();
    AppendPlainUtf16(*value, m_text);
    value = m_text;
  }
  const SIndexKeyFormat format{m_context.file.GetVersion(), column.order.language, column.order.version,
                               column.codePage};
  if (AppendIndexKey(format, column.type, part.ascending, value, key)) return true;
  if (IsTextType(column.type))
    m_context.findings.Note(u"Keys of text in sort order ", column.order.language, u" version ",
                            column.order.version,
                            u" are not known: such indexes are checked for order and completeness only.");
  else
    m_context.findings.Note(u"Keys of type ", column.type,
                            u" are not known: such indexes are checked for order and completeness only.");
  return false;
}

}  // namespace tolvane
