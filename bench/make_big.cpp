// make_big DATABASE MEGABYTES [tables|columns]: makes a database of about that size with real-looking data: a
// wide table of contacts, a long narrow one of measurements, and letters whose memos fill pages of long
// values; or with the same rows in ten thousand tables, or in one table of 255 columns.
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "platform/Text.h"
#include "samples/SampleBuilder.h"

namespace tolvane {
namespace {

// Bytes that one row takes in the file, measured; the shares of the tables follow from them.
constexpr uint64_t kContactBytes = 130, kMeasurementBytes = 40, kLetterBytes = 2900, kWideBytes = 1450;
constexpr uint64_t kManyTables = 10'000;
constexpr size_t kManyColumns = 255;

void AddMeasurements(CSampleBuilder& database, const std::string& name) {
  database.AddTable(name, {AutoNumber("ID"), Fixed("Sensor", kDaoLong), Fixed("Taken", kDaoDate),
                           Fixed("Value", kDaoDouble), Fixed("Quality", kDaoByte)});
}

void AddTables(CSampleBuilder& database) {
  database.AddTable("Contacts", {AutoNumber("ID"), Text("Name", 80), Text("Street", 80), Text("City", 40),
                                 Text("Phone", 24), Text("Mail", 80), Fixed("Born", kDaoDate),
                                 Fixed("Balance", kDaoCurrency), Fixed("Active", kDaoBoolean)});
  AddMeasurements(database, "Measurements");
  database.AddTable("Letters", {AutoNumber("ID"), Text("Subject", 100), Memo("Body")});
}

std::string Number(uint32_t value) {
  return std::to_string(value);
}

std::string SomeDay(CSampleRandom& random) {
  return DateText(1950 + static_cast<int>(random.Below(60)), 1 + static_cast<int>(random.Below(12)),
                  1 + static_cast<int>(random.Below(28)));
}

void FillContacts(CSampleBuilder& database, CSampleRandom& random, uint64_t rows) {
  static const char* const kNames[] = {"Anna", "Jon",  "Maria", "Peter", "Lena",
                                       "Tom",  "Ines", "Karl",  "Olga",  "Ben"};
  static const char* const kLast[] = {"Berg", "Lund", "Costa", "Novak", "Roth",
                                      "Hill", "Sand", "Weber", "Koch"};
  static const char* const kCities[] = {"Bergen", "Porto", "Lyon", "Graz", "Leeds", "Turku", "Ghent", "Brno"};
  database.OpenTable("Contacts");
  for (uint64_t i = 0; i < rows; i++) {
    const std::string_view first = random.Pick(kNames), last = random.Pick(kLast);
    database.BeginRow();
    database.Set(1, std::string(first).append(" ").append(last));
    database.Set(2, "Long street name " + Number(random.Below(400)));
    database.Set(3, random.Pick(kCities));
    if (random.Below(8) != 0) database.Set(4, "+47 555 " + Number(100'000 + random.Below(900'000)));
    database.Set(
        5, std::string(first).append(".").append(last) + Number(random.Below(100'000)) + "@example.org");
    database.Set(6, SomeDay(random));
    database.Set(7, MoneyText(random.Below(9'000'000)));
    database.Set(8, random.Below(2) != 0 ? "True" : "False");
    database.EndRow();
  }
  database.CloseTable();
}

void FillMeasurements(CSampleBuilder& database, CSampleRandom& random, const std::string& table,
                      uint64_t rows) {
  database.OpenTable(table);
  for (uint64_t i = 0; i < rows; i++) {
    database.BeginRow();
    database.Set(1, Number(1 + random.Below(500)));
    database.Set(2, SomeDay(random));
    database.Set(3, MoneyText(random.Below(100'000'000)));
    database.Set(4, Number(random.Below(100)));
    database.EndRow();
  }
  database.CloseTable();
}

void FillLetters(CSampleBuilder& database, CSampleRandom& random, uint64_t rows) {
  const std::string stock = Prose(random, 20'000);
  database.OpenTable("Letters");
  for (uint64_t i = 0; i < rows; i++) {
    const size_t length = 100 + random.Below(1900);
    database.BeginRow();
    database.Set(1, "Your order " + Number(random.Below(1'000'000)));
    database.Set(2, std::string_view(stock).substr(random.Below(18'000), length));
    database.EndRow();
  }
  database.CloseTable();
}

// A definition and a page of rows take two pages at least.
void FillManyTables(CSampleBuilder& database, CSampleRandom& random, uint64_t bytes) {
  const uint64_t rows = bytes / kManyTables / kMeasurementBytes;
  for (uint64_t table = 0; table < kManyTables; table++) {
    const std::string name = "Day " + std::to_string(table);
    AddMeasurements(database, name);
    FillMeasurements(database, random, name, rows);
  }
}

void FillManyColumns(CSampleBuilder& database, CSampleRandom& random, uint64_t bytes) {
  std::vector<std::string> names;
  for (size_t i = 0; i < kManyColumns; i++) names.push_back("Value " + std::to_string(i));
  std::vector<SSampleField> fields{AutoNumber("ID")};
  for (size_t i = 1; i < kManyColumns; i++)
    fields.push_back(i % 2 == 0 ? Text(names[i].c_str(), 20) : Fixed(names[i].c_str(), kDaoInteger));
  database.AddTable("Wide", fields);
  database.OpenTable("Wide");
  for (uint64_t row = 0; row < bytes / kWideBytes; row++) {
    database.BeginRow();
    for (size_t i = 1; i < kManyColumns; i++) database.Set(i, Number(random.Below(10'000)));
    database.EndRow();
  }
  database.CloseTable();
}

int Run(const std::string& path, uint64_t megabytes, std::string_view kind) {
  const uint64_t bytes = megabytes << 20;
  RemoveFile(FromNativePath(path));
  CSampleBuilder database(path);
  CSampleRandom random(1);
  if (kind == "tables") {
    FillManyTables(database, random, bytes);
  } else if (kind == "columns") {
    FillManyColumns(database, random, bytes);
  } else {
    AddTables(database);
    FillContacts(database, random, bytes * 2 / 5 / kContactBytes);
    FillMeasurements(database, random, "Measurements", bytes * 2 / 5 / kMeasurementBytes);
    FillLetters(database, random, bytes / 5 / kLetterBytes);
  }
  database.Close();
  std::printf("%s: %.1f MiB\n", path.c_str(),
              static_cast<double>(GetFileLength(FromNativePath(path))) / (1024.0 * 1024.0));
  return 0;
}

}  // namespace
}  // namespace tolvane

int main(int argc, char** argv) {
  uint64_t megabytes = 0;
  const std::string_view kind = argc == 4 ? argv[3] : "";
  const bool isKind = argc == 3 || kind == "tables" || kind == "columns";
  if (argc >= 3) {
    const std::string_view size = argv[2];
    std::from_chars(size.data(), size.data() + size.size(), megabytes);
  }
  if (!isKind || megabytes == 0 || megabytes > 2000) {
    std::fprintf(stderr, "usage: make_big DATABASE MEGABYTES [tables|columns]   (1 to 2000)\n");
    return 64;
  }
  return tolvane::Run(argv[1], megabytes, kind);
}
