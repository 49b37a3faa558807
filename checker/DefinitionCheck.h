// A table definition: rules C1 to C10 and C13 to C17, and the structure that all later steps rely on.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"

namespace tolvane {

// Text as a row or a definition stores it.
std::u16string DecodeStoredText(const CCheckedFile& file, std::span<const uint8_t> stored);

class CDefinitionCheck {
 public:
  explicit CDefinitionCheck(SCheckContext& context)
      : m_context(context), m_layout(context.file.GetLayout()), m_page(context.file) {}

  // False when the definition is too damaged to go on with its rows and indexes.
  bool Load(uint32_t firstPage, SCheckedTable& table);

 private:
  void ReadBlock();
  void CheckChain();
  bool Parse(SCheckedTable& table);
  void File(const SDefinitionFault& fault);
  void TakeColumns(STableDefinition& definition, std::vector<std::string>& keys, SCheckedTable& table);
  void TakeIndexes(STableDefinition& definition, std::vector<std::string>& keys, SCheckedTable& table);

  bool CheckNumbers(SCheckedTable& table);
  void CheckColumns(const SCheckedTable& table);
  void CheckColumnOrder(const SCheckedTable& table);
  void CheckFixedPart(const SCheckedTable& table);
  void CheckIndexes(const SCheckedTable& table);
  template <class... Parts>
  void Error(std::string_view rule, const Parts&... parts) {
    m_context.findings.Error(rule, {m_firstPage}, parts...);
  }
  template <class... Parts>
  void Doubt(std::string_view rule, const Parts&... parts) {
    m_context.findings.Doubt(rule, {m_firstPage}, parts...);
  }

  SCheckContext& m_context;
  const SLayout& m_layout;
  CPageBuffer m_page;
  uint32_t m_firstPage = 0;
  std::vector<uint8_t> m_block;
  size_t m_length = 0;  // of what the block holds
  std::vector<uint32_t> m_pages;
  std::vector<uint16_t> m_freeWords;  // of m_pages
};

}  // namespace tolvane
