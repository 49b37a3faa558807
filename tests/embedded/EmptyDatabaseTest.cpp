// A new database is what the original engine makes, byte for byte where bytes mean something.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <span>

#include "format/HeaderPage.h"
#include "platform/Terminal.h"
#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

class EmptyDatabase : public DatabaseFixture {};

struct SRange {
  size_t page, at, size, count = 1, step = 0;
};
// What tells one Jet 4 file from another (day, build, date, masked accounts) and what engines leave
// uninitialised.
constexpr SRange kVaryingJet4[] = {
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

// There is no empty Jet 3 file of a real engine. The model was written by the Jet 4 engine and holds one
// table and the objects of the user interface, but its first pages are those of an empty one. What differs
// there: marks of the Jet 4 engine (in page 0 and in each column), the build, a commit counter, free pages,
// numbers of rows and of distinct keys; of page 4 what is uninitialised, the end of page 2, and the pages
// that LvProp (6) and MSysACEs (12) own.
constexpr SRange kVaryingJet3[] = {
    {0, 0x38, 1},         {0, 0x56, 2},          {0, 0x602, 1},        {1, 0x782, 2},
    {2, 0x00C, 1},        {3, 0x00C, 1},         {2, 0x02F, 1},        {2, 0x037, 1},
    {3, 0x02F, 1},        {2, 0x042, 1, 17, 18}, {3, 0x03A, 1, 4, 18}, {4, 0x03A, 1, 7, 18},
    {5, 0x04A, 1, 8, 18}, {4, 0x065, 1, 4, 18},  {4, 0x0F1, 1, 7, 3},  {2, 0x780, 128},
    {6, 0x1CB, 1},        {6, 0x250, 1},         {12, 0x6FD, 1},       {12, 0x782, 1}};

// An ACE file begins with the pages of a Jet 4 one, but for rows, and has tables of its own on pages 18
// to 40. The model holds the objects of the user interface: what they add to counters and maps varies, too.
constexpr SRange kVaryingAce[] = {{0, 0x42, 40},          {0, 0x72, 8},          {0, 0xE00, 4},
                                  {6, 0xBBC, 1},          {6, 0xC01, 1},         {6, 0xCD0, 1},
                                  {6, 0xD15, 1},          {9, 0xF83, 1},         {9, 0xFC8, 1},
                                  {2, 0x10, 1},           {3, 0x10, 1},          {2, 0x43, 1, 2, 12},
                                  {3, 0x43, 1},           {2, 0x20, 8, 4, 4096}, {18, 0x20, 8},
                                  {23, 0x20, 8, 9, 8192},  // of each kind of complex column
                                  {2, 0x06C, 2},          {2, 0x085, 2},         {2, 0x0E9, 2},
                                  {2, 0x11B, 2, 6, 25},   {2, 0x1CA, 2},         {2, 0x1E3, 2},
                                  {3, 0x0AB, 2},          {4, 0x079, 2},         {4, 0x0C4, 2, 2, 25},
                                  {4, 0x10F, 2},          {5, 0x0C3, 2, 5, 25},  {2, 0x31E, 1, 8, 3},
                                  {2, 0x34F, 1, 9, 3},    {3, 0x0F4, 1, 9, 3},   {4, 0x19C, 1, 7, 3},
                                  {5, 0x1EE, 1, 9, 3},    {5, 0x222, 1, 9, 3},   {5, 0x256, 1, 9, 3},
                                  {2, 0x33C, 4},          {2, 0x370, 4},         {3, 0x115, 4},
                                  {4, 0x1B7, 4},          {5, 0x20F, 4},         {5, 0x243, 4},
                                  {5, 0x277, 4},          {18, 0x078, 2},        {35, 0x054, 2, 2, 8192}};

struct SModel {
  int32_t version;
  const char* file;
  size_t pageSize, pages;
  std::vector<size_t> skipped;  // pages that hold rows of other objects
  std::span<const SRange> varying;
  size_t varyingBytes;
  uint64_t fingerprint;  // of the model, without what varies
  size_t morePages = 0;  // that ours has behind those compared
};
const SModel kModels[] = {
    {kDaoVersionJet4, "/engine-made/emptyJet4.mdb", 4096, 19, {}, kVaryingJet4, 388, 0x49135C6807745CE7},
    // The roots of the catalogue's and the accounts' indexes (9, 11, 13) and their rows (18, 19).
    {kDaoVersionJet3,
     "/V1997/overflowTestV1997.mdb",
     2048,
     20,
     {9, 11, 13, 18, 19},
     kVaryingJet3,
     190,
     0xDFCC71D59CFCE922},
    // The global map, and where the objects of the user interface have rows and keys; our rows go to page 41.
    {kDaoVersionAce,
     "/engine-made/empty2007.accdb",
     4096,
     41,
     {1, 7, 8, 10, 17},
     kVaryingAce,
     311,
     0x7B138842C261C247,
     1}};

// What varies is replaced, what is not compared left out.
std::string Comparable(const SModel& model, std::string bytes) {
  size_t replaced = 0;
  for (const SRange& range : model.varying)
    for (size_t i = 0; i < range.count; i++, replaced += range.size)
      bytes.replace(range.page * model.pageSize + range.at + i * range.step, range.size, range.size, '?');
  EXPECT_EQ(replaced, model.varyingBytes);
  std::string compared;
  for (size_t page = 0; page < model.pages; page++)
    if (std::ranges::find(model.skipped, page) == model.skipped.end())
      compared += bytes.substr(page * model.pageSize, model.pageSize);
  return compared;
}

// FNV-1a.
uint64_t FingerprintOf(std::string_view bytes) {
  uint64_t hash = 0xCBF29CE484222325;
  for (const char byte : bytes) hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001B3;
  return hash;
}

TEST_F(EmptyDatabase, EqualsTheFileOfTheOriginalEngine) {
  std::u16string corpus = GetEnvironment(u"TOLVANE_CORPUS");
  if (corpus.empty()) corpus = FromUtf8(TOLVANE_SOURCE_FOLDER "/../shared/corpus");
  for (const SModel& model : kModels) {
    SCOPED_TRACE(model.file);
    RemoveFile(m_path);
    m_version = model.version;
    Create();
    ExpectOk(m_database->Close());
    const std::string made = ReadText(m_path), real = ReadText(corpus + FromUtf8(model.file));
    ASSERT_EQ(made.size(), (model.pages + model.morePages) * model.pageSize);
    EXPECT_EQ(FingerprintOf(Comparable(model, made)), model.fingerprint);
    if (real == "<missing>") continue;
    EXPECT_EQ(FingerprintOf(Comparable(model, real)), model.fingerprint);
  }
}

class AnyEmptyDatabase : public AllFormats {};

TEST_P(AnyEmptyDatabase, IsSoundAndStaysSoundWhenOpenedAgain) {
  Create();
  Reopen();
  EXPECT_EQ(CloseAndRead(u"MSysObjects").rows.size(), EmptyObjects());
  EXPECT_EQ(PageCount(), EmptyPages());
  // Jet 3 columns stand in order of their numbers. In Jet 4 it is the display numbers, which are all 0 in
  // system tables, so that names decide.
  EXPECT_EQ(Read(u"MSysACEs").columns[1].name, IsJet3() ? u"SID" : u"FInheritable");
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
  // Locales: all parts may be left out; what is not known is refused before there is a file.
  const std::pair<std::u16string_view, EDaoError> locales[] = {
      {u";LANGID=0x0411;CP=932;COUNTRY=0", EDaoError::NotSupported},
      {u";CP=1251", EDaoError::NotSupported},
      {u";pwd=7", EDaoError::NotSupported},
      {u";LANGID=", EDaoError::InvalidArgument},
      {u"CP=125x", EDaoError::InvalidArgument},
      {u"LANGID", EDaoError::InvalidArgument},
      {u";langid=1033;cp=0x4E4;country=49", EDaoError::None}};
  for (const auto& [locale, error] : locales)
    EXPECT_EQ(m_engine->CreateDatabase(m_path, locale, kDaoVersionJet4, m_database).code, error)
        << ToUtf8(locale);
  m_database.reset();
  RemoveFile(m_path);
  EXPECT_EQ(m_engine->OpenDatabase(m_path, false, false, u"", m_database).code, EDaoError::NotFound);

  Create();
  ExpectOk(m_database->Close());
  EXPECT_EQ(m_engine->CreateDatabase(m_path, u"", kDaoVersionJet4, m_database).code,
            EDaoError::DatabaseExists);

  for (const auto& [at, byte, error] : {std::tuple{0x04, 'X', EDaoError::NotADatabase},
                                        {0x14, '\7', EDaoError::NotSupported},  // a version that nobody knows
                                        {0x3E, '\1', EDaoError::NotSupported}}) {  // encrypted
    std::string bytes = ReadText(m_path);
    bytes[static_cast<size_t>(at)] = byte;
    const std::u16string path = m_folder / u"changed.mdb";
    WriteText(path, bytes);
    EXPECT_EQ(m_engine->OpenDatabase(path, false, false, u"", m_database).code, error) << at;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, AnyEmptyDatabase, kAllFormats, FormatName);

}  // namespace
}  // namespace tolvane::test
