// One opened database file, as every step of a run reads it: its pages, where the database starts in the
// file, the page format, what the header tells, which pages are free. Each is found once.
//
// The file is opened for reading only and stays open until Close or the end of the object. One thread at a
// time; a run hands it from step to step by reference.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "engine/FreePageMap.h"
#include "engine/PageEvidence.h"
#include "engine/PageReader.h"
#include "format/Layout.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"

namespace tolvane {

// Numbers of two pages each.
using PagePairs = std::vector<std::pair<uint32_t, uint32_t>>;

class CSource {
 public:
  // What page 0 holds of interest, its masked part in plain; zeros where the file is shorter.
  static constexpr size_t kHeaderBytes = kHeaderEncryptionLength + 8;
  using Header = std::array<uint8_t, kHeaderBytes>;

  // The rules outlive the source. `wantedStart`: where the database begins that is meant, in a file that
  // holds several; 0 takes the first one.
  explicit CSource(const SRecoveryRules& rules = kStandardRules, uint64_t wantedStart = 0)
      : m_rules(rules), m_wantedStart(wantedStart) {}
  CSource(const CSource&) = delete;
  CSource& operator=(const CSource&) = delete;

  // Bytes of the file that are not its own, see CPageReader::SetHoles; before Open.
  void SetHoles(std::vector<SFileRange> holes) { m_pages.SetHoles(std::move(holes)); }
  // Of the run that the file is opened for: sees how far Open is, and may stop it; outlives the source.
  void SetJob(CJobContext& job) { m_job = &job; }
  // What a stopped Open found out is not to be relied on.
  [[nodiscard]] bool IsStopped() const { return m_job != nullptr && !m_job->IsRunning(); }
  // Opens the file and finds out what it is. False: the system refuses, with its reason in the handler; the
  // source is then closed, of no length, and counts as Jet 3.
  bool Open(const std::u16string& path, CErrorHandler& handler);
  bool Open(const std::u16string& path);
  void Close();
  [[nodiscard]] bool IsOpen() const { return m_pages.IsOpen(); }
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }

  [[nodiscard]] const SLayout& GetLayout() const { return *m_layout; }
  // Reads the pages in this format, whatever the file says of itself: that of the file whose rows the
  // definitions of this one describe.
  void UseLayout(const SLayout& layout);

  [[nodiscard]] CPageReader& GetPages() { return m_pages; }
  // Whether pages prove that a database is there; only by rules that look for them.
  [[nodiscard]] bool HasPages() const { return m_evidence.layout != nullptr; }
  // Whole pages.
  [[nodiscard]] uint64_t GetPageCount() const { return m_pages.GetPageCount(m_layout->pageSize); }
  // Reads one page by its number; see CPageReader::ReadPage.
  bool ReadPage(uint64_t number, std::span<uint8_t> page) {
    return m_pages.ReadPage(number * m_layout->pageSize, page);
  }
  // Reads each page of a pair in the place of the other. Answers the pairs that this was done with: pages
  // that the file lacks stay where they are.
  PagePairs SwapPages(const PagePairs& pairs);
  [[nodiscard]] const Header& GetHeader() const { return m_header; }
  [[nodiscard]] const SSourceFacts& GetFacts() const { return m_facts; }
  [[nodiscard]] const CFreePageMap& GetFreePages();
  // What Open noted of the pages, for a run; of the first ones, or of none. Once.
  [[nodiscard]] PageNotes TakeNotes();

 private:
  void FindPages();
  void LookForPages();
  bool HasPageAtEnd();
  void ReadHeader();
  void ReadFacts();
  [[nodiscard]] uint8_t TellVersion();

  const SRecoveryRules& m_rules;
  uint64_t m_wantedStart;
  CJobContext* m_job = nullptr;
  std::u16string m_path;
  CPageReader m_pages;
  const SLayout* m_layout = &kLayoutJet3;
  SPageEvidence m_evidence;  // only where the rules ask for it
  Header m_header{};
  SSourceFacts m_facts;
  std::optional<CFreePageMap> m_freePages;  // nothing until somebody asks
};

}  // namespace tolvane
