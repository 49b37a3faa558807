// What several threads make of a file is what one makes of it.
#include <atomic>
#include <thread>

#include "format/RowLayout.h"
#include "platform/FileCust.h"
#include "status/JobContext.h"
#include "store/ValueStream.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {
namespace {

constexpr uint32_t kPages = 1100, kPagesWithLongValues = 300;
constexpr uint16_t kMoved = kSlotHidden, kDeleted = kSlotDeleted;

STableSpec Spec(bool hasLongValues) {
  STableSpec table;
  table.AddFixed(u"Id", kTypeLong, 4).AddFixed(u"Yes", kTypeBoolean, 1).AddVariable(u"Name", kTypeText, 100);
  if (hasLongValues) table.AddVariable(u"Memo", kTypeMemo).AddVariable(u"Picture", kTypeOle);
  return table;
}

Bytes LongValue(const Bytes& value) {
  Bytes field = Little(kLongValueInline | value.size(), 4);
  field.resize(kReferenceSize);
  field.insert(field.end(), value.begin(), value.end());
  return field;
}

Bytes ReadWhole(const std::u16string& path) {
  CFileCust file;
  CErrorHandler handler;
  if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting)) return {};
  Bytes bytes(static_cast<size_t>(file.GetLength()));
  bytes.resize(file.ReadAt(0, bytes, handler));
  return bytes;
}

class Threads : public CEngineTest {
 protected:
  // Two tables with pages of all kinds, sound ones mostly.
  Threads() {
    for (const bool hasLongValues : {false, true}) {
      const STableSpec spec = Spec(hasLongValues);
      const uint32_t table = file.AddTable(spec);
      const uint32_t pages = hasLongValues ? kPagesWithLongValues : kPages;
      for (uint32_t page = 0; page < pages; page++) AddPage(spec, table, page, hasLongValues);
    }
  }

  void AddPage(const STableSpec& spec, uint32_t table, uint32_t number, bool hasLongValues) {
    const auto row = [&](uint32_t id) {
      std::vector<std::optional<Bytes>> values{Little(id, 4), std::nullopt,
                                               StoredText(u"row " + ToDecimal(uint64_t{id}), kLayoutJet4)};
      if (id % 3 == 0) values[1] = Bytes{};
      if (id % 5 == 0) values[2] = Hex("FFFE41424300443C004546");  // switches to two bytes and back
      if (hasLongValues) {
        values.emplace_back(LongValue(StoredText(u"memo", kLayoutJet4)));
        values.emplace_back(LongValue(Bytes(id % 7, static_cast<uint8_t>(id))));
      }
      return MakeRow(spec, kLayoutJet4, values);
    };
    const uint32_t first = 100 * number;
    std::vector<SRowSpec> rows{{row(first)}, {row(first + 1), number % 4 == 0 ? kDeleted : uint16_t{0}}};
    const uint32_t next = file.GetPageCount() + 1;
    if (number % 31 == 5) rows.push_back({MakePointerRow(next, 0), kSlotPointer});
    if (number % 31 == 6) rows.front().flags = kMoved;
    if (number % 37 == 9) rows.push_back({Hex("030099")});
    const uint32_t page = file.AddDataPage(table, rows);
    if (number % 41 == 11) file.Page(page).Put16(kLayoutJet4.data.slotCount, 900);
  }

  // Everything that a run tells: values, objects, numbers of rows, damage with its places and their order.
  static Bytes Run(const Bytes& bytes, uint32_t threads, const std::vector<SFileRange>& holes,
                   bool wantsRows = true, bool addsLarge = true) {
    const CTempFile source(bytes);
    CJobContext job;
    job.SetThreads(threads);
    job.SetWantsRows(wantsRows);
    job.repairing.SetRunning(true);
    CSource opened(kExactRules);
    opened.SetHoles(holes);
    opened.Open(source.GetPath());
    CAccessRepair repair(kExactRules, job);
    repair.Repair(opened, opened);
    Bytes all;
    if (repair.GetData() == nullptr) return all;
    const auto add = [&all](const Bytes& more) { all.insert(all.end(), more.begin(), more.end()); };
    for (const auto& table : repair.GetData()->GetTables()) {
      add(Little(table->header.rowCount, 4));
      CValueStream records;
      EXPECT_EQ(records.Open(table->GetRecords()), wantsRows || table->dataPages.GetCount() < kPages);
      Bytes bytesOfRows(static_cast<size_t>(records.GetBytesLeft()));
      records.ReadBytes(bytesOfRows);
      if (addsLarge || table->dataPages.GetCount() < kPages) add(bytesOfRows);
      add(ReadWhole(table->GetObjectFilePath()));
    }
    for (size_t kind = 0; kind < static_cast<size_t>(EDamage::Count_); kind++)
      for (const auto& place : repair.GetData()->GetLedger().GetPlaces(static_cast<EDamage>(kind)))
        add(Joined(Little(place.page, 8), Little(static_cast<uint64_t>(place.row) << 32 | kind, 8)));
    return all;
  }
  static Bytes Joined(Bytes head, const Bytes& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
  }

  CDatabaseBuilder file{kLayoutJet4};
};

TEST_F(Threads, AnyNumberOfThemMakesTheSame) {
  const Bytes bytes = file.Build();
  // Pages that the system cannot read are met by whichever thread comes to them.
  const std::vector<SFileRange> holes{{uint64_t{150} * 4096 + 7, 9000}, {uint64_t{640} * 4096, 4096}};
  for (const auto& unreadable : {std::vector<SFileRange>{}, holes}) {
    const Bytes alone = Run(bytes, 1, unreadable);
    EXPECT_GT(alone.size(), size_t{kPages * 60});
    EXPECT_TRUE(Run(bytes, 2, unreadable) == alone);
    EXPECT_TRUE(Run(bytes, 8, unreadable) == alone);
  }
}

// A large table whose rows nobody reads has no file, and all else is as it was.
TEST_F(Threads, RowsThatNobodyWantsAreCountedAlike) {
  const Bytes bytes = file.Build();
  EXPECT_TRUE(Run(bytes, 2, {}, false, false) == Run(bytes, 2, {}, true, false));
}

TEST_F(Threads, AllLeaveWhenTheRunIsStopped) {
  const CTempFile source(file.Build());
  for (int run = 0; run < 20; run++) {
    CJobContext job;
    job.SetThreads(8);
    job.repairing.SetRunning(true);
    if (run == 0) job.Stop();
    std::atomic<bool> hasEnded{false};
    std::thread user([&] {
      while (!hasEnded && job.pages.GetPos() < 40 * run) std::this_thread::yield();
      job.Stop();
    });
    CAccessRepair repair(kExactRules, job);
    repair.Repair(source.GetPath(), u"", source.GetPath());
    hasEnded = true;
    user.join();
    EXPECT_LE(job.pages.GetPos(), static_cast<int32_t>(kPages + kPagesWithLongValues));
    if (run == 0) {
      EXPECT_EQ(repair.GetData(), nullptr);
    }
  }
}

}  // namespace
}  // namespace tolvane
