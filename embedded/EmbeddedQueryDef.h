// A saved query while it is being made; Append stores it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "dao/dao.h"
#include "embedded/EmbeddedFile.h"
#include "embedded/QueryText.h"

namespace tolvane {

class CEmbeddedQueryDef : public CDaoQueryDef {
 public:
  CEmbeddedQueryDef(std::shared_ptr<CEmbeddedFile> file, std::u16string_view name, SStoredQuery query)
      : m_file(std::move(file)), m_name(name), m_query(std::move(query)) {}

  CDaoResult Append() override {
    if (m_file == nullptr) return {EDaoError::InvalidArgument, u"The query definition is closed."};
    CDaoResult result = m_file->AddQuery(m_name, m_query);
    if (!result.IsOk() || !m_query.isWhole) return result;
    if (!result.text.empty()) result.text += u". ";
    result.text += u"The SQL text is of no known form; it was stored whole, as a data definition query.";
    return result;
  }
  void Close() override { m_file.reset(); }

 private:
  std::shared_ptr<CEmbeddedFile> m_file;  // null when closed
  std::u16string m_name;
  SStoredQuery m_query;
};

}  // namespace tolvane
