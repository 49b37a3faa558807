#include "tests/checker/CheckerTest.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

constexpr size_t kSmallTables = 90;  // with their long names: an index tree of two levels in the catalogue

class CSoundDatabase : public DatabaseFixture {
 public:
  std::vector<uint8_t> Make() {
    Create();
    ExpectOk(AddTable(u"Plain", {{u"PlainId", kDaoLong, 4, kDaoAutoIncrement | kDaoFixedField},
                                 {u"PlainText", kDaoText, 20, kDaoVariableField},
                                 {u"PlainFlag", kDaoBoolean, 1, kDaoFixedField},
                                 {u"PlainDate", kDaoDate, 8, kDaoFixedField}}));
    std::vector<Texts> plain, values;
    for (size_t i = 1; i <= 200; i++)
      plain.push_back({ToDecimal(i), u"PlainValue" + std::u16string(i % 10, u'x'),
                       i % 2 == 0 ? u"Yes" : u"No", u"2001-02-03 04:05:06"});
    ExpectOk(AddRows(u"Plain", plain));
    // One long value of each kind: in the row, in one row of a page, in a chain.
    ExpectOk(AddTable(u"Long", {{u"LongMemo", kDaoMemo, 0, kDaoVariableField},
                                {u"LongNote", kDaoMemo, 0, kDaoVariableField}}));
    for (const size_t length : {20u, 300u, 9000u})
      values.push_back({std::u16string(length, u'm'), std::u16string(length + 1, u'n')});
    ExpectOk(AddRows(u"Long", values));
    for (size_t i = 0; i < kSmallTables; i++)
      ExpectOk(AddTable(u"SmallTableWithANameThatIsLongEnoughForTwoLeaves" + ToDecimal(100 + i),
                        {{u"Number", kDaoLong, 4, kDaoFixedField}}));
    ExpectOk(m_database->CreateQuery(MakeQuery(u"PlainQuery", u"Plain", u"PlainId")));
    ExpectOk(m_database->Close());
    return ReadFileBytes(m_path);
  }

 private:
  void TestBody() override {}
};

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
  static const std::vector<uint8_t> bytes = CSoundDatabase().Make();
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
  std::ranges::sort(files, [](const auto& a, const auto& b) { return a.name < b.name; });
  return files;
}

void WriteFileBytes(const std::u16string& path, std::span<const uint8_t> bytes) {
  WriteText(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::vector<uint8_t> ReadFileBytes(const std::u16string& path) {
  return BytesOf(ReadText(path));
}

}  // namespace tolvane::test
