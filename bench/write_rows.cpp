// write_rows DATABASE ROWS INDEXES: writes small made-up rows through the embedded engine into a table with
// up to ten indexes, and prints what it took as one line of JSON. When the database can take no more rows, it
// is closed with those that it has.
// write_rows --sort ROWS INDEXES: only sorts the keys that these indexes have of the same rows.
#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "embedded/EmbeddedEngine.h"
#include "embedded/IndexSorter.h"
#include "format/IndexKey.h"
#include "format/Layout.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"
#include "samples/SampleBuilder.h"

namespace tolvane {
namespace {

const std::array<SSampleField, 9> kFields = {AutoNumber("ID"),
                                             Fixed("Customer", kDaoLong),
                                             Fixed("Number", kDaoLong),
                                             Fixed("Place", kDaoLong),
                                             Fixed("Kind", kDaoInteger),
                                             Fixed("Day", kDaoDate),
                                             Fixed("Price", kDaoCurrency),
                                             Fixed("Weight", kDaoDouble),
                                             Text("Code", 12)};

// The first ones are used.
const std::array<CDaoIndexInfo, 10> kIndexes = [] {
  std::array<CDaoIndexInfo, 10> indexes;
  indexes[0].fields = {{u"ID"}};
  indexes[0].primary = indexes[0].unique = indexes[0].required = true;
  indexes[1].fields = {{u"Customer"}};
  indexes[2].fields = {{u"Code"}};
  indexes[3].fields = {{u"Day"}};
  indexes[4].fields = {{u"Price", true}};
  indexes[5].fields = {{u"Number"}};
  indexes[6].fields = {{u"Weight"}};
  indexes[7].fields = {{u"Kind"}};
  indexes[8].fields = {{u"Kind"}, {u"Customer"}};
  indexes[9].fields = {{u"Place", true}};
  for (size_t i = 0; i < indexes.size(); i++) indexes[i].name = u"Index " + ToDecimal(uint64_t{i});
  return indexes;
}();

[[noreturn]] void Fail(const CDaoResult& result) {
  std::fprintf(stderr, "write_rows: %s\n", ToUtf8(result.text).c_str());
  std::exit(2);
}

void Require(const CDaoResult& result) {
  if (!result.IsOk()) Fail(result);
}

void MakeTable(CDaoDatabase& database, size_t indexes) {
  std::unique_ptr<CDaoTableDef> table;
  Require(database.CreateTableDef(u"Rows", kDaoTableAttributes, {}, {}, table));
  for (const SSampleField& field : kFields)
    Require(table->CreateField(FromUtf8(field.name), field.type, field.size, field.attributes));
  for (size_t i = 0; i < indexes; i++) Require(table->CreateIndex(kIndexes[i]));
  Require(table->Append());
}

// The texts of one row's values; the first field numbers itself.
class CRowMaker {
 public:
  void Next() {
    m_row++;
    SetNumber(1, m_random.Below(200'000));
    SetNumber(2, m_row * 3);
    SetNumber(3, m_random.Below(2'000'000'000));
    SetNumber(4, m_random.Below(500));
    m_texts[5] = u"2004-01-01 00:00:00";
    PutDigits(m_texts[5], 2, m_random.Below(25), 2);
    PutDigits(m_texts[5], 5, 1 + m_random.Below(12), 2);
    PutDigits(m_texts[5], 8, 1 + m_random.Below(28), 2);
    SetNumber(6, m_random.Below(100'000));
    SetNumber(7, m_random.Below(1'000'000'000));
    m_texts[8] = u"AB-0000000";
    PutDigits(m_texts[8], 3, m_random.Below(10'000'000), 7);
  }
  [[nodiscard]] const std::u16string& Get(size_t field) const { return m_texts[field]; }

 private:
  void SetNumber(size_t field, uint64_t value) {
    char digits[20];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    m_texts[field].assign(digits, end);
  }
  static void PutDigits(std::u16string& text, size_t at, uint32_t value, size_t count) {
    for (size_t i = at + count; i-- > at; value /= 10) text[i] = static_cast<char16_t>(u'0' + value % 10);
  }

  CSampleRandom m_random{1};
  uint64_t m_row = 0;
  std::array<std::u16string, kFields.size()> m_texts;
};

// How many rows the database took.
uint64_t AddRows(CDaoRecordset& rows, uint64_t count) {
  CRowMaker maker;
  CValueParser parser;
  SValue value;
  for (uint64_t row = 0; row < count; row++) {
    maker.Next();
    Require(rows.AddNew());
    for (size_t field = 1; field < kFields.size(); field++) {
      parser.Parse(static_cast<uint8_t>(kFields[field].type), maker.Get(field), value);
      Require(rows.SetFieldValue(field, value));
    }
    const CDaoResult stored = rows.Update();
    if (stored.code == EDaoError::DatabaseTooLarge) return row;
    Require(stored);
  }
  return count;
}

// The keys of an index, one behind the other, made before the clock runs.
struct SKeys {
  std::vector<uint8_t> bytes;
  std::vector<size_t> ends;
};

void AddKey(const CDaoIndexInfo& index, const CRowMaker& maker, uint64_t row, CValueParser& parser,
            SKeys& keys) {
  const SIndexKeyFormat format{.version = kLayoutJet4.keys};
  for (const CDaoIndexFieldInfo& part : index.fields) {
    size_t field = 0;
    while (FromUtf8(kFields[field].name) != part.name) field++;
    const auto type = ColumnTypeOfField(kFields[field].type);
    SValue value;
    parser.Parse(type, field == 0 ? ToDecimal(row + 1) : maker.Get(field), value);
    AppendIndexKey(format, type, !part.descending, value.bytes, keys.bytes);
  }
  keys.ends.push_back(keys.bytes.size());
}

// With as much memory for all indexes together as the engine takes.
int SortKeys(uint64_t count, size_t indexes) {
  constexpr size_t kMemory = size_t{64} << 20;
  constexpr uint32_t kRowsAPage = 70;
  double seconds = 0;
  for (size_t index = 0; index < indexes; index++) {
    CRowMaker maker;
    CValueParser parser;
    SKeys keys;
    for (uint64_t row = 0; row < count; row++) {
      maker.Next();
      AddKey(kIndexes[index], maker, row, parser, keys);
    }
    const std::clock_t started = std::clock();
    CIndexSorter sorter(GetTempFolder(), kMemory / indexes);
    size_t start = 0;
    for (size_t row = 0; row < keys.ends.size(); start = keys.ends[row++])
      sorter.Add(std::span(keys.bytes).subspan(start, keys.ends[row] - start),
                 static_cast<uint32_t>(row / kRowsAPage), static_cast<uint8_t>(row % kRowsAPage));
    sorter.Sort();
    SIndexEntry entry;
    while (sorter.Next(entry)) continue;
    if (sorter.GetError() != EDaoError::None) Fail({sorter.GetError(), u"The keys could not be sorted."});
    seconds += static_cast<double>(std::clock() - started) / CLOCKS_PER_SEC;
  }
  std::printf("%s\n", nlohmann::ordered_json{{"cpuSeconds", seconds}}.dump().c_str());
  return 0;
}

int Run(const std::string& path, uint64_t count, size_t indexes) {
  const std::u16string name = FromNativePath(path);
  RemoveFile(name);
  const double started = GetMonotonicSeconds();
  const std::unique_ptr<CDaoEngine> engine = MakeEmbeddedEngine();
  std::unique_ptr<CDaoDatabase> database;
  Require(engine->CreateDatabase(name, kDaoGeneralLocale, kDaoVersionJet4, database));
  MakeTable(*database, indexes);
  std::unique_ptr<CDaoRecordset> rows;
  Require(database->OpenRecordset(u"SELECT * FROM [Rows]", rows));
  const uint64_t written = AddRows(*rows, count);
  const double filled = GetMonotonicSeconds();
  const CDaoResult closed = rows->Close();
  Require(closed);
  Require(database->Close());
  const double ended = GetMonotonicSeconds();
  const nlohmann::ordered_json result = {{"rows", written},
                                         {"indexes", indexes},
                                         {"seconds", ended - started},
                                         {"indexSeconds", ended - filled},
                                         {"peakBytes", GetPeakMemory()},
                                         {"fileBytes", GetFileLength(name)},
                                         {"remarks", ToUtf8(closed.text)}};
  std::printf("%s\n", result.dump().c_str());
  return 0;
}

uint64_t ToNumber(std::string_view text) {
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

}  // namespace
}  // namespace tolvane

int main(int argc, char** argv) {
  const uint64_t rows = argc == 4 ? tolvane::ToNumber(argv[2]) : 0;
  const uint64_t indexes = argc == 4 ? tolvane::ToNumber(argv[3]) : 0;
  if (rows == 0 || indexes > tolvane::kIndexes.size()) {
    std::fprintf(stderr, "usage: write_rows DATABASE|--sort ROWS INDEXES   (up to 10 indexes)\n");
    return 64;
  }
  if (std::string_view(argv[1]) == "--sort") return tolvane::SortKeys(rows, static_cast<size_t>(indexes));
  return tolvane::Run(argv[1], rows, static_cast<size_t>(indexes));
}
