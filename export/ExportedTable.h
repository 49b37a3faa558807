// One table on its way into a file of rows, whatever their form.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "export/ExportOptions.h"
#include "export/ExportSink.h"
#include "export/ObjectFiles.h"
#include "model/AccessData.h"
#include "model/FlatTable.h"
#include "status/Status.h"

namespace tolvane {

enum class EExportEnd : uint8_t {
  Done,
  Stopped,
  NotWritten,  // the disk is full or the pipe is closed; GetProblem tells
};

// Whether the user wants the export to end.
using StopRequest = std::function<bool()>;

// What an export asks and tells at every row.
struct SExportWatch {
  StopRequest isStopped;
  CProgressStatus* rows = nullptr;  // counts those that are written; null: nobody looks

  void CountRow() const {
    if (rows != nullptr) rows->IncrementPos();
  }
};

// One object a table, for one Write.
class CExportedTable {
 public:
  // All outlive this object.
  CExportedTable(const CAccessData& data, const CAccessTable& table, const SExportOptions& options,
                 SExportWatch watch)
      : m_data(data),
        m_table(table),
        m_options(options),
        m_watch(std::move(watch)),
        m_shown(ListShownColumns(table, data.GetRules(), options.withHidden)),
        m_files(data, table) {}
  virtual ~CExportedTable() = default;

  virtual EExportEnd Write(CExportSink& sink) = 0;
  // Where objects are files of their own: the folder of this table's.
  [[nodiscard]] CObjectFiles& GetFiles() { return m_files; }
  [[nodiscard]] uint64_t GetRowCount() const { return m_rows; }
  // Objects whose bytes could not be read back, and rows that were recovered but not read back.
  [[nodiscard]] uint64_t GetLostObjects() const { return m_lostObjects; }
  [[nodiscard]] uint64_t GetLostRows() const {
    return m_rows < m_table.header.rowCount ? m_table.header.rowCount - m_rows : 0;
  }
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 protected:
  // Of the record that comes next: what its files are named after.
  void BeginFiles(const std::vector<std::u16string>& keyTexts);
  // The bytes as digits of the form that was chosen, piece by piece. False when some could not be read.
  bool WriteDigits(CDaoByteSource& bytes, EOleForm form, CExportSink& sink);

  const CAccessData& m_data;
  const CAccessTable& m_table;
  const SExportOptions& m_options;
  const SExportWatch m_watch;
  const std::vector<size_t> m_shown;  // positions of columns
  CObjectFiles m_files;
  uint64_t m_rows = 0;
  uint64_t m_lostObjects = 0;
  std::u16string m_problem;

 private:
  std::vector<uint8_t> m_piece;
  std::string m_digits;
};

// For CSV and JSON lines. `preview` says when to leave the reading of multi-value cells.
std::unique_ptr<CExportedTable> MakeExportedTable(const CAccessData& data, const CAccessTable& table,
                                                  const SExportOptions& options,
                                                  const CPreviewThreadStatus& preview, SExportWatch watch);

// Fills the piece as far as there are bytes; `size` is smaller than the piece at the end only.
bool ReadPiece(CDaoByteSource& bytes, std::span<uint8_t> piece, size_t& size);

}  // namespace tolvane
