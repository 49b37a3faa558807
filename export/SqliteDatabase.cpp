#include "export/SqliteDatabase.h"

#include <limits>
#include <vector>

#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr int kStepsBetweenChecks = 10'000;  // of the library's own machine
constexpr size_t kBlobPiece = size_t{1} << 16;
constexpr uint64_t kLongestValue = std::numeric_limits<int>::max();

int TOLVANE_SQLITE_CALL AskToStop(void* isStopped) {
  return (*static_cast<const StopRequest*>(isStopped))() ? 1 : 0;
}

int Number(size_t column) {
  return static_cast<int>(column) + 1;
}

}  // namespace

CSqliteDatabase::~CSqliteDatabase() {
  Close();
}

bool CSqliteDatabase::Note(int code) {
  m_code = code;
  if (code == kSqliteOk || code == kSqliteRow || code == kSqliteDone) return true;
  const char* const text = m_handle != nullptr ? m_functions.errmsg(m_handle) : nullptr;
  m_problem = FromUtf8(text != nullptr ? text : "out of memory");
  return false;
}

bool CSqliteDatabase::Open(std::u16string_view path) {
  // On every system the library takes UTF-8, or what the system's own calls take.
  const std::string name = ToNativePath(path);
  if (!Note(m_functions.open_v2(name.c_str(), &m_handle, kSqliteReadWrite | kSqliteCreate, nullptr)))
    return false;
  m_functions.progress_handler(m_handle, kStepsBetweenChecks, AskToStop,
                               const_cast<StopRequest*>(&m_isStopped));
  // The file gets its name, and is written through to the disk, by whoever asked for it.
  return Execute("PRAGMA synchronous = OFF") && Execute("PRAGMA journal_mode = MEMORY") &&
         Execute("PRAGMA locking_mode = EXCLUSIVE") && Execute("PRAGMA cache_size = -16384") &&
         Execute("PRAGMA foreign_keys = OFF");
}

bool CSqliteDatabase::Close() {
  if (m_handle == nullptr) return true;
  const bool isClosed = Note(m_functions.close(m_handle));
  if (isClosed) m_handle = nullptr;
  return isClosed;
}

bool CSqliteDatabase::Execute(const std::string& sql) {
  return Query(sql, [](std::string_view) {});
}

bool CSqliteDatabase::CanPrepare(const std::string& sql) {
  SSqliteStatement* statement = nullptr;
  const bool isPrepared = Note(m_functions.prepare_v2(m_handle, sql.c_str(), -1, &statement, nullptr));
  m_functions.finalize(statement);
  return isPrepared;
}

bool CSqliteDatabase::Query(const std::string& sql, const std::function<void(std::string_view)>& take) {
  SSqliteStatement* statement = nullptr;
  if (!Note(m_functions.prepare_v2(m_handle, sql.c_str(), -1, &statement, nullptr))) return false;
  int code = kSqliteRow;
  while ((code = m_functions.step(statement)) == kSqliteRow) {
    const unsigned char* const text = m_functions.column_text(statement, 0);
    take(text != nullptr ? reinterpret_cast<const char*>(text) : "");
  }
  const bool isDone = Note(code);
  m_functions.finalize(statement);
  return isDone;
}

bool CSqliteDatabase::FillBlob(const std::string& table, const std::string& column, int64_t row,
                               CDaoByteSource& bytes, size_t length, bool& isWhole) {
  SSqliteBlob* blob = nullptr;
  if (!Note(m_functions.blob_open(m_handle, "main", table.c_str(), column.c_str(), row, 1, &blob))) {
    m_functions.blob_close(blob);
    return false;
  }
  std::vector<uint8_t> piece(kBlobPiece);
  size_t written = 0;
  bool isTaken = true;
  isWhole = true;
  for (size_t size = piece.size(); isTaken && isWhole && written < length && size == piece.size();) {
    isWhole = ReadPiece(bytes, piece, size);
    size = std::min(size, length - written);
    isTaken =
        Note(m_functions.blob_write(blob, piece.data(), static_cast<int>(size), static_cast<int>(written)));
    written += size;
  }
  isWhole = isWhole && written == length;
  return Note(m_functions.blob_close(blob)) && isTaken;
}

CSqliteStatement::~CSqliteStatement() {
  if (m_statement != nullptr) m_database.GetFunctions().finalize(m_statement);
}

bool CSqliteStatement::Prepare(const std::string& sql) {
  return m_database.Note(
      m_database.GetFunctions().prepare_v2(m_database.GetHandle(), sql.c_str(), -1, &m_statement, nullptr));
}

bool CSqliteStatement::BindNull(size_t column) {
  return m_database.GetFunctions().bind_null(m_statement, Number(column)) == kSqliteOk;
}

bool CSqliteStatement::BindInteger(size_t column, int64_t value) {
  return m_database.GetFunctions().bind_int64(m_statement, Number(column), value) == kSqliteOk;
}

bool CSqliteStatement::BindReal(size_t column, double value) {
  return m_database.GetFunctions().bind_double(m_statement, Number(column), value) == kSqliteOk;
}

bool CSqliteStatement::BindText(size_t column, std::string_view text) {
  return text.size() <= kLongestValue &&
         m_database.GetFunctions().bind_text(m_statement, Number(column), text.data(),
                                             static_cast<int>(text.size()), nullptr) == kSqliteOk;
}

bool CSqliteStatement::BindBytes(size_t column, std::span<const uint8_t> bytes) {
  if (bytes.empty()) return BindZeros(column, 0);
  return bytes.size() <= kLongestValue &&
         m_database.GetFunctions().bind_blob(m_statement, Number(column), bytes.data(),
                                             static_cast<int>(bytes.size()), nullptr) == kSqliteOk;
}

bool CSqliteStatement::BindZeros(size_t column, uint64_t length) {
  return length <= kLongestValue && m_database.GetFunctions().bind_zeroblob(
                                        m_statement, Number(column), static_cast<int>(length)) == kSqliteOk;
}

bool CSqliteStatement::Run() {
  const int code = m_database.GetFunctions().step(m_statement);
  const bool isDone = m_database.Note(code);
  m_database.GetFunctions().reset(m_statement);
  return isDone;
}

}  // namespace tolvane
