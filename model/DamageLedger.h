// What a repair met on its way: counts of everything that is gone or doubtful, with the places. The summary
// and the exit status come from here. Damage is no failure; it is counted and reading goes on.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <vector>

namespace tolvane {

enum class EDamage : uint8_t {
  UnreadablePage,    // the system could not read it
  LostPage,          // it is nowhere in the file: bytes or pages are missing there
  LeadingBytes,      // foreign bytes in front of the first page
  PartialPage,       // bytes behind the last whole page
  OrphanDataPage,    // a data page whose owner is no known table
  BrokenDefinition,  // a definition that is cut, loops or has unreadable columns or names
  LostTable,         // the catalogue names a table whose definition is gone
  UnnamedTable,      // a table without a name in the catalogue
  RestoredName,      // a table that the catalogue does not name, and another place of the file does
  MistakableTable,   // a user's table by its type, a system table by its page; the catalogue names neither
  RejectedRow,       // a row whose frame lies
  BrokenOverflow,    // an overflow pointer that leads to no row
  BrokenPage,        // a data page whose row count cannot be true
  TornPage,          // a page whose parts, or whose rows and indexes, are of different states
  UnknownPage,       // a page that was written and has no type
  MissingRows,       // the definition promises more rows than were found
  SurplusRows,       // the definition promises fewer
  MovedPages,        // pages that stand elsewhere than their number says
  ChangedSource,     // the file was written to while it was read
  OtherDatabase,     // another database behind the one that was read
  UnfitTemplate,     // rows that belong to no table of the template
  BrokenValue,       // a present value that lies outside its row
  BrokenLongValue,   // a memo or OLE value whose chain ends early
  LooseValue,        // a value of a complex column that belongs to no record, or twice to the same
  BrokenProperties,  // properties of an object that cannot be read to their end
  SkippedTable,      // a table whose data file could not be written
  Count_
};

class CDamageLedger {
 public:
  static constexpr uint64_t kNoTable = ~uint64_t{0};
  struct SPlace {
    uint64_t page = 0;               // page number in the damaged file
    uint64_t definition = kNoTable;  // definition offset of the table
    int32_t row = -1;                // slot on the page, or -1
    uint64_t amount = 1;             // how many (rows, bytes) at this place
    int32_t column = -1;             // position among the table's columns, or -1
    const char* reason = nullptr;    // what is wrong, where the kind alone does not tell; a literal in ASCII
    uint64_t promised = 0;           // rows that a definition states, of missing and surplus ones
  };
  // Memory does not grow with the damage: of each kind only so many places are kept. Counts stay exact, and
  // who lists the places says how many are not among them.
  static constexpr size_t kPlacesKept = 100'000;

  CDamageLedger() = default;
  // Whether places keep their reasons.
  explicit CDamageLedger(bool tellsReasons) : m_tellsReasons(tellsReasons) {}

  void Add(EDamage kind, SPlace place) {
    // Several steps read a page; it is lost once.
    if (kind == EDamage::UnreadablePage && !m_unreadablePages.insert(place.page).second) return;
    if (!m_tellsReasons) place.reason = nullptr;
    SKind& entry = m_kinds[static_cast<size_t>(kind)];
    entry.count += place.amount;
    entry.added++;
    if (entry.places.size() < kPlacesKept) entry.places.push_back(place);
  }
  // Gives the places of a kind the reasons that the function finds for them.
  template <class F>
  void Explain(EDamage kind, const F& reasonOf) {
    if (!m_tellsReasons) return;
    for (SPlace& place : m_kinds[static_cast<size_t>(kind)].places) place.reason = reasonOf(place);
  }
  [[nodiscard]] uint64_t GetCount(EDamage kind) const { return m_kinds[static_cast<size_t>(kind)].count; }
  [[nodiscard]] const std::vector<SPlace>& GetPlaces(EDamage kind) const {
    return m_kinds[static_cast<size_t>(kind)].places;
  }
  // Places that were met and are not kept.
  [[nodiscard]] uint64_t CountDropped(EDamage kind) const {
    const SKind& entry = m_kinds[static_cast<size_t>(kind)];
    return entry.added - entry.places.size();
  }
  [[nodiscard]] bool IsClean() const {
    for (const SKind& kind : m_kinds)
      if (kind.count != 0) return false;
    return true;
  }

 private:
  struct SKind {
    uint64_t count = 0;
    uint64_t added = 0;  // places, kept or not
    std::vector<SPlace> places;
  };
  bool m_tellsReasons = true;
  std::array<SKind, static_cast<size_t>(EDamage::Count_)> m_kinds;
  std::unordered_set<uint64_t> m_unreadablePages;
};

}  // namespace tolvane
