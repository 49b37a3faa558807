// A new database is what the original engine makes, byte for byte where bytes mean something.
#include <gtest/gtest.h>

#include <bit>

#include "platform/CodePage.h"
#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"
#include "platform/Terminal.h"
#include "tests/embedded/DatabaseFixture.h"
#include "writer/embedded/HeaderPage.h"

namespace tolvane::test {
namespace {

class EmptyDatabase : public DatabaseFixture {};

constexpr size_t kPage = 4096;

struct SRange {
  size_t page, at, size, count = 1, step = 0;
};
// What tells one file from another (day, build, date, masked accounts) and what engines leave uninitialised.
constexpr SRange kVarying[] = {
    {0, 0x42, 42},       {0, 0x72, 8},         {17, 0xFC1, 16},        {17, 0xF70, 16},
    {17, 0xF17, 16},     {17, 0xECC, 16},      {17, 0xE77, 16},        {17, 0xE28, 16},
    {17, 0xDD3, 16},     {17, 0xD72, 16},      {17, 0xFE1, 2},         {17, 0xF96, 2},
    {17, 0xF45, 2},      {17, 0xEEC, 2},       {17, 0xEA1, 2},         {17, 0xE4C, 2},
    {17, 0xDFD, 2},      {17, 0xDA8, 2},       {18, 0xEDA, 2, 16, 19}, {2, 0x20, 8},
    {3, 0x20, 8},        {4, 0x20, 8},         {5, 0x20, 8},           {2, 0x06C, 2},
    {2, 0x085, 2},       {2, 0x0E9, 2},        {2, 0x11B, 2, 6, 25},   {2, 0x1CA, 2},
    {2, 0x1E3, 2},       {3, 0x0AB, 2},        {4, 0x079, 2},          {4, 0x0C4, 2, 2, 25},
    {4, 0x10F, 2},       {5, 0x0C3, 2, 5, 25}, {2, 0x31E, 1, 8, 3},    {2, 0x34F, 1, 9, 3},
    {3, 0x0F4, 1, 9, 3}, {4, 0x19C, 1, 7, 3},  {5, 0x1EE, 1, 9, 3},    {5, 0x222, 1, 9, 3},
    {5, 0x256, 1, 9, 3}, {2, 0x33C, 4},        {2, 0x370, 4},          {3, 0x115, 4},
    {4, 0x1B7, 4},       {5, 0x20F, 4},        {5, 0x243, 4},          {5, 0x277, 4}};

size_t Mask(std::string& bytes) {
  size_t masked = 0;
  for (const SRange& range : kVarying)
    for (size_t i = 0; i < range.count; i++, masked += range.size)
      bytes.replace(range.page * kPage + range.at + i * range.step, range.size, range.size, '?');
  return masked;
}

std::u16string CorpusFile(std::u16string_view name) {
  std::u16string folder = GetEnvironment(u"TOLVANE_CORPUS");
  if (folder.empty()) folder = FromUtf8(TOLVANE_SOURCE_FOLDER "/../shared/corpus");
  return folder.append(u"/").append(name);
}

TEST_F(EmptyDatabase, EqualsTheFileOfTheOriginalEngine) {
  Create();
  ExpectOk(m_database->Close());
  std::string made = ReadFile();
  CFileCust file;
  CErrorHandler handler;
  if (!file.Open(CorpusFile(u"engine-made/emptyJet4.mdb"), EFileAccess::Read, EFileShare::Read,
                 EFileCreation::OpenExisting))
    GTEST_SKIP() << "no real database at hand; set TOLVANE_CORPUS to the folder of real databases";
  std::string model(static_cast<size_t>(file.GetLength()), '\0');
  file.Read({reinterpret_cast<uint8_t*>(model.data()), model.size()}, handler);
  ASSERT_EQ(made.size(), model.size());
  EXPECT_EQ(Mask(made), 388u) << "the ranges that may differ";
  Mask(model);
  for (size_t page = 0; page < made.size() / kPage; page++)
    for (size_t i = page * kPage; i < (page + 1) * kPage; i++)
      ASSERT_EQ(made[i], model[i]) << "page " << page << " offset " << i % kPage;
}

class EitherEmptyDatabase : public BothFormats {};

TEST_P(EitherEmptyDatabase, IsSoundAndStaysSoundWhenOpenedAgain) {
  Create();
  Reopen();
  CFileWalker walker = CloseAndCheck();
  EXPECT_EQ(walker.PageCount(), IsJet3() ? 20u : 19u);
  EXPECT_EQ(walker.Read(u"MSysObjects").rows.size(), 8u);
  // Jet 3 columns stand in order of their numbers. In Jet 4 it is the display numbers, which are all 0 in
  // system tables, so that names decide.
  EXPECT_EQ(walker.Read(u"MSysACEs").columns[1].name, IsJet3() ? u"SID" : u"FInheritable");
}

// Both from files of real engines: creation date, build, and how "03 01" is stored.
TEST(HeaderPage, AccountMaskFollowsFromDateAndBuild) {
  struct SCase {
    uint64_t date;
    uint16_t build;
    uint8_t first, second;
  };
  for (const SCase& real :
       {SCase{0x40E4EC4F6BD4AF81, 4518, 0x07, 0xE8}, SCase{0x40E4AB3E3BD3853E, 9756, 0x64, 0x8B}}) {
    SHeaderPage header;
    header.creationDate = std::bit_cast<double>(real.date);
    header.build = real.build;
    const std::vector<uint8_t> page = BuildHeaderPage(kLayoutJet4, header);
    EXPECT_EQ(0x03 ^ header.sidMask[0], real.first);
    EXPECT_EQ(0x01 ^ header.sidMask[1], real.second);
    SHeaderPage parsed;
    EXPECT_EQ(ParseHeaderPage(kLayoutJet4, page, parsed), EHeaderVerdict::Ok);
    EXPECT_EQ(parsed.sidMask, header.sidMask);
    EXPECT_EQ(parsed.creationDate, header.creationDate);
  }
}

TEST_F(EmptyDatabase, RefusesWhatItCannotMakeOrOpen) {
  m_engine = MakeEmbeddedEngine();
  EXPECT_EQ(m_engine->OpenDatabase(m_path, false, false, u"", m_database).code, EDaoError::NotFound);

  Create();
  ExpectOk(m_database->Close());
  EXPECT_EQ(m_engine->CreateDatabase(m_path, u"", kDaoVersionJet4, m_database).code,
            EDaoError::DatabaseExists);

  const std::string sound = ReadFile();
  const auto openWith = [&](size_t at, char byte, size_t length) {
    std::string bytes = sound.substr(0, length);
    bytes[at] = byte;
    CFileCust file;
    EXPECT_TRUE(file.Open(m_path, EFileAccess::Write, EFileShare::None, EFileCreation::CreateAlways));
    file.Write({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    file.Close();
    return m_engine->OpenDatabase(m_path, false, false, u"", m_database).code;
  };
  EXPECT_EQ(openWith(0x04, 'X', sound.size()), EDaoError::NotADatabase);
  EXPECT_EQ(openWith(0x14, 2, sound.size()), EDaoError::NotSupported) << "a newer version";
  EXPECT_EQ(openWith(0x3E, 1, sound.size()), EDaoError::NotSupported) << "encrypted";
  EXPECT_EQ(openWith(0, 0, sound.size() - 1), EDaoError::NotADatabase) << "cut short";
  EXPECT_EQ(openWith(2 * 4096 + 45, '\xFF', sound.size()), EDaoError::NotADatabase)
      << "column count of MSysObjects";
  EXPECT_EQ(openWith(17 * 4096 + 12, '\xFF', sound.size()), EDaoError::NotSupported)
      << "slots of the catalogue";
}

INSTANTIATE_TEST_SUITE_P(Formats, EitherEmptyDatabase, ::testing::Values(kDaoVersionJet3, kDaoVersionJet4),
                         FormatName);

}  // namespace
}  // namespace tolvane::test
