// The fields of one table's rows as values.
//
// A memo is put together from its pages and its text is the value, or of a long one the last piece; an OLE
// object goes to the sink that keeps objects, and the value is what that calls it. Of a calculated column the
// value is its result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "engine/LongValueReader.h"
#include "engine/ObjectSink.h"
#include "engine/TextDecoder.h"
#include "format/CalculatedValue.h"
#include "format/Layout.h"
#include "format/RowFrame.h"
#include "format/Value.h"
#include "model/AccessTable.h"
#include "model/RecoveryRules.h"
#include "store/RecordBuffer.h"

namespace tolvane {

enum class EFieldResult : uint8_t {
  Decoded,       // null and empty values too
  Broken,        // a present value that cannot be located; it is null
  CutShort,      // a long value of which only the text's part could be read
  Unfit,         // taken, although its column could not have been given it
  Contradicted,  // the row says that it is null and has bytes for it, which are taken if they can be
};

class CFieldDecoder {
 public:
  // All arguments outlive the decoder.
  CFieldDecoder(const STextLayout& layout, const SRecoveryRules& rules, CLongValueReader& longValues,
                CObjectSink& objects);

  // What takes the pieces of a long memo while it is read, UTF-16LE, but for the last one. Without it values
  // are whole. It outlives the decoder.
  void UseTextSink(CLongValueSink& sink) { m_pieces = &sink; }

  // The table of the rows that follow. `codePage` is used by Jet 3 columns that name none.
  void SetTable(const CAccessTable& table, uint32_t codePage);
  [[nodiscard]] const SRowShape& GetShape() const { return m_shape; }
  [[nodiscard]] size_t GetColumnCount() const { return m_columns.size(); }

  // The value of the column at that position of the table's list; it stays until the next call. Throws
  // CFileCustException when an object cannot be kept.
  EFieldResult Decode(const CRowFrame& frame, size_t column, SValue& value);

  // Appends the record of that value, where records hold values (store/ValueRecord.h); long texts are whole.
  EFieldResult AppendRecord(const CRowFrame& frame, size_t column, CRecordBuffer& records);
  // Whether the column's record refers to an object.
  [[nodiscard]] bool HasObject(const CRowFrame& frame, size_t column) const {
    const SField& field = m_columns[column];
    return field.type == kTypeOle && !field.isCalculated && frame.IsPresent(field.number);
  }

  // Tells the reader of long values which of them the row has.
  void NoteLongValues(const CRowFrame& frame);

  // Gives back what an unusually long text made it allocate.
  void ReleaseMemory();

 private:
  // How the record of a column's value comes about.
  enum class EForm : uint8_t {
    Mask,   // from the bit of the null mask
    Bytes,  // as stored
    Text,   // as stored or unpacked
    Other,  // by way of the value
  };
  // What is needed of a column, looked up once a table.
  struct SField {
    uint8_t type;
    uint8_t scale;
    bool isFixed;
    bool isCalculated;
    EForm form;
    uint32_t number;
    size_t place;   // offset in the fixed area, or variable index
    size_t width;   // bytes of a fixed field
    size_t needed;  // fewer bytes are no value of that type
    size_t most;    // letters or bytes that the column has room for; 0: where nothing tells
    STextCoding coding;
  };

  [[nodiscard]] SField MakeField(const CAccessColumn& column, uint32_t codePage) const;
  [[nodiscard]] static EForm FormOf(const SField& field);
  [[nodiscard]] static CRowFrame::Field BytesOf(const SField& field, const CRowFrame& frame) {
    return field.isFixed ? frame.FindFixed(field.place, field.width) : frame.FindVariable(field.place);
  }
  // Whether the column could have been given the value: it has room for it, and all letters are whole.
  [[nodiscard]] static bool Fits(const SField& field, std::span<const uint8_t> bytes);
  EFieldResult AppendPlain(const SField& field, const CRowFrame& frame, CRecordBuffer& records);
  [[nodiscard]] bool IsContradicted(const SField& field, const CRowFrame& frame) const;
  EFieldResult DecodeBytes(const SField& field, std::span<const uint8_t> bytes, SValue& value);
  EFieldResult DecodeCalculated(const SField& field, std::span<const uint8_t> bytes, SValue& value);
  EFieldResult DecodeMemo(const SField& field, std::span<const uint8_t> bytes, SValue& value);
  EFieldResult DecodeOle(std::span<const uint8_t> bytes, SValue& value);
  void AppendUnpackedText(std::span<const uint8_t> stored, CRecordBuffer& records);
  void DecodeText(const SField& field, std::span<const uint8_t> bytes, SValue& value);
  void DecodeDecimal(std::span<const uint8_t> bytes, SValue& value);

  const STextLayout& m_layout;
  const SRecoveryRules& m_rules;
  CLongValueReader& m_longValues;
  CObjectSink& m_objects;
  CLongValueSink* m_pieces = nullptr;
  CTextDecoder m_text;
  std::u16string m_units;  // of the text decoded last
  ResultBytes m_room{};    // of a value whose stored form is not its own
  SRowShape m_shape;
  std::vector<SField> m_columns;
};

}  // namespace tolvane
