#include "export/SqliteLibrary.h"

#include <string>

namespace tolvane {

namespace {

constexpr SLibraryName kLibrary{"libsqlite3.so.0", "libsqlite3-0", "winsqlite3.dll"};

// Remembers whether any function was missing.
class CFinder {
 public:
  explicit CFinder(const CSharedLibrary& library) : m_library(library) {}
  template <class F>
  void Find(const char* name, F& function) {
    const std::string whole = std::string("sqlite3_") + name;
    function = reinterpret_cast<F>(m_library.Find(whole.c_str()));
    if (function == nullptr) m_isWhole = false;
  }
  [[nodiscard]] bool IsWhole() const { return m_isWhole; }

 private:
  const CSharedLibrary& m_library;
  bool m_isWhole = true;
};

}  // namespace

bool CSqliteLibrary::Load(std::u16string& problem) {
  std::u16string reason;
  bool isThere = m_library.Open(kLibrary, reason);
  if (isThere) {
    CFinder finder(m_library);
    finder.Find("open_v2", m_functions.open_v2);
    finder.Find("close", m_functions.close);
    finder.Find("errmsg", m_functions.errmsg);
    finder.Find("progress_handler", m_functions.progress_handler);
    finder.Find("prepare_v2", m_functions.prepare_v2);
    finder.Find("step", m_functions.step);
    finder.Find("reset", m_functions.reset);
    finder.Find("finalize", m_functions.finalize);
    finder.Find("bind_null", m_functions.bind_null);
    finder.Find("bind_int64", m_functions.bind_int64);
    finder.Find("bind_double", m_functions.bind_double);
    finder.Find("bind_text", m_functions.bind_text);
    finder.Find("bind_blob", m_functions.bind_blob);
    finder.Find("bind_zeroblob", m_functions.bind_zeroblob);
    finder.Find("column_text", m_functions.column_text);
    finder.Find("last_insert_rowid", m_functions.last_insert_rowid);
    finder.Find("blob_open", m_functions.blob_open);
    finder.Find("blob_write", m_functions.blob_write);
    finder.Find("blob_close", m_functions.blob_close);
    isThere = finder.IsWhole();
    if (!isThere) reason = u"it lacks functions that are needed";
  }
  if (isThere) return true;
  problem = u"The SQLite library cannot be used: " + reason + u". A script, with --format sql, needs none.";
  return false;
}

}  // namespace tolvane
