// The database operations that the writer needs, as abstract classes. The writer knows no implementation.
//
//   CDaoEngine -> CDaoDatabase -> CDaoTableDef | CDaoRecordset
//
// Every call answers a CDaoResult with a code and a text; nothing throws. One thread at a time, but for
// batches. Objects must be released inside out: recordsets and definitions before their database. Values are
// typed: each of its field's type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/ColumnType.h"
#include "format/Property.h"
#include "format/SavedQuery.h"
#include "format/TableLink.h"
#include "format/Value.h"

namespace tolvane {

// Error numbers, as users of the format know them.
enum class EDaoError : int32_t {
  None = 0,
  TableExists = 3010,
  ObjectNotFound = 3011,
  DuplicateKey = 3022,
  DiskFull = 3026,
  RecordTooLarge = 3047,
  NotFound = 3024,
  CannotOpenFile = 3051,
  NotADatabase = 3343,
  InvalidDataType = 3259,
  InvalidArgument = 3001,
  InvalidName = 3125,
  ItemNotFound = 3265,
  NoAddNew = 3020,
  FieldTooSmall = 3163,
  DatabaseTooLarge = 3183,
  TooManyFields = 3190,
  DataConversion = 3421,
  DuplicateField = 3191,
  DatabaseExists = 3204,
  QueryExists = 3012,
  NotSupported = 3251,
  DiskError = 3043,
  RelationExists = 3284,
  RelatedRecordMissing = 3201,
  FieldTypesDiffer = 3368,
  NoUniqueIndex = 3609,
  TooManyIndexes = 3626,
  EngineGone = -1,  // no engine's own: an installed one does not answer any more
};

struct [[nodiscard]] CDaoResult {
  EDaoError code = EDaoError::None;
  std::u16string text;  // what went wrong and, where it helps, what to do; one line

  [[nodiscard]] bool IsOk() const { return code == EDaoError::None; }
  static CDaoResult Ok() { return {}; }
};

// What an installed engine answered to calls that failed, in its own words.
struct CDaoEngineError {
  int32_t number = 0;  // the engine's own, or the system's (negative)
  std::u16string call;
  std::u16string description;  // the first one; may be empty
  uint64_t count = 0;          // of the call's failures with this number
};

// True when nothing can be written after this. A database that has reached the largest size of its format
// refuses what does not fit any more, and is sound.
constexpr bool EndsSave(EDaoError code) {
  return code == EDaoError::DiskFull || code == EDaoError::DiskError || code == EDaoError::EngineGone;
}

// What an implementation answers that does not have the operation.
inline CDaoResult NotSupported() {
  return {EDaoError::NotSupported, u"The database engine does not offer this."};
}

// Field types that the writer asks for.
enum EDaoType : int16_t {
  kDaoBoolean = FieldTypeOf(kTypeBoolean),
  kDaoByte = FieldTypeOf(kTypeByte),
  kDaoInteger = FieldTypeOf(kTypeInteger),
  kDaoLong = FieldTypeOf(kTypeLong),
  kDaoCurrency = FieldTypeOf(kTypeCurrency),
  kDaoSingle = FieldTypeOf(kTypeSingle),
  kDaoDouble = FieldTypeOf(kTypeDouble),
  kDaoDate = FieldTypeOf(kTypeDate),
  kDaoBinary = FieldTypeOf(kTypeBinary),
  kDaoText = FieldTypeOf(kTypeText),
  kDaoLongBinary = FieldTypeOf(kTypeOle),
  kDaoMemo = FieldTypeOf(kTypeMemo),
  kDaoGuid = FieldTypeOf(kTypeGuid),
  kDaoBigInt = FieldTypeOf(kTypeBigInt),
  kDaoDecimal = FieldTypeOf(kTypeDecimal),
  kDaoExtendedDate = FieldTypeOf(kTypeExtendedDate),
  // Complex fields: each record holds any number of values, or of files.
  kDaoAttachment = 101,
  kDaoComplexByte = 102,
  kDaoComplexInteger = 103,
  kDaoComplexLong = 104,
  kDaoComplexSingle = 105,
  kDaoComplexDouble = 106,
  kDaoComplexGuid = 107,
  kDaoComplexDecimal = 108,
  kDaoComplexText = 109,
  kDaoVersions = 110,  // of a memo; no user sees the field
};
// Fixed or variable: where an engine can choose, how a text, binary or number field is stored; neither: as
// usual.
inline constexpr int32_t kDaoFixedField = 0x01;
inline constexpr int32_t kDaoVariableField = 0x02;
inline constexpr int32_t kDaoAutoIncrement = 0x10;
inline constexpr int32_t kDaoUpdatable = 0x20;
inline constexpr int32_t kDaoSystemField = 0x2000;
inline constexpr int32_t kDaoHyperlinkField = 0x8000;  // memo

// Attributes of a table.
inline constexpr int32_t kDaoTableAttributes = 0x10000;  // of every table that is made
inline constexpr int32_t kDaoHiddenObject = 0x1;
inline constexpr int32_t kDaoSystemObject = INT32_MIN + 2;  // shown with the system tables

// Options of CreateDatabase.
inline constexpr int32_t kDaoVersionJet3 = 0x20;
inline constexpr int32_t kDaoVersionJet4 = 0x40;
inline constexpr int32_t kDaoVersionAce = 0x80;

using CDaoProperty = SProperty;

struct CDaoFieldInfo {
  std::u16string name;
  int16_t type = 0;
  int32_t size = 0;  // text: characters; binary: bytes; other types: ignored
  int32_t attributes = 0;
  bool required = false;
  bool allowZeroLength = false;
  std::u16string defaultValue;
  uint8_t precision = 18, scale = 0;      // decimal: digits, and those of them behind the point
  std::optional<bool> isCompressed = {};  // text, memo: whether short texts may be compressed; else as usual
  // Text, memo: language of the sort order, its version in the top byte; 0: the database's.
  uint32_t sortOrder = 0;
  // AutoNumber and complex fields: the last number given out; records raise it.
  int32_t lastNumber = 0;
  // A calculated field: what its values follow from. Its values are stored as they are set.
  std::u16string expression = {};
  // Its place among the table's fields as users see them, from 0; otherwise behind those created before.
  std::optional<uint16_t> position = {};
  // A calculated number, date or yes/no: the type that the column states where it is not that of its results,
  // as a column has it; 0: as usual.
  uint8_t statedType = 0;
  // Memo: earlier versions of a value are kept, see OpenComplexRecordset. The field that leads to them is
  // made behind the others, unless there is one of its own: then that one names the memo.
  bool keepsHistory = false;
  std::u16string versionsOf = {};
  std::vector<CDaoProperty> properties = {};
  std::vector<CDaoProperty> valueProperties = {};  // complex field: of the values themselves
};

struct CDaoIndexFieldInfo {
  std::u16string name;
  bool descending = false;
};

struct CDaoIndexInfo {
  std::u16string name;
  std::vector<CDaoIndexFieldInfo> fields;
  bool primary = false;
  bool unique = false;
  bool clustered = false;
  bool ignoreNulls = false;
  bool required = false;
  bool foreign = false;
  int32_t distinctCount = 0;
};

struct CDaoRelationFieldInfo {
  std::u16string name;         // in the primary table
  std::u16string foreignName;  // in the foreign table
};

// Each record of the foreign table refers to one of the (primary) table.
struct CDaoRelationInfo {
  std::u16string name;
  std::u16string table;
  std::u16string foreignTable;
  int32_t attributes = 0;
  std::vector<CDaoRelationFieldInfo> fields;
};

// Bytes handed over piece by piece, so that a large value needs no memory of its own size.
class CDaoByteSource {
 public:
  virtual ~CDaoByteSource() = default;
  // Fills as much of `buffer` as there is; 0 at the end. False when the source cannot be read.
  virtual bool Read(std::span<uint8_t> buffer, size_t& bytesRead) = 0;
  [[nodiscard]] virtual uint64_t GetLength() const = 0;
  // Goes back to the first byte. False: the source cannot.
  virtual bool Restart() { return false; }
};

// A table definition that is being built. Nothing reaches the database before Append.
class CDaoTableDef {
 public:
  virtual ~CDaoTableDef() = default;
  virtual CDaoResult CreateField(std::u16string_view name, int16_t type, int32_t size,
                                 int32_t attributes) = 0;
  virtual CDaoResult CreateField(const CDaoFieldInfo& field) = 0;
  virtual CDaoResult CreateIndex(const CDaoIndexInfo& index) = 0;
  // Of the table itself. The fields' come with their fields.
  virtual CDaoResult SetProperties(std::span<const CDaoProperty>) { return NotSupported(); }
  // Makes the table a link. A table of a server has fields, and may have indexes, as far as they are known;
  // one of a file has none.
  virtual CDaoResult SetLink(const STableLink&) { return NotSupported(); }
  virtual CDaoResult Append() = 0;
  virtual void Close() = 0;
};

// New records of one table, put together ahead of being stored: by any thread, each its own batch, while the
// recordset is open and stores others. Only records that are stored just as they are set; of all others the
// recordset itself can say what becomes of them.
class CDaoRecordBatch {
 public:
  virtual ~CDaoRecordBatch() = default;
  virtual void Clear() = 0;
  // Starts a record; one that was not completed is gone.
  virtual void AddNew() = 0;
  // As the recordset's. False: the record cannot be part of a batch.
  virtual bool SetFieldValue(size_t index, const SValue& value) = 0;
  // Completes the record: the batch's next one, from 0. False: it cannot be part of a batch.
  virtual bool Update() = 0;
};

// Rows of one table, added at its end.
class CDaoRecordset {
 public:
  virtual ~CDaoRecordset() = default;
  virtual CDaoResult AddNew() = 0;
  // By field index in the definition's order, from 0. A failed value leaves the field as it was.
  // A text goes into a text or memo field, bytes of any kind into a long binary one; null leaves the field as
  // it is. Ok may carry a text: what of the value could not be kept.
  virtual CDaoResult SetFieldValue(size_t index, const SValue& value) = 0;
  virtual CDaoResult SetFieldValue(size_t index, CDaoByteSource& bytes) = 0;
  // Stores the new record. On failure the record is gone and the next AddNew starts afresh.
  virtual CDaoResult Update() = 0;
  // For records of this table, while this object lives; null where they can only be set one by one.
  [[nodiscard]] virtual std::unique_ptr<CDaoRecordBatch> MakeBatch() { return nullptr; }
  // Stores that record of a batch of its own, as AddNew and Update would.
  virtual CDaoResult StoreRecord(const CDaoRecordBatch&, size_t) { return NotSupported(); }
  // Texts may be set to fields of any type: the engine reads them, in one locale whatever the user's.
  [[nodiscard]] virtual bool ReadsTexts() const { return false; }
  // Stored records that stand in another table, since the engine refuses them in their own; the Ok text of
  // Close names it.
  [[nodiscard]] virtual uint64_t GetMovedCount() const { return 0; }
  // Characters of stored records that the database's code page does not hold; they were replaced.
  [[nodiscard]] virtual uint64_t GetReplacedCount() const { return 0; }
  // Writes what is buffered and the table's counters.
  virtual CDaoResult Close() = 0;
  // After Close: indexes that lost a property or were left out because of the rows; the Ok text names them.
  [[nodiscard]] virtual uint64_t GetChangedIndexCount() const { return 0; }
};

// What of a table could not be made once its rows were there.
struct CDaoTableChange {
  std::u16string table;
  uint64_t indexes = 0;  // that lost a property or were left out
  uint64_t properties = 0;
  std::u16string text;  // what became of them, in sentences
};

class CDaoDatabase {
 public:
  virtual ~CDaoDatabase() = default;
  virtual CDaoResult CreateTableDef(std::u16string_view name, int32_t attributes, std::u16string_view source,
                                    std::u16string_view connect, std::unique_ptr<CDaoTableDef>& tableDef) = 0;
  // `sql` is "SELECT * FROM [table]".
  virtual CDaoResult OpenRecordset(std::u16string_view sql, std::unique_ptr<CDaoRecordset>& recordset) = 0;
  // The values of all records in a complex field, or the versions of a memo that keeps them: one record a
  // value. Its fields are, by index:
  //   values        Value, number of this record (counted by itself), key
  //   attachments   FileData, FileFlags, FileName, FileTimeStamp, FileType, FileURL, number, key
  //   versions      the memo, date, number, key
  // The key is what the complex field of a record holds; records that are given none get numbers of their
  // own.
  virtual CDaoResult OpenComplexRecordset(std::u16string_view, std::u16string_view,
                                          std::unique_ptr<CDaoRecordset>& recordset) {
    recordset.reset();
    return NotSupported();
  }
  // Of the database itself ("MSysDb"), which must be set before there are other objects, or of one of its
  // documents ("SummaryInfo", "UserDefined").
  virtual CDaoResult SetProperties(std::u16string_view, std::span<const CDaoProperty>) {
    return NotSupported();
  }
  // The rows are stored as they stand; an implementation that takes statements renders them. Ok may carry a
  // text: how the query was stored when not as it was given.
  virtual CDaoResult CreateQuery(const SSavedQuery& query) = 0;
  // Makes what waits for the rows of tables, such as their keys; to be called behind the last row and in
  // front of the first relation.
  virtual CDaoResult CompleteTables(std::vector<CDaoTableChange>&) { return CDaoResult::Ok(); }
  // Both tables exist and are not open; one may be a link, if the relation is not enforced. A relation that
  // is to be enforced is refused when the primary table has no index on its fields that is unique or can be,
  // when the fields' types differ, and when a record of the foreign table refers to none; the text then names
  // the first keys. Ok may carry a text: what became of an index.
  virtual CDaoResult CreateRelation(const CDaoRelationInfo& relation) = 0;
  // Completes the file on disk. Ok may carry a text: what became of the sort order. The destructor closes
  // too, but cannot say what went wrong.
  virtual CDaoResult Close() = 0;
};

// The locale of a database that sorts as General Legacy.
inline constexpr std::u16string_view kDaoGeneralLocale = u";LANGID=0x0409;CP=1252;COUNTRY=0";

class CDaoEngine {
 public:
  virtual ~CDaoEngine() = default;
  // The file must not exist.
  virtual CDaoResult CreateDatabase(std::u16string_view path, std::u16string_view locale, int32_t options,
                                    std::unique_ptr<CDaoDatabase>& database) = 0;
  virtual CDaoResult OpenDatabase(std::u16string_view path, bool exclusive, bool readOnly,
                                  std::u16string_view connect, std::unique_ptr<CDaoDatabase>& database) = 0;
  // Whether complex fields can be made and filled, where the format has them.
  [[nodiscard]] virtual bool HasComplexFields() const { return true; }
  // Lets go of what is held for the calling thread, with no database open; the next call takes it again.
  virtual void Terminate() {}
  // The failures since the last question, each number and call once; of our own engine none.
  [[nodiscard]] virtual std::vector<CDaoEngineError> TakeErrors() { return {}; }
};

}  // namespace tolvane
