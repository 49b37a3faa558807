// Names for a namespace of an SQL database, near the recovered ones.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

#include "export/ExportOptions.h"

namespace tolvane {

class CSqlNames {
 public:
  explicit CSqlNames(ESqlDialect dialect) : m_dialect(dialect) {}
  // In UTF-8, not quoted: without what the database refuses, cut to what it keeps, and with "_2", "_3", ...
  // where it is taken, without regard to case. `stem` stands in for an empty name.
  std::string Add(std::u16string_view wanted, std::string_view stem);

 private:
  [[nodiscard]] std::string MakeName(std::u16string_view wanted, size_t room) const;

  ESqlDialect m_dialect;
  std::unordered_set<std::u16string> m_taken;
};

}  // namespace tolvane
