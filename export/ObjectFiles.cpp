#include "export/ObjectFiles.h"

#include <utility>

#include "export/SafeFileName.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

constexpr size_t kPieceSize = size_t{1} << 16;
constexpr size_t kLongestKey = 60;
constexpr int kAttempts = 100;

std::vector<size_t> FindKeyColumns(const CAccessTable& table) {
  std::vector<size_t> positions;
  for (const CAccessTableIndex& index : table.indexes) {
    if (index.primary == 0) continue;
    for (size_t i = 0; i < index.columnCount; ++i)
      for (size_t column = 0; column < table.columns.GetCount(); ++column)
        if (table.columns.GetAt(column)->number == index.columns[i].columnNumber) {
          positions.push_back(column);
          break;
        }
    break;
  }
  return positions;
}

// "name-row7.txt", "name-row7-2.txt", ...
std::u16string MakeVariation(const std::u16string& name, uint64_t row, int attempt) {
  const std::u16string_view extension = ExtensionOf(name);
  const size_t stem = extension.empty() ? name.size() : name.size() - extension.size() - 1;
  std::u16string mark = u"-row" + ToDecimal(row);
  if (attempt > 1) mark += u"-" + ToDecimal(attempt);
  return name.substr(0, stem) + mark + name.substr(stem);
}

}  // namespace

CObjectFiles::CObjectFiles(const CAccessData& data, const CAccessTable& table)
    : m_data(data), m_table(table), m_keyColumns(FindKeyColumns(table)) {}

void CObjectFiles::SetFolder(std::u16string path, std::u16string shownAs) {
  m_folder = std::move(path);
  m_shownAs = std::move(shownAs);
}

void CObjectFiles::BeginRecord(uint64_t row, std::u16string_view key) {
  m_row = row;
  if (key.empty() || key.size() > kLongestKey)
    m_key = u"row" + ToDecimal(row);
  else
    m_key = MakeSafeFileName(key);
}

std::u16string CObjectFiles::ColumnName(size_t column) const {
  return MakeSafeFileName(SpelledName(*m_table.columns.GetAt(column), m_data.source));
}

bool CObjectFiles::CopyObject(size_t column, CDaoByteSource& object, std::u16string& shownAs) {
  if (m_data.GetRules().recordsHoldTexts)
    return Copy({ToDecimal(m_row) + u"_" + ColumnName(column) + u"_" + ToDecimal(column + 1) + u".bin"},
                object, shownAs);
  return Copy({ColumnName(column), m_key + u".bin"}, object, shownAs);
}

bool CObjectFiles::CopyFile(size_t column, std::u16string_view name, CDaoByteSource& file,
                            std::u16string& shownAs) {
  return Copy({ColumnName(column), m_key, MakeSafeFileName(name)}, file, shownAs);
}

// `place`: folders below the table's, and the file's name.
bool CObjectFiles::Copy(std::vector<std::u16string> place, CDaoByteSource& object, std::u16string& shownAs) {
  const std::u16string name = std::move(place.back());
  place.pop_back();
  std::u16string folder = m_folder, shownFolder = m_shownAs;
  if (GetFileKind(folder) == EFileKind::Missing) CreateFolder(folder);
  for (const std::u16string& part : place) {
    folder += kPathSeparator + part;
    shownFolder += u"/" + part;
    if (m_madeFolder == folder || m_madeFolder.starts_with(folder + kPathSeparator)) continue;
    CreateFolder(folder);
    m_madeFolder = folder;
  }
  CFileCust copy;
  std::u16string given = name;
  for (int attempt = 0; attempt < kAttempts && !copy.IsOpen(); ++attempt) {
    if (attempt > 0) given = MakeVariation(name, m_row, attempt);
    const std::u16string path = folder + kPathSeparator + given;
    if (copy.Open(path, EFileAccess::Write, EFileShare::Read, EFileCreation::CreateNew)) break;
    m_problem = path + u": " + SystemMessage(copy.GetLastErrorCode());
    if (!FileExists(path)) return true;
  }
  if (!copy.IsOpen()) return true;
  m_problem.clear();
  shownAs = shownFolder + u"/" + given;
  bool isRead = true;
  m_piece.resize(kPieceSize);
  try {
    for (size_t size = kPieceSize; size > 0;) {
      isRead = object.Read(m_piece, size) && isRead;
      copy.Write({m_piece.data(), size});
    }
  } catch (const CFileCustException& error) {
    m_problem = folder + kPathSeparator + given + u": " + error.GetMessageText();
  }
  return isRead;
}

}  // namespace tolvane
