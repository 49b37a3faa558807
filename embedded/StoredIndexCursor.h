// The walk over an index of the database that is open, with its failures as results of the engine.
#pragma once

#include <cstdint>
#include <span>

#include "embedded/PageFile.h"
#include "format/IndexCursor.h"

namespace tolvane {

class CStoredIndexCursor {
 public:
  // The file must outlive the cursor; `root` is the index's root page.
  CStoredIndexCursor(CPageFile& file, uint32_t root)
      : m_walk(file.GetLayout(), file.GetPageCount(), root,
               [this, &file](uint32_t page, std::span<uint8_t> bytes) {
                 m_problem = file.Read(page, bytes);
                 return m_problem.IsOk();
               }) {}
  CStoredIndexCursor(const CStoredIndexCursor&) = delete;
  CStoredIndexCursor& operator=(const CStoredIndexCursor&) = delete;

  [[nodiscard]] CIndexCursor& GetWalk() { return m_walk; }
  // What a step of the walk came to.
  [[nodiscard]] CDaoResult ResultOf(EIndexWalk step) const {
    if (step == EIndexWalk::Ok) return CDaoResult::Ok();
    if (!m_problem.IsOk()) return m_problem;
    return {EDaoError::NotADatabase, u"An index in the database is damaged."};
  }

 private:
  CDaoResult m_problem = CDaoResult::Ok();
  CIndexCursor m_walk;
};

}  // namespace tolvane
