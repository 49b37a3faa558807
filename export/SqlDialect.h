// What differs between the SQL databases that a script can be for: names, types and literals.
//
//                    sqlite                    postgresql           mysql
//   yes/no           BOOLEAN, 1 and 0          boolean              BOOLEAN
//   byte, integer    INTEGER                   smallint             TINYINT UNSIGNED, SMALLINT
//   long, large      INTEGER                   integer, bigint      INT, BIGINT
//   currency         no type, see below        numeric(19,4)        DECIMAL(19,4)
//   decimal          no type, see below        numeric              DECIMAL(40,scale)
//   single, double   REAL                      real, float8         DOUBLE
//   date             DATETIME, ISO texts       timestamp            DATETIME(6)
//   text, memo       TEXT COLLATE NOCASE       text                 LONGTEXT, VARCHAR(255) in keys
//   GUID             TEXT                      uuid                 CHAR(38)
//   all others       BLOB                      bytea                LONGBLOB
//
// SQLite turns numbers in columns of a numeric type into doubles. Without a type a column keeps what it is
// given: a number where 15 digits tell all of it, else its digits as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "export/ExportOptions.h"
#include "format/Value.h"

namespace tolvane {

// What a database makes of a value.
enum class ESqlFate : uint8_t {
  Kept,
  Changed,  // digits or characters that the database does not hold
  Lost,     // NULL stands for it
};

// Of a column's values; a calculated column's is that of its results.
struct SSqlType {
  uint8_t type = kTypeNone;
  uint8_t scale = 0;     // of a decimal
  bool isInKey = false;  // or in an index
};

class CSqlDialect {
 public:
  explicit CSqlDialect(ESqlDialect dialect) : m_dialect(dialect) {}
  [[nodiscard]] ESqlDialect Get() const { return m_dialect; }
  [[nodiscard]] bool Is(ESqlDialect dialect) const { return m_dialect == dialect; }

  // `name` in UTF-8, as the schema has it.
  [[nodiscard]] std::string QuoteName(std::string_view name) const;
  // Empty where a column has none.
  [[nodiscard]] std::string TypeName(const SSqlType& column) const;

  // Any value but an object, as a literal for a column of that type; `out` grows.
  ESqlFate AppendLiteral(const SSqlType& column, const SValue& value, std::string& out) const;
  ESqlFate AppendText(std::u16string_view text, std::string& out) const;
  // Hexadecimal digits stand between these.
  [[nodiscard]] std::string_view BytesBegin() const;
  [[nodiscard]] std::string_view BytesEnd() const { return "'"; }

 private:
  ESqlFate AppendNumber(const SSqlType& column, const SValue& value, std::string& out) const;
  ESqlFate AppendDate(const SValue& value, std::string& out) const;

  ESqlDialect m_dialect;
};

// Half of a surrogate pair, which UTF-8 does not hold.
bool HasHalfPair(std::u16string_view text);
// A decimal or currency text of which a double holds every digit.
bool FitsDouble(std::u16string_view digits);

}  // namespace tolvane
