#include "tests/checker/CheckerTest.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "writer/embedded/EmbeddedEngine.h"

namespace tolvane::test {
namespace {

constexpr int kSmallTables = 90;  // with their long names: an index tree of two levels in the catalogue

class CBytes : public CDaoByteSource {
 public:
  explicit CBytes(size_t length) : m_length(length) {}
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override {
    bytesRead = std::min(buffer.size(), m_length - m_position);
    for (size_t i = 0; i < bytesRead; i++) buffer[i] = static_cast<uint8_t>((m_position + i) * 31);
    m_position += bytesRead;
    return true;
  }
  [[nodiscard]] uint64_t GetLength() const override { return m_length; }

 private:
  size_t m_length, m_position = 0;
};

void Expect(const CDaoResult& result) {
  ASSERT_TRUE(result.IsOk()) << ToUtf8(result.text);
}

// Plain values: numbers from 1 up, texts of 10 to 19 characters.
void AddPlainTable(CDaoDatabase& database) {
  std::unique_ptr<CDaoTableDef> table;
  Expect(database.CreateTableDef(u"Plain", 0, u"", u"", table));
  Expect(table->CreateField(u"PlainId", kDaoLong, 4, kDaoAutoIncrement | kDaoFixedField));
  Expect(table->CreateField(u"PlainText", kDaoText, 20, kDaoVariableField));
  Expect(table->CreateField(u"PlainFlag", kDaoBoolean, 1, kDaoFixedField));
  Expect(table->CreateField(u"PlainDate", kDaoDate, 8, kDaoFixedField));
  Expect(table->Append());
  std::unique_ptr<CDaoRecordset> rows;
  Expect(database.OpenRecordset(u"SELECT * FROM [Plain]", rows));
  for (int i = 1; i <= 200; i++) {
    Expect(rows->AddNew());
    Expect(rows->SetFieldValue(0, ToDecimal(i)));
    Expect(rows->SetFieldValue(1, u"PlainValue" + std::u16string(static_cast<size_t>(i % 10), u'x')));
    Expect(rows->SetFieldValue(2, i % 2 == 0 ? u"Yes" : u"No"));
    Expect(rows->SetFieldValue(3, u"2001-02-03 04:05:06"));
    Expect(rows->Update());
  }
  Expect(rows->Close());
}

// One long value of each kind: in the row, in one row of a page, in a chain.
void AddLongTable(CDaoDatabase& database) {
  std::unique_ptr<CDaoTableDef> table;
  Expect(database.CreateTableDef(u"Long", 0, u"", u"", table));
  Expect(table->CreateField(u"LongMemo", kDaoMemo, 0, kDaoVariableField));
  Expect(table->CreateField(u"LongBytes", kDaoLongBinary, 0, kDaoVariableField));
  Expect(table->Append());
  std::unique_ptr<CDaoRecordset> rows;
  Expect(database.OpenRecordset(u"SELECT * FROM [Long]", rows));
  for (const size_t length : {size_t{20}, size_t{300}, size_t{9000}}) {
    Expect(rows->AddNew());
    Expect(rows->SetFieldValue(0, std::u16string(length, u'm')));
    CBytes bytes(length + 1);
    Expect(rows->SetFieldValue(1, bytes));
    Expect(rows->Update());
  }
  Expect(rows->Close());
}

std::vector<uint8_t> MakeSoundBytes() {
  const CScratchFolder folder;
  const std::u16string path = folder / u"sound.mdb";
  const auto engine = MakeEmbeddedEngine();
  std::unique_ptr<CDaoDatabase> database;
  Expect(engine->CreateDatabase(path, u";LANGID=0x0409;CP=1252;COUNTRY=0", kDaoVersionJet4, database));
  AddPlainTable(*database);
  AddLongTable(*database);
  for (int i = 0; i < kSmallTables; i++) {
    std::unique_ptr<CDaoTableDef> table;
    Expect(database->CreateTableDef(u"SmallTableWithANameThatIsLongEnoughForTwoLeaves" + ToDecimal(100 + i),
                                    0, u"", u"", table));
    Expect(table->CreateField(u"Number", kDaoLong, 4, kDaoFixedField));
    Expect(table->Append());
  }
  std::unique_ptr<CDaoQueryDef> query;
  Expect(database->CreateQueryDef(u"PlainQuery", u"SELECT PlainId, PlainText FROM Plain WHERE PlainId > 3",
                                  query));
  Expect(query->Append());
  Expect(database->Close());
  return ReadFileBytes(path);
}

}  // namespace

size_t CChangedFile::FindTable(std::string_view column) const {
  for (size_t page = 6; page < GetPageCount(); page++)
    if (m_bytes[page * m_pageSize] == 2 && Find(page, WideBytes(column)) != std::string::npos) return page;
  return 0;
}

size_t CChangedFile::Find(size_t page, std::string_view bytes, size_t from) const {
  const auto start = m_bytes.begin() + static_cast<std::ptrdiff_t>(page * m_pageSize);
  const auto end = start + static_cast<std::ptrdiff_t>(m_pageSize);
  const auto found = std::search(start + static_cast<std::ptrdiff_t>(from), end, bytes.begin(), bytes.end(),
                                 [](uint8_t a, char b) { return a == static_cast<uint8_t>(b); });
  return found == end ? std::string::npos : static_cast<size_t>(found - start);
}

std::string WideBytes(std::string_view ascii) {
  std::string bytes;
  for (const char c : ascii) bytes.append({c, '\0'});
  return bytes;
}

CChangedFile MakeSoundFile() {
  static const std::vector<uint8_t> bytes = MakeSoundBytes();
  return CChangedFile(bytes);
}

SCheckReport CheckBytes(const std::vector<uint8_t>& bytes) {
  const CScratchFolder folder;
  const std::u16string path = folder / u"changed.mdb";
  WriteFileBytes(path, bytes);
  return CheckDatabase(path);
}

std::set<std::string> RulesOf(const SCheckReport& report) {
  std::set<std::string> rules;
  for (const auto& [rule, count] : report.counts) rules.insert(std::string(rule));
  return rules;
}

std::string Describe(const SCheckReport& report) {
  std::string text;
  for (const SFinding& finding : report.findings)
    text += std::string(finding.severity == ESeverity::Error ? "error " : "doubt ") +
            std::string(finding.rule) + " page " + std::to_string(finding.place.page) + " row " +
            std::to_string(finding.place.row) + " [" + ToUtf8(finding.table) + "] " + ToUtf8(finding.text) +
            "\n";
  return text;
}

std::u16string CorpusFolder() {
  const char* named = std::getenv("TOLVANE_CORPUS");
  const std::filesystem::path folder =
      named != nullptr ? std::filesystem::path(named)
                       : std::filesystem::path(TOLVANE_PROJECT_ROOT) / ".." / "shared" / "corpus";
  std::error_code error;
  return std::filesystem::is_directory(folder, error) ? folder.u16string() : std::u16string();
}

std::vector<SCorpusFile> CorpusFiles() {
  std::vector<SCorpusFile> files;
  const std::filesystem::path folder(CorpusFolder());
  if (folder.empty()) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    const std::filesystem::path& path = entry.path();
    if (path.extension() == ".mdb" || path.extension() == ".accdb")
      files.push_back({path.u16string(), path.lexically_relative(folder).generic_string()});
  }
  std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  return files;
}

void WriteFileBytes(const std::u16string& path, std::span<const uint8_t> bytes) {
  CFileCust file;
  EXPECT_TRUE(file.Open(path, EFileAccess::Write, EFileShare::Read, EFileCreation::CreateAlways));
  file.Write(bytes);
  file.Close();
}

std::vector<uint8_t> ReadFileBytes(const std::u16string& path) {
  CFileCust file;
  if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting)) return {};
  std::vector<uint8_t> bytes(file.GetLength());
  CErrorHandler handler;
  bytes.resize(file.Read(bytes, handler));
  return bytes;
}

}  // namespace tolvane::test
