// The SQLite library of the system: Windows' own, elsewhere libsqlite3. Its functions as it documents them;
// they have been the same since version 3.6.5.
#pragma once

#include <cstdint>
#include <string>

#include "platform/SharedLibrary.h"

namespace tolvane {

struct SSqliteHandle;  // all three are the library's own
struct SSqliteStatement;
struct SSqliteBlob;

inline constexpr int kSqliteOk = 0, kSqliteInterrupted = 9, kSqliteConstraint = 19, kSqliteRow = 100,
                     kSqliteDone = 101;
inline constexpr int kSqliteReadWrite = 0x2, kSqliteCreate = 0x4;

struct SSqliteFunctions {
  template <class R, class... A>
  using Call = R(TOLVANE_SQLITE_CALL*)(A...);
  using Progress = Call<int, void*>;
  using Release = Call<void, void*>;  // null: the bytes stay until the statement has run

  Call<int, const char*, SSqliteHandle**, int, const char*> open_v2 = nullptr;
  Call<int, SSqliteHandle*> close = nullptr;
  Call<const char*, SSqliteHandle*> errmsg = nullptr;
  Call<void, SSqliteHandle*, int, Progress, void*> progress_handler = nullptr;
  Call<int, SSqliteHandle*, const char*, int, SSqliteStatement**, const char**> prepare_v2 = nullptr;
  Call<int, SSqliteStatement*> step = nullptr;
  Call<int, SSqliteStatement*> reset = nullptr;
  Call<int, SSqliteStatement*> finalize = nullptr;
  Call<int, SSqliteStatement*, int> bind_null = nullptr;
  Call<int, SSqliteStatement*, int, int64_t> bind_int64 = nullptr;
  Call<int, SSqliteStatement*, int, double> bind_double = nullptr;
  Call<int, SSqliteStatement*, int, const char*, int, Release> bind_text = nullptr;
  Call<int, SSqliteStatement*, int, const void*, int, Release> bind_blob = nullptr;
  Call<int, SSqliteStatement*, int, int> bind_zeroblob = nullptr;
  Call<const unsigned char*, SSqliteStatement*, int> column_text = nullptr;
  Call<int64_t, SSqliteHandle*> last_insert_rowid = nullptr;
  Call<int, SSqliteHandle*, const char*, const char*, const char*, int64_t, int, SSqliteBlob**> blob_open =
      nullptr;
  Call<int, SSqliteBlob*, const void*, int, int> blob_write = nullptr;
  Call<int, SSqliteBlob*> blob_close = nullptr;
};

class CSqliteLibrary {
 public:
  // Once. False when the system has no such library; the reason says what to do.
  bool Load(std::u16string& problem);
  [[nodiscard]] const SSqliteFunctions& Get() const { return m_functions; }

 private:
  CSharedLibrary m_library;
  SSqliteFunctions m_functions;
};

}  // namespace tolvane
