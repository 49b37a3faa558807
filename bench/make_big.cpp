// make_big DATABASE MEGABYTES: makes a database of about that size with real-looking data: a wide table of
// contacts, a long narrow one of measurements, and letters whose memos fill pages of long values.
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "platform/Text.h"
#include "samples/SampleBuilder.h"

namespace tolvane {
namespace {

// Bytes that one row takes in the file, measured; the shares of the tables follow from them.
constexpr uint64_t kContactBytes = 130, kMeasurementBytes = 40, kLetterBytes = 2900;

void AddTables(CSampleBuilder& database) {
  database.AddTable("Contacts", {AutoNumber("ID"), Text("Name", 80), Text("Street", 80), Text("City", 40),
                                 Text("Phone", 24), Text("Mail", 80), Fixed("Born", kDaoDate),
                                 Fixed("Balance", kDaoCurrency), Fixed("Active", kDaoBoolean)});
  database.AddTable("Measurements", {AutoNumber("ID"), Fixed("Sensor", kDaoLong), Fixed("Taken", kDaoDate),
                                     Fixed("Value", kDaoDouble), Fixed("Quality", kDaoByte)});
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

void FillMeasurements(CSampleBuilder& database, CSampleRandom& random, uint64_t rows) {
  database.OpenTable("Measurements");
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

int Run(const std::string& path, uint64_t megabytes) {
  const uint64_t bytes = megabytes << 20;
  RemoveFile(FromNativePath(path));
  CSampleBuilder database(path);
  CSampleRandom random(1);
  AddTables(database);
  FillContacts(database, random, bytes * 2 / 5 / kContactBytes);
  FillMeasurements(database, random, bytes * 2 / 5 / kMeasurementBytes);
  FillLetters(database, random, bytes / 5 / kLetterBytes);
  database.Close();
  std::printf("%s: %.1f MiB\n", path.c_str(),
              static_cast<double>(GetFileLength(FromNativePath(path))) / (1024.0 * 1024.0));
  return 0;
}

}  // namespace
}  // namespace tolvane

int main(int argc, char** argv) {
  uint64_t megabytes = 0;
  if (argc == 3) {
    const std::string_view size = argv[2];
    std::from_chars(size.data(), size.data() + size.size(), megabytes);
  }
  if (megabytes == 0 || megabytes > 2000) {
    std::fprintf(stderr, "usage: make_big DATABASE MEGABYTES   (1 to 2000)\n");
    return 64;
  }
  return tolvane::Run(argv[1], megabytes);
}
