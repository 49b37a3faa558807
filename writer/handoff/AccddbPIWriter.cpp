#include "writer/handoff/AccddbPIWriter.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tolvane {

namespace {

constexpr size_t kTableListHeaderBytes = 1020;

std::u16string FindProblem(const CAccdbParsedInfo& parsedInfo) {
  if (!FitsArea(parsedInfo.database.path, CAccdbDBInfo::kPathUnits))
    return u"The save engine cannot be told the path of the damaged file: it is longer than 1023 characters.";
  for (const CAccdbTblInfo& table : parsedInfo.tables) {
    const std::u16string problem = table.FindProblem();
    if (!problem.empty())
      return u"The save engine cannot be told of the table \"" + table.name + u"\": " + problem + u".";
  }
  return {};
}

}  // namespace

bool CAccddbPIWriter::Open(std::u16string_view path) {
  m_problem.clear();
  if (m_file.Open(path, EFileAccess::Write, EFileShare::ReadWrite, EFileCreation::CreateAlways)) return true;
  m_problem = u"File \"" + std::u16string(path) + u"\" cannot be created: " +
              SystemMessage(m_file.GetLastErrorCode());
  return false;
}

bool CAccddbPIWriter::Write(const CAccdbParsedInfo& parsedInfo) {
  // Behind a failed Open: its problem still holds.
  if (!m_file.IsOpen()) return false;
  m_problem = FindProblem(parsedInfo);
  if (!m_problem.empty()) return false;
  try {
    m_file.Write(parsedInfo.database.Encode());
    std::vector<uint8_t> header(kTableListHeaderBytes);
    CAccdbImage(header).Put32(0, static_cast<uint32_t>(parsedInfo.tables.size()));
    m_file.Write(header);
    for (const CAccdbTblInfo& table : parsedInfo.tables) {
      const std::vector<uint8_t> image = table.EncodeImage();
      m_file.Write(std::span(image).first(table.GetRecordLength()));
    }
  } catch (const CFileCustException& exception) {
    m_problem = u"File \"" + m_file.GetPath() + u"\" cannot be written: " + exception.GetMessageText();
    return false;
  }
  return true;
}

}  // namespace tolvane
