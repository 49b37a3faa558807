// A database in a file of its own, made through the operations that the writer uses, and read back by the
// walker.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "checker/DatabaseCheck.h"
#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"
#include "tests/embedded/FileWalker.h"
#include "writer/embedded/EmbeddedEngine.h"

namespace tolvane::test {

struct SField {
  std::u16string_view name;
  int16_t type;
  int32_t size = 0;
  int32_t attributes = 0;
};

// `length` bytes that repeat late; handed over in pieces of odd sizes, as a file on a slow disk might.
class CPatternSource : public CDaoByteSource {
 public:
  explicit CPatternSource(uint64_t length, uint64_t failAt = UINT64_MAX)
      : m_length(length), m_failAt(failAt) {}
  static char ByteAt(uint64_t i) { return static_cast<char>((i * 7 + (i >> 8)) & 0xFF); }
  static std::string Expected(uint64_t length) {
    std::string bytes;
    for (uint64_t i = 0; i < length; i++) bytes += ByteAt(i);
    return bytes;
  }
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override {
    bytesRead = 0;
    if (m_position >= m_failAt) return false;
    for (; bytesRead < buffer.size() && bytesRead < 999 && m_position < m_length; m_position++)
      buffer[bytesRead++] = static_cast<uint8_t>(ByteAt(m_position));
    return true;
  }
  [[nodiscard]] uint64_t GetLength() const override { return m_length; }

 private:
  uint64_t m_length, m_failAt, m_position = 0;
};

class DatabaseFixture : public ::testing::Test {
 protected:
  DatabaseFixture() { RemoveFile(m_path); }
  ~DatabaseFixture() override {
    m_recordset.reset();
    m_database.reset();
    RemoveFile(m_path);
  }

  void Create(const SEmbeddedLimits& limits = {}) {
    m_engine = MakeEmbeddedEngine(limits);
    ExpectOk(m_engine->CreateDatabase(m_path, u";LANGID=0x0409;CP=1252;COUNTRY=0", m_version, m_database));
  }
  void Reopen() {
    ExpectOk(m_database->Close());
    ExpectOk(m_engine->OpenDatabase(m_path, false, false, u"", m_database));
  }
  CDaoResult AddTable(std::u16string_view name, const std::vector<SField>& fields) {
    std::unique_ptr<CDaoTableDef> table;
    if (CDaoResult result = m_database->CreateTableDef(name, 0x10000, u"", u"", table); !result.IsOk())
      return result;
    for (const SField& field : fields)
      if (CDaoResult result = table->CreateField(field.name, field.type, field.size, field.attributes);
          !result.IsOk())
        return result;
    return table->Append();
  }
  void OpenTable(std::u16string_view name) {
    if (m_recordset) ExpectOk(m_recordset->Close());
    ExpectOk(
        m_database->OpenRecordset(std::u16string(u"SELECT * FROM [").append(name).append(u"]"), m_recordset));
  }
  // A new record with these values; u"-" leaves a field alone.
  CDaoResult AddRow(const std::vector<std::u16string>& values) {
    if (CDaoResult result = m_recordset->AddNew(); !result.IsOk()) return result;
    for (size_t i = 0; i < values.size(); i++)
      if (values[i] != u"-")
        if (CDaoResult result = m_recordset->SetFieldValue(i, values[i]); !result.IsOk()) return result;
    return m_recordset->Update();
  }
  // Closes everything; the file must be sound.
  CFileWalker CloseAndCheck() {
    if (m_recordset) ExpectOk(m_recordset->Close());
    m_recordset.reset();
    ExpectOk(m_database->Close());
    CFileWalker walker(ReadFile());
    EXPECT_EQ(walker.Check(), std::vector<std::string>{});
    const SCheckReport report = CheckDatabase(m_path);
    for (const SFinding& finding : report.findings)
      ADD_FAILURE() << finding.rule << " " << ToUtf8(finding.table) << ": " << ToUtf8(finding.text);
    return walker;
  }
  [[nodiscard]] std::string ReadFile() const {
    CFileCust file;
    CErrorHandler handler;
    EXPECT_TRUE(file.Open(m_path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting));
    std::string bytes(static_cast<size_t>(file.GetLength()), '\0');
    file.Read({reinterpret_cast<uint8_t*>(bytes.data()), bytes.size()}, handler);
    return bytes;
  }
  static void ExpectOk(const CDaoResult& result) {
    EXPECT_EQ(result.code, EDaoError::None) << ToUtf8(result.text);
  }

  int32_t m_version = kDaoVersionJet4;
  const std::u16string m_path =
      GetTempFolder() + u"embedded_test_" + ToDecimal(uint64_t{GetProcessNumber()}) + u".mdb";
  std::unique_ptr<CDaoEngine> m_engine;
  std::unique_ptr<CDaoDatabase> m_database;
  std::unique_ptr<CDaoRecordset> m_recordset;
};

// The same test over both page formats.
class BothFormats : public DatabaseFixture, public ::testing::WithParamInterface<int32_t> {
 protected:
  BothFormats() { m_version = GetParam(); }
  [[nodiscard]] bool IsJet3() const { return m_version == kDaoVersionJet3; }
};
inline std::string FormatName(const ::testing::TestParamInfo<int32_t>& info) {
  return info.param == kDaoVersionJet3 ? "Jet3" : "Jet4";
}

}  // namespace tolvane::test
