// make_sample HEALTHY DAMAGED: makes a small database of a trading firm with the embedded engine, moves some
// of its rows to other pages as an engine does when a row outgrows its page, and writes a copy in which whole
// pages are destroyed. samples/damaged.mdb is the second file.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "format/Layout.h"
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
    database.AddRow({std::string(random.Pick(kFirst)).append(" ").append(random.Pick(kSecond)) + " Ltd",
                     random.Pick(kPeople), random.Pick(kCities),
                     "+47 555 0" + std::to_string(100 + random.Below(900)), Day(random),
                     MoneyText(random.Below(5'000'000)), random.Below(5) != 0 ? "True" : "False"});
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
    database.AddRow({std::string(random.Pick(kKinds)).append(", ").append(random.Pick(kTraits)),
                     MoneyText(250 + random.Below(40'000)), std::to_string(random.Below(900)),
                     MoneyText(10 + random.Below(3'000)), GuidText(random)});
  }
  database.CloseTable();
}

void FillOrders(CSampleBuilder& database, CSampleRandom& random) {
  database.OpenTable("Orders");
  for (uint32_t i = 0; i < kOrders; i++) {
    database.AddRow({std::to_string(1 + random.Below(kCustomers)), Day(random),
                     random.Below(10) != 0 ? Day(random) : "", random.Below(4) != 0 ? "True" : "False",
                     random.Below(3) == 0 ? "PO-" + std::to_string(10'000 + random.Below(90'000)) : ""});
  }
  database.CloseTable();
  database.OpenTable("Order lines");
  for (uint32_t order = 1; order <= kOrders; order++) {
    for (uint32_t line = 1, lines = 1 + random.Below(4); line <= lines; line++) {
      database.AddRow({std::to_string(order), std::to_string(line),
                       std::to_string(1 + random.Below(kProducts)), std::to_string(1 + random.Below(24)),
                       MoneyText(250 + random.Below(40'000)), MoneyText(5 * random.Below(5))});
    }
  }
  database.CloseTable();
}

void FillNotes(CSampleBuilder& database, CSampleRandom& random) {
  // Notes of all three kinds of storage: in the row, in one row of a page of long values, over several pages.
  constexpr std::array<uint32_t, 4> kLengths{20, 300, 1500, 4500};
  database.OpenTable("Notes");
  for (uint32_t i = 0; i < kNotes; i++) {
    database.AddRow({std::to_string(1 + random.Below(kCustomers)), Day(random),
                     i % 11 != 10 ? Prose(random, kLengths[i % 8 == 7 ? 3 : i % 3]) : ""});
  }
  database.CloseTable();
}

// A 24-bit bitmap with a colour gradient.
Bytes Bitmap(uint32_t width, uint32_t height, uint32_t colour) {
  constexpr uint32_t kHead = 54;
  const uint32_t line = (width * 3 + 3) / 4 * 4;
  Bytes bytes(kHead + line * height);
  bytes[0] = 'B';
  bytes[1] = 'M';
  PutLittle<uint32_t>(bytes, 2, static_cast<uint32_t>(bytes.size()));
  PutLittle<uint32_t>(bytes, 10, kHead);
  PutLittle<uint32_t>(bytes, 14, 40);
  PutLittle<uint32_t>(bytes, 18, width);
  PutLittle<uint32_t>(bytes, 22, height);
  PutLittle<uint32_t>(bytes, 26, 24u << 16 | 1);
  PutLittle<uint32_t>(bytes, 34, line * height);
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

// --- the pages ---

constexpr const SLayout& kPages = kLayoutJet4;

class CPages {
 public:
  explicit CPages(Bytes bytes) : m_bytes(std::move(bytes)) {}
  [[nodiscard]] uint32_t GetCount() const { return static_cast<uint32_t>(m_bytes.size() / kPages.pageSize); }
  [[nodiscard]] uint8_t GetType(uint32_t page) { return Page(page)[kPageTypeAt]; }
  [[nodiscard]] uint16_t GetU16(uint32_t page, size_t at) { return GetLittle<uint16_t>(Page(page), at); }
  [[nodiscard]] uint32_t GetU32(uint32_t page, size_t at) { return GetLittle<uint32_t>(Page(page), at); }
  void SetU16(uint32_t page, size_t at, size_t value) {
    PutLittle(Page(page), at, static_cast<uint16_t>(value));
  }
  void SetU32(uint32_t page, size_t at, uint32_t value) { PutLittle(Page(page), at, value); }
  void CopyWithin(uint32_t from, size_t fromAt, uint32_t to, size_t toAt, size_t size) {
    const std::span<const uint8_t> bytes = Page(from).subspan(fromAt, size);
    std::ranges::copy(bytes, Page(to).subspan(toAt).begin());
  }
  void Destroy(uint32_t page, uint8_t filler) {
    const std::span<uint8_t> bytes = Page(page);
    std::ranges::fill(bytes, filler);
  }
  [[nodiscard]] std::vector<uint32_t> FindDataPages(uint32_t owner) {
    std::vector<uint32_t> pages;
    for (uint32_t page = kObjectsPage; page < GetCount(); page++)
      if (GetType(page) == kPageData && GetU32(page, kOwnerOffset) == owner) pages.push_back(page);
    return pages;
  }
  [[nodiscard]] const Bytes& GetBytes() const { return m_bytes; }

 private:
  [[nodiscard]] std::span<uint8_t> Page(uint32_t page) {
    return std::span(m_bytes).subspan(size_t{page} * kPages.pageSize, kPages.pageSize);
  }

  Bytes m_bytes;
};

// Tables of rows, by the number of data pages: the definition pages of the tables with more than one.
std::vector<uint32_t> FindOwners(CPages& pages, size_t leastPages) {
  std::vector<uint32_t> owners;
  for (uint32_t page = kFirstFreePage; page < pages.GetCount(); page++)
    if (pages.FindDataPages(page).size() >= leastPages) owners.push_back(page);
  return owners;
}

// Moves the body of a row to the end of another page of its table; the old place keeps a pointer to it.
bool MoveRow(CPages& pages, uint32_t page, uint16_t row, uint32_t target) {
  const size_t slot = kPages.data.slots + size_t{2} * row;
  const uint16_t start = pages.GetU16(page, slot);
  const size_t end = row == 0 ? kPages.pageSize : pages.GetU16(page, slot - 2) & kSlotStart;
  const size_t size = end - start;
  const size_t free = pages.GetU16(target, kFreeBytesOffset);
  const uint32_t count = pages.GetU16(target, kPages.data.slotCount);
  if ((start & ~kSlotStart) != 0 || size < kRowPointerSize || free < size + 2 || count >= kMaxRowsPerPage)
    return false;

  const size_t tableEnd = kPages.data.slots + size_t{2} * count;
  const size_t body = tableEnd + free - size;
  pages.CopyWithin(page, start, target, body, size);
  pages.SetU16(target, tableEnd, body | kSlotHidden);
  pages.SetU16(target, kPages.data.slotCount, count + 1u);
  pages.SetU16(target, kFreeBytesOffset, free - size - 2);
  pages.SetU32(page, start, MakeRowPointer(target, count));
  pages.SetU16(page, slot, start | kSlotPointer);
  return true;
}

uint32_t MoveRows(CPages& pages) {
  uint32_t moved = 0;
  for (const uint32_t owner : FindOwners(pages, 2)) {
    const std::vector<uint32_t> own = pages.FindDataPages(owner);
    for (uint16_t row = 3; row < 30; row = static_cast<uint16_t>(row + 9))
      if (row < pages.GetU16(own.front(), kPages.data.slotCount) &&
          MoveRow(pages, own.front(), row, own.back()))
        moved++;
  }
  return moved;
}

void DestroyPages(CPages& pages) {
  pages.Destroy(0, 0);             // the header: "unrecognized database format"
  pages.Destroy(1, 0);             // the map of free pages
  pages.Destroy(kObjectsPage, 0);  // the definition of the catalogue
  for (uint32_t page = 3; page < pages.GetCount(); page++)
    if (pages.GetType(page) == kPageIndexLeaf || pages.GetType(page) == kPageIndexNode)
      pages.Destroy(page, 0xF6);
  for (const uint32_t owner : FindOwners(pages, 3)) pages.Destroy(pages.FindDataPages(owner)[1], 0);
  const std::vector<uint32_t> longValues = pages.FindDataPages(kOwnerLongValues);
  if (longValues.size() > 4) pages.Destroy(longValues[longValues.size() / 2], 0xF6);
}

// --- files ---

Bytes ReadAll(const std::u16string& path) {
  CFileCust file;
  if (!file.Open(path, EFileAccess::Read, EFileShare::Read, EFileCreation::OpenExisting)) return {};
  Bytes bytes(file.GetLength());
  bytes.resize(file.ReadAt(0, bytes));
  return bytes;
}

bool WriteAll(const std::u16string& path, const Bytes& bytes) {
  return WriteWholeFile(path, EFileShare::None, EFileCreation::CreateAlways, bytes).empty();
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
