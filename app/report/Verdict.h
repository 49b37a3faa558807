// What is the matter with a database file, in one sentence, and what to do about it: a pure function of
// counts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// From what matters least to what matters most; a file with several kinds of damage is called by the last.
enum class EVerdict : uint8_t {
  Sound,
  Flagged,  // only marked as in use
  Counts,   // only the stated numbers of rows are wrong
  Maps,     // which page belongs to which table, and which is free
  Indexes,
  LongValues,  // memos and OLE objects
  Rows,
  Definitions,  // of tables
  Catalogue,    // names of tables and other objects, saved queries, relationships
  Header,       // page 0
  Shifted,      // bytes were put in or lost; pages stand away from their places
  Unreadable,   // the disk does not give pages away
  Hollow,       // overwritten with zeros
  CutShort,
  Encrypted,
  NoDatabase,  // nothing in it that looks like one
  Count_
};
// For programs: "cutShort".
std::string_view NameOf(EVerdict verdict);
// For people, what is damaged: "long values". In ASCII.
std::string_view GetDamagedPart(EVerdict verdict);

// How often each kind of damage was met.
class CDamageSigns {
 public:
  uint64_t& operator[](EVerdict kind) { return m_counts[static_cast<size_t>(kind)]; }
  uint64_t operator[](EVerdict kind) const { return m_counts[static_cast<size_t>(kind)]; }
  void Add(const CDamageSigns& other) {
    for (size_t i = 0; i < m_counts.size(); ++i) m_counts[i] += other.m_counts[i];
  }
  bool operator==(const CDamageSigns&) const = default;

 private:
  std::array<uint64_t, static_cast<size_t>(EVerdict::Count_)> m_counts{};
};

struct SVerdictFacts {
  CDamageSigns signs{};
  bool isRecovered = false;  // rows were looked for; the counts of rows and tables are then known
  bool isNothing = false;    // and no table was found
  uint64_t tables = 0;       // of the user's
  uint64_t rows = 0;         // that came back
  uint64_t lostRows = 0;
  uint64_t doubtfulRows = 0;  // among those that came back
  uint64_t lostTables = 0;    // of which the name is left and nothing else
  uint64_t unnamedTables = 0;
  uint64_t omittedObjects = 0;  // forms, reports and the like, which no repair brings back
  bool hasTemplate = false;
  bool isSaved = false;
};

struct SVerdict {
  EVerdict kind = EVerdict::Sound;
  std::vector<EVerdict> also;  // further damage, what matters most first
  std::u16string sentence;
  std::vector<std::u16string> advice;  // what to do next, a sentence or two each
};

SVerdict Judge(const SVerdictFacts& facts);

}  // namespace tolvane
