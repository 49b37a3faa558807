// Reads the definitions of a file's tables, damaged ones as far as what is left of them allows: a link that
// was lost is found again among the pages that continue no other definition, and what then still contradicts
// itself is mended.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "engine/DefinitionChain.h"
#include "engine/DefinitionMender.h"
#include "engine/Source.h"
#include "model/AccessTable.h"
#include "status/JobContext.h"

namespace tolvane {

class CDefinitionReader {
 public:
  // All arguments outlive the reader; the list holds the tables whose definitions are read.
  CDefinitionReader(CSource& definitions, const CAccessTableList& tables, const CJobContext& job);

  // The definition of a table, until the next call. False: something of it is missing or was wrong.
  bool Read(CAccessTable& table);
  [[nodiscard]] std::span<const uint8_t> GetBytes() const { return m_bytes; }
  // What is wrong with the definition read last; null where nothing is.
  [[nodiscard]] const char* GetFault() const { return m_fault; }

 private:
  using Bytes = std::vector<uint8_t>;

  bool FindContinuation(uint64_t offset);
  void ListContinuations();

  CSource& m_source;
  const SLayout& m_layout;
  const CAccessTableList& m_tables;
  const CJobContext& m_job;
  CDefinitionChain m_chain, m_otherChain;
  Bytes m_bytes;
  const char* m_fault = nullptr;
  // Pages that look like the further ones of a definition, listed when the first link is missing.
  std::optional<std::vector<uint64_t>> m_continuations;
  size_t m_triesLeft;
};

}  // namespace tolvane
