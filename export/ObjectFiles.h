// The files of a table's OLE objects and attachments, in a folder of the table's own.
//
//   where values are kept    COLUMN/KEY.bin for an object, COLUMN/KEY/NAME for each attached file
//   where texts are kept     ROW_COLUMN_NUMBER.bin
//
// KEY is the record's primary key, or "row" and its number where it has none. A name that is taken gets the
// record's number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dao/dao.h"
#include "model/AccessData.h"

namespace tolvane {

class CObjectFiles {
 public:
  // `table` and `data` outlive this object.
  CObjectFiles(const CAccessData& data, const CAccessTable& table);

  // Where the files are written, made with the first one, and how rows name it.
  void SetFolder(std::u16string path, std::u16string shownAs);
  // Positions of the columns that make a record's key; none where there is no primary key.
  [[nodiscard]] const std::vector<size_t>& GetKeyColumns() const { return m_keyColumns; }
  // Of the record whose files come next; `key` as text, empty where there is none.
  void BeginRecord(uint64_t row, std::u16string_view key);

  // Copies the bytes; `shownAs` is the file's place as rows name it. False when the bytes cannot be read; a
  // file that cannot be written is a problem of the whole export.
  bool CopyObject(size_t column, CDaoByteSource& object, std::u16string& shownAs);
  bool CopyFile(size_t column, std::u16string_view name, CDaoByteSource& file, std::u16string& shownAs);
  // Why a file could not be written; empty when all went well.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 private:
  [[nodiscard]] std::u16string ColumnName(size_t column) const;
  bool Copy(std::vector<std::u16string> place, CDaoByteSource& object, std::u16string& shownAs);

  const CAccessData& m_data;
  const CAccessTable& m_table;
  std::vector<size_t> m_keyColumns;
  std::u16string m_folder;
  std::u16string m_shownAs;
  uint64_t m_row = 0;
  std::u16string m_key;
  std::u16string m_madeFolder;  // the last one
  std::vector<uint8_t> m_piece;
  std::u16string m_problem;
};

}  // namespace tolvane
