// make_sample HEALTHY DAMAGED: makes a small database of a trading firm with the embedded engine, moves some
// of its rows to other pages as an engine does when a row outgrows its page, and writes a copy in which whole
// pages are destroyed. samples/damaged.mdb is the second file.
#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "samples/SampleBuilder.h"

namespace tolvane {
namespace {

using Bytes = std::vector<uint8_t>;

// --- the database ---

constexpr uint32_t kCustomers = 120, kProducts = 60, kOrders = 400, kNotes = 90, kPictures = 10;

void AddTables(CSampleBuilder& database) {
  database.AddTable(
      "Customers",
      {AutoNumber("ID"), Text("Company", 80), Text("Contact", 50), Text("City", 40), Text("Phone", 24),
       Fixed("Since", kDaoDate), Fixed("Credit", kDaoCurrency), Fixed("Active", kDaoBoolean)},
      {"City"});
  database.AddTable("Products",
                    {AutoNumber("ID"), Text("Title", 60), Fixed("Price", kDaoCurrency),
                     Fixed("Stock", kDaoInteger), Fixed("Weight", kDaoDouble), Fixed("Code", kDaoGuid)});
  database.AddTable("Orders",
                    {AutoNumber("ID"), Fixed("CustomerID", kDaoLong), Fixed("Ordered", kDaoDate),
                     Fixed("Shipped", kDaoDate), Fixed("Paid", kDaoBoolean), Text("Reference", 30)},
                    {"CustomerID"});
  database.AddTable(
      "Order lines",
      {AutoNumber("ID"), Fixed("OrderID", kDaoLong), Fixed("Line", kDaoByte), Fixed("ProductID", kDaoLong),
       Fixed("Quantity", kDaoInteger), Fixed("Unit price", kDaoCurrency), Fixed("Discount", kDaoSingle)},
      {"OrderID"});
  database.AddTable(
      "Notes", {AutoNumber("ID"), Fixed("CustomerID", kDaoLong), Fixed("Written", kDaoDate), Memo("Note")});
  database.AddTable("Pictures", {AutoNumber("ID"), Text("Title", 50), Ole("Picture")});
}

std::string Day(CSampleRandom& random) {
  return DateText(1998 + static_cast<int>(random.Below(9)), 1 + static_cast<int>(random.Below(12)),
                  1 + static_cast<int>(random.Below(28)));
}

void FillCustomers(CSampleBuilder& database, CSampleRandom& random) {
  static const char* const kFirst[] = {"North", "Harbour", "Old Town", "Miller",
                                       "Green", "River",   "Castle",   "Summit"};
  static const char* const kSecond[] = {"Trading", "Foods", "Tools",      "Textiles",
                                        "Imports", "Paper", "Instruments"};
  static const char* const kPeople[] = {"Anna Berg",   "Jon Lund",  "Maria Costa",
                                        "Peter Novak", "Lena Roth", "Tom Hill"};
  static const char* const kCities[] = {"Bergen", "Porto", "Lyon", "Graz", "Leeds", "Turku", "Ghent", "Brno"};
  database.OpenTable("Customers");
  for (uint32_t i = 0; i < kCustomers; i++) {
    database.BeginRow();
    database.Set(1, std::string(random.Pick(kFirst)).append(" ").append(random.Pick(kSecond)) + " Ltd");
    database.Set(2, random.Pick(kPeople));
    database.Set(3, random.Pick(kCities));
    database.Set(4, "+47 555 0" + std::to_string(100 + random.Below(900)));
    database.Set(5, Day(random));
    database.Set(6, MoneyText(random.Below(5'000'000)));
    database.Set(7, random.Below(5) != 0 ? "True" : "False");
    database.EndRow();
  }
  database.CloseTable();
}

std::string GuidText(CSampleRandom& random) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "{";
  for (const int group : {8, 4, 4, 4, 12}) {
    if (text.size() > 1) text += '-';
    for (int i = 0; i < group; i++) text += kDigits[random.Below(16)];
  }
  return text + '}';
}

void FillProducts(CSampleBuilder& database, CSampleRandom& random) {
  static const char* const kKinds[] = {"Lamp",   "Chair", "Kettle", "Clock",
                                       "Basket", "Rug",   "Mirror", "Shelf"};
  static const char* const kTraits[] = {"small", "blue", "folding", "oak",
                                        "steel", "wool", "outdoor", "classic"};
  database.OpenTable("Products");
  for (uint32_t i = 0; i < kProducts; i++) {
    database.BeginRow();
    database.Set(1, std::string(random.Pick(kKinds)).append(", ").append(random.Pick(kTraits)));
    database.Set(2, MoneyText(250 + random.Below(40'000)));
    database.Set(3, std::to_string(random.Below(900)));
    database.Set(4, MoneyText(10 + random.Below(3'000)));
    database.Set(5, GuidText(random));
    database.EndRow();
  }
  database.CloseTable();
}

void FillOrders(CSampleBuilder& database, CSampleRandom& random) {
  database.OpenTable("Orders");
  for (uint32_t i = 0; i < kOrders; i++) {
    database.BeginRow();
    database.Set(1, std::to_string(1 + random.Below(kCustomers)));
    database.Set(2, Day(random));
    if (random.Below(10) != 0) database.Set(3, Day(random));
    database.Set(4, random.Below(4) != 0 ? "True" : "False");
    if (random.Below(3) == 0) database.Set(5, "PO-" + std::to_string(10'000 + random.Below(90'000)));
    database.EndRow();
  }
  database.CloseTable();
  database.OpenTable("Order lines");
  for (uint32_t order = 1; order <= kOrders; order++) {
    for (uint32_t line = 1, lines = 1 + random.Below(4); line <= lines; line++) {
      database.BeginRow();
      database.Set(1, std::to_string(order));
      database.Set(2, std::to_string(line));
      database.Set(3, std::to_string(1 + random.Below(kProducts)));
      database.Set(4, std::to_string(1 + random.Below(24)));
      database.Set(5, MoneyText(250 + random.Below(40'000)));
      database.Set(6, MoneyText(5 * random.Below(5)));
      database.EndRow();
    }
  }
  database.CloseTable();
}

void FillNotes(CSampleBuilder& database, CSampleRandom& random) {
  // Notes of all three kinds of storage: in the row, in one row of a page of long values, over several pages.
  constexpr std::array<uint32_t, 4> kLengths{20, 300, 1500, 4500};
  database.OpenTable("Notes");
  for (uint32_t i = 0; i < kNotes; i++) {
    database.BeginRow();
    database.Set(1, std::to_string(1 + random.Below(kCustomers)));
    database.Set(2, Day(random));
    if (i % 11 != 10) database.Set(3, Prose(random, kLengths[i % 8 == 7 ? 3 : i % 3]));
    database.EndRow();
  }
  database.CloseTable();
}

void PutU32(Bytes& bytes, size_t at, uint32_t value) {
  for (size_t i = 0; i < 4; i++) bytes[at + i] = static_cast<uint8_t>(value >> 8 * i);
}

// A 24-bit bitmap with a colour gradient.
Bytes Bitmap(uint32_t width, uint32_t height, uint32_t colour) {
  constexpr uint32_t kHead = 54;
  const uint32_t line = (width * 3 + 3) / 4 * 4;
  Bytes bytes(kHead + line * height);
  bytes[0] = 'B';
  bytes[1] = 'M';
  PutU32(bytes, 2, static_cast<uint32_t>(bytes.size()));
  PutU32(bytes, 10, kHead);
  PutU32(bytes, 14, 40);
  PutU32(bytes, 18, width);
  PutU32(bytes, 22, height);
  PutU32(bytes, 26, 24u << 16 | 1);
  PutU32(bytes, 34, line * height);
  for (uint32_t y = 0; y < height; y++)
    for (uint32_t x = 0; x < width; x++)
      for (uint32_t channel = 0; channel < 3; channel++)
        bytes[kHead + y * line + 3 * x + channel] =
            static_cast<uint8_t>(colour * (channel + 1) + 4 * x + 2 * y);
  return bytes;
}

void FillPictures(CSampleBuilder& database, CSampleRandom& random) {
  database.OpenTable("Pictures");
  for (uint32_t i = 0; i < kPictures; i++) {
    database.BeginRow();
    database.Set(1, "Product photo " + std::to_string(i + 1));
    database.SetBytes(2, Bitmap(24 + 8 * (i % 4), 24 + 4 * (i % 3), 20 * random.Below(12)));
    database.EndRow();
  }
  database.CloseTable();
}

// --- the pages (4096 bytes) ---
//
//   data page:  0 u8 type   2 u16 free bytes   4 u32 definition page of its table   12 u16 slots   14 u16[]
//   row starts
//               rows are stored from the end of the page downwards; row i ends where row i - 1 starts

constexpr uint32_t kPageSize = 4096;
constexpr uint8_t kDataPage = 1, kNodePage = 3, kLeafPage = 4;
constexpr size_t kFreeBytes = 2, kOwner = 4, kSlotCount = 12, kSlots = 14;
constexpr uint16_t kSlotPointer = 0x4000, kSlotHidden = 0x8000, kSlotStart = 0x1FFF;
constexpr uint32_t kLongValues = 0x4C41564C;  // owner word of pages of long values
constexpr uint32_t kObjectsPage = 2;

class CPages {
 public:
  explicit CPages(Bytes bytes) : m_bytes(std::move(bytes)) {}
  [[nodiscard]] uint32_t GetCount() const { return static_cast<uint32_t>(m_bytes.size() / kPageSize); }
  [[nodiscard]] uint8_t GetType(uint32_t page) const { return m_bytes[page * kPageSize]; }
  [[nodiscard]] uint16_t GetU16(uint32_t page, size_t at) const {
    const size_t i = page * kPageSize + at;
    return static_cast<uint16_t>(m_bytes[i] | m_bytes[i + 1] << 8);
  }
  [[nodiscard]] uint32_t GetU32(uint32_t page, size_t at) const {
    return GetU16(page, at) | static_cast<uint32_t>(GetU16(page, at + 2)) << 16;
  }
  void SetU16(uint32_t page, size_t at, uint32_t value) {
    m_bytes[page * kPageSize + at] = static_cast<uint8_t>(value);
    m_bytes[page * kPageSize + at + 1] = static_cast<uint8_t>(value >> 8);
  }
  void SetU32(uint32_t page, size_t at, uint32_t value) {
    SetU16(page, at, value & 0xFFFF);
    SetU16(page, at + 2, value >> 16);
  }
  void CopyWithin(uint32_t from, size_t fromAt, uint32_t to, size_t toAt, size_t size) {
    for (size_t i = 0; i < size; i++)
      m_bytes[to * kPageSize + toAt + i] = m_bytes[from * kPageSize + fromAt + i];
  }
  void Destroy(uint32_t page, uint8_t filler) {
    for (size_t i = 0; i < kPageSize; i++) m_bytes[page * kPageSize + i] = filler;
  }
  [[nodiscard]] std::vector<uint32_t> FindDataPages(uint32_t owner) const {
    std::vector<uint32_t> pages;
    for (uint32_t page = 2; page < GetCount(); page++)
      if (GetType(page) == kDataPage && GetU32(page, kOwner) == owner) pages.push_back(page);
    return pages;
  }
  [[nodiscard]] const Bytes& GetBytes() const { return m_bytes; }

 private:
  Bytes m_bytes;
};

// Tables of rows, by the number of data pages: the definition pages of the tables with more than one.
std::vector<uint32_t> FindOwners(const CPages& pages, size_t leastPages) {
  std::vector<uint32_t> owners;
  for (uint32_t page = kObjectsPage + 4; page < pages.GetCount(); page++)
    if (pages.FindDataPages(page).size() >= leastPages) owners.push_back(page);
  return owners;
}

// Moves the body of a row to the end of another page of its table; the old place keeps a pointer to it.
bool MoveRow(CPages& pages, uint32_t page, uint16_t row, uint32_t target) {
  const size_t slot = kSlots + 2 * row;
  const uint16_t start = pages.GetU16(page, slot);
  const uint16_t end = row == 0 ? uint16_t{kPageSize} : pages.GetU16(page, slot - 2) & kSlotStart;
  const uint16_t size = static_cast<uint16_t>(end - start);
  const uint16_t free = pages.GetU16(target, kFreeBytes);
  const uint16_t count = pages.GetU16(target, kSlotCount);
  if ((start & ~kSlotStart) != 0 || size < 4 || free < size + 2 || count >= 255) return false;

  const size_t tableEnd = kSlots + 2 * count;
  const uint16_t body = static_cast<uint16_t>(tableEnd + free - size);
  pages.CopyWithin(page, start, target, body, size);
  pages.SetU16(target, tableEnd, body | kSlotHidden);
  pages.SetU16(target, kSlotCount, count + 1u);
  pages.SetU16(target, kFreeBytes, static_cast<uint32_t>(free - size - 2));
  pages.SetU32(page, start, target << 8 | count);
  pages.SetU16(page, slot, start | kSlotPointer);
  return true;
}

uint32_t MoveRows(CPages& pages) {
  uint32_t moved = 0;
  for (const uint32_t owner : FindOwners(pages, 2)) {
    const std::vector<uint32_t> own = pages.FindDataPages(owner);
    for (uint16_t row = 3; row < 30; row = static_cast<uint16_t>(row + 9))
      if (row < pages.GetU16(own.front(), kSlotCount) && MoveRow(pages, own.front(), row, own.back()))
        moved++;
  }
  return moved;
}

void DestroyPages(CPages& pages) {
  pages.Destroy(0, 0);             // the header: "unrecognized database format"
  pages.Destroy(1, 0);             // the map of free pages
  pages.Destroy(kObjectsPage, 0);  // the definition of the catalogue
  for (uint32_t page = 3; page < pages.GetCount(); page++)
    if (pages.GetType(page) == kLeafPage || pages.GetType(page) == kNodePage) pages.Destroy(page, 0xF6);
  for (const uint32_t owner : FindOwners(pages, 3)) pages.Destroy(pages.FindDataPages(owner)[1], 0);
  const std::vector<uint32_t> longValues = pages.FindDataPages(kLongValues);
  if (longValues.size() > 4) pages.Destroy(longValues[longValues.size() / 2], 0xF6);
}

// --- files ---

Bytes ReadAll(const std::u16string& path) {
  CFileCust file;
  CErrorHandler handler;
  if (!file.Open(path, EFileAccess::Read, EFileShare::Read, EFileCreation::OpenExisting)) return {};
  Bytes bytes(file.GetLength());
  bytes.resize(file.Read(bytes, handler));
  return bytes;
}

bool WriteAll(const std::u16string& path, const Bytes& bytes) {
  CFileCust file;
  if (!file.Open(path, EFileAccess::Write, EFileShare::None, EFileCreation::CreateAlways)) return false;
  try {
    file.Write(bytes);
  } catch (const CFileCustException&) {
    return false;
  }
  return true;
}

void MakeDatabase(const std::string& path) {
  CSampleBuilder database(path);
  CSampleRandom random(2004);
  AddTables(database);
  FillCustomers(database, random);
  FillProducts(database, random);
  FillOrders(database, random);
  FillNotes(database, random);
  FillPictures(database, random);
  database.Close();
}

int Run(const std::string& healthy, const std::string& damaged) {
  RemoveFile(FromNativePath(healthy));
  MakeDatabase(healthy);
  CPages pages(ReadAll(FromNativePath(healthy)));
  const uint32_t moved = MoveRows(pages);
  if (moved == 0 || !WriteAll(FromNativePath(healthy), pages.GetBytes())) {
    std::fprintf(stderr, "no row was moved, or %s cannot be written\n", healthy.c_str());
    return 2;
  }
  DestroyPages(pages);
  if (!WriteAll(FromNativePath(damaged), pages.GetBytes())) {
    std::fprintf(stderr, "%s cannot be written\n", damaged.c_str());
    return 2;
  }
  std::printf("%u pages, %u rows moved\n", pages.GetCount(), moved);
  return 0;
}

}  // namespace
}  // namespace tolvane

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: make_sample HEALTHY DAMAGED\n");
    return 64;
  }
  return tolvane::Run(argv[1], argv[2]);
}
