#include "engine/PageEvidence.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <string_view>
#include <utility>

#include "engine/DataReader.h"
#include "engine/PageShifts.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr std::array<const SLayout*, 2> kLayouts{&kLayoutJet3, &kLayoutJet4};
constexpr std::string_view kHeaderMark{"\0\1\0\0Standard ", 13};

// Sampling: pages looked at, spread over the file, and how many of them at its end.
constexpr uint64_t kPagesSampled = 512;
constexpr uint64_t kPagesAtEnd = 16;
// Nearly all pages of a healthy file are sound; below nine in ten the whole file is read.
constexpr uint64_t kSoundOf = 10;
constexpr uint64_t kBlockPages = 256;
constexpr size_t kLargestPage = kLayoutJet4.pageSize;
// Foreign bytes look like the head of a page by chance; hardly three times.
constexpr ptrdiff_t kPagesOfADatabase = 3;
// Definitions and owners that are compared with each other to place a stretch.
constexpr size_t kPlacesCompared = 2048;
// Pages that may be missing in one place, by the pages that are there: what follows costs as much as they do.
constexpr uint64_t kMissingEach = 4;

constexpr std::u16string_view kSearchStatus = u"Looking for the pages of the database: ";
// Pages between two looks at the job.
constexpr uint64_t kPagesBetween = 4096;
// Places of runs that are compared, over all of them.
constexpr uint64_t kMostCompared = uint64_t{1} << 26;

// Tells the job how far the search is, and the search whether to go on.
class CSearchWatch {
 public:
  CSearchWatch(CJobContext* job, uint64_t length) : m_job(job), m_length(length) {
    if (m_job == nullptr) return;
    m_job->progress.SetMax(ToUnits(m_length));
    m_job->progress.SetPos(0);
  }
  [[nodiscard]] bool IsStopped() const { return m_job != nullptr && !m_job->IsRunning(); }
  // False: the job was stopped.
  [[nodiscard]] bool Show(uint64_t place) const {
    if (m_job == nullptr) return true;
    m_job->progress.SetPos(ToUnits(place));
    std::u16string text(kSearchStatus);
    ((text += ToDecimal(place / kBytesPerUnit)) += u"(kb) / ") += ToDecimal(m_length / kBytesPerUnit);
    m_job->status.SetText(text += u"(kb)");
    return m_job->IsRunning();
  }

 private:
  static constexpr uint64_t kBytesPerUnit = 1000;
  static int32_t ToUnits(uint64_t bytes) {
    return static_cast<int32_t>(std::min<uint64_t>(bytes / kBytesPerUnit + 1, INT32_MAX));
  }

  CJobContext* m_job;
  uint64_t m_length;
};

bool IsSoundDataPage(Bytes page, const SLayout& layout) {
  const uint32_t count = CDataReader::ReadUInt16(&page[layout.data.slotCount]);
  if (count > layout.data.MaximumSlots(layout.pageSize)) return false;
  const size_t tableEnd = layout.data.slots + size_t{2} * count;
  const uint16_t last =
      count == 0 ? static_cast<uint16_t>(layout.pageSize) : CDataReader::ReadUInt16(&page[tableEnd - 2]);
  const size_t free = CDataReader::ReadUInt16(&page[kFreeBytesOffset]);
  return (last & kSlotStart) == tableEnd + free;
}

bool IsSoundIndexPage(Bytes page, const SLayout& layout) {
  const SIndexPageLayout& at = layout.index;
  const uint32_t free = CDataReader::ReadUInt16(&page[kFreeBytesOffset]);
  if (free > layout.pageSize - at.entries || CDataReader::ReadUInt32(&page[kOwnerOffset]) == 0) return false;
  const size_t end = layout.pageSize - at.entries - free;
  if (end == 0) return false;
  const auto isEnd = [&](size_t bit) { return (page[at.mask + bit / 8] >> bit % 8 & 1) != 0; };
  if (at.mask + end / 8 >= at.entries || !isEnd(end)) return false;
  for (size_t byte = at.mask + end / 8 + 1; byte < at.entries; byte++)
    if (page[byte] != 0) return false;
  return true;
}

bool IsSoundDefinition(Bytes page, const SLayout& layout) {
  const auto& signature = layout.definition.signature;
  if (layout.isJet3) return std::equal(signature.begin(), signature.end(), page.begin());
  return CDataReader::ReadUInt32(&page[layout.definition.magic]) == kDefinitionMagic;
}

// What stands on a page whose head was found.
struct SHead {
  uint64_t place;  // in the file
  uint32_t owner;  // 0: none
  bool isDefinition;
};
using Heads = std::vector<SHead>;

uint32_t OwnerOf(Bytes page) {
  if (page[0] == kPageDefinition) return 0;
  const uint32_t owner = CDataReader::ReadUInt32(&page[kOwnerOffset]);
  return owner == kOwnerLongValues || owner == kGlobalMapPage ? 0 : owner;
}

// Reads the file block by block; `take` sees each place and the bytes from there on.
template <class F>
void Walk(CPageReader& file, uint64_t from, const CSearchWatch& watch, const F& take) {
  std::vector<uint8_t> block(kBlockPages * kLargestPage + kLargestPage);
  for (uint64_t at = from; watch.Show(at);) {
    const size_t size = file.ReadFile(at, block);
    const size_t taken = size < block.size() ? size : size - kLargestPage;
    take(at, Bytes(block).first(size), taken);
    if (size < block.size()) {
      // A block that cannot be read is passed over; at the end of the file nothing follows.
      if (at + block.size() >= file.GetFileLength()) return;
      at += std::max<size_t>(taken, kLargestPage);
    } else {
      at += taken;
    }
  }
}

class CHeadFinder {
 public:
  // Bytes made for it can look like a head every few bytes; no file of pages has more than so many a page, or
  // more headers than so many.
  static constexpr uint64_t kHeadsEach = 4;
  static constexpr size_t kMostMarks = 4096;

  CHeadFinder(CPageReader& file, uint64_t from, const CSearchWatch& watch)
      : m_mostHeads(static_cast<size_t>(kHeadsEach * file.GetFileLength() / kLayoutJet3.pageSize) +
                    kHeadsEach) {
    Walk(file, from, watch, [this](uint64_t at, Bytes bytes, size_t taken) { TakeBlock(at, bytes, taken); });
  }

  std::array<Heads, 2> heads;
  std::vector<uint64_t> marks;  // headers

 private:
  void TakeBlock(uint64_t at, Bytes bytes, size_t taken) {
    for (size_t i = 0; i + 1 < bytes.size() && i < taken;) {
      const void* const found = std::memchr(&bytes[i + 1], kPageFormatted, bytes.size() - i - 1);
      if (found == nullptr) return;
      i = static_cast<size_t>(static_cast<const uint8_t*>(found) - bytes.data()) - 1;
      if (i >= taken) return;
      TakePlace(at + i, bytes.subspan(i));
      i++;
    }
  }

  void TakePlace(uint64_t place, Bytes bytes) {
    if (bytes[0] == 0 && marks.size() < kMostMarks && bytes.size() >= kHeaderMark.size() &&
        std::equal(kHeaderMark.begin(), kHeaderMark.end(), bytes.begin(),
                   [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; }))
      marks.push_back(place);
    if (bytes[0] == 0 || bytes[0] > kPageEmptiedData) return;
    for (size_t i = 0; i < kLayouts.size(); i++)
      if (heads[i].size() < m_mostHeads && bytes.size() >= kLayouts[i]->pageSize &&
          IsSoundPage(bytes.first(kLayouts[i]->pageSize), *kLayouts[i]))
        heads[i].push_back({place, OwnerOf(bytes), bytes[0] == kPageDefinition});
  }

  size_t m_mostHeads;
};

// Splits heads, in their order in the file, into runs that keep one distance. Another distance begins where
// two heads in a row have it, or the last head of the file does and its page ends with the file.
class CRunFinder {
 public:
  CRunFinder(const Heads& heads, uint32_t pageSize, uint64_t fileEnd)
      : m_heads(heads), m_pageSize(pageSize), m_fileEnd(fileEnd) {}

  struct SRun {
    size_t first;  // heads
    size_t last;   // included
    size_t count;  // of those that are in step
  };
  // Heads between the runs belong to none.
  std::vector<SRun> Find() {
    std::vector<SRun> runs;
    size_t challenger = m_heads.size();
    for (size_t i = 0; i < m_heads.size(); i++) {
      if (!runs.empty() && IsInStep(runs.back().last, i)) {
        runs.back().last = i;
        runs.back().count++;
        challenger = m_heads.size();
      } else if (challenger < i && IsInStep(challenger, i)) {
        runs.push_back({challenger, i, 2});
        challenger = m_heads.size();
      } else {
        challenger = i;
        if (i + 1 == m_heads.size() && m_heads[i].place + m_pageSize == m_fileEnd) runs.push_back({i, i, 1});
      }
    }
    if (runs.empty() && !m_heads.empty()) runs.push_back({0, 0, 1});
    return WithoutChance(runs);
  }

  [[nodiscard]] bool AreInStep(const SRun& a, const SRun& b) const { return IsInStep(a.first, b.first); }

 private:
  // A few heads between two longer runs in step with each other are chance: like pages have like bytes in the
  // same places.
  static constexpr size_t kMostByChance = 8;
  [[nodiscard]] std::vector<SRun> WithoutChance(const std::vector<SRun>& runs) const {
    std::vector<SRun> kept;
    for (const SRun& run : runs) {
      const size_t count = kept.size();
      const bool isBack = count >= 2 && kept[count - 1].count < kMostByChance &&
                          kept[count - 1].count < std::max(kept[count - 2].count, run.count) &&
                          AreInStep(kept[count - 2], run);
      if (isBack) {
        kept.pop_back();
        kept.back().last = run.last;
        kept.back().count += run.count;
      } else {
        kept.push_back(run);
      }
    }
    return kept;
  }

  [[nodiscard]] bool IsInStep(size_t a, size_t b) const {
    return (m_heads[b].place - m_heads[a].place) % m_pageSize == 0;
  }

  const Heads& m_heads;
  uint32_t m_pageSize;
  uint64_t m_fileEnd;
};

// Gives each run the number of its first page.
class CRunPlacer {
 public:
  using Run = CRunFinder::SRun;
  // `from`: where page 0 is, or where it would be, had nothing been lost or put in front of the first run.
  CRunPlacer(const Heads& heads, const std::vector<Run>& runs, uint32_t pageSize, uint64_t from, bool isSure,
             const CSearchWatch& watch)
      : m_heads(heads),
        m_runs(runs),
        m_pageSize(pageSize),
        m_from(from),
        m_isSure(isSure),
        m_watch(watch),
        m_mostMissing(heads.empty() ? 0 : kMissingEach * (heads.back().place / pageSize + 1)) {
    for (const Run& run : runs)
      for (size_t i = run.first; i <= run.last; i++)
        if (m_heads[i].owner != 0) m_owned[m_heads[i].owner]++;
  }

  std::vector<uint64_t> Place() {
    std::vector<uint64_t> numbers;
    for (size_t i = 0; i < m_runs.size() && !m_watch.IsStopped(); i++) {
      const uint64_t place = m_heads[m_runs[i].first].place;
      // Bytes put in or lost are taken for as few as possible.
      const uint64_t guess =
          i == 0
              ? (place - m_from) / m_pageSize  // whole pages, if page 0 is there
              : numbers[i - 1] + (place - m_heads[m_runs[i - 1].first].place + m_pageSize / 2) / m_pageSize;
      const uint64_t least = i == 0 ? 0 : numbers[i - 1] + PagesOf(m_runs[i - 1]);
      const bool isKnown = i == 0 && m_isSure;
      numbers.push_back(isKnown ? guess : BestNumber(m_runs[i], std::max(guess, least), least));
      NoteDefinitions(m_runs[i], numbers.back());
    }
    return numbers;
  }

 private:
  [[nodiscard]] uint64_t PagesOf(const Run& run) const {
    return (m_heads[run.last].place - m_heads[run.first].place) / m_pageSize + 1;
  }
  [[nodiscard]] uint64_t IndexOf(const Run& run, size_t head) const {
    return (m_heads[head].place - m_heads[run.first].place) / m_pageSize;
  }

  void NoteDefinitions(const Run& run, uint64_t number) {
    for (size_t i = run.first; i <= run.last; i++)
      if (m_heads[i].isDefinition) m_owned.erase(static_cast<uint32_t>(number + IndexOf(run, i)));
  }

  // Owners whose definitions are found, and pages that these have.
  using Votes = std::pair<uint64_t, uint64_t>;
  // The number by which most owners have their definition in the run. Few tables have many pages: those alone
  // would take any definition for theirs.
  uint64_t BestNumber(const Run& run, uint64_t guess, uint64_t least) {
    std::map<uint64_t, Votes> votes;
    size_t definitions = 0;
    for (size_t i = run.first; i <= run.last && definitions < kPlacesCompared; i++) {
      if (!m_heads[i].isDefinition) continue;
      definitions++;
      size_t compared = 0;
      for (const auto& [owner, pages] : m_owned) {
        if (++compared > kPlacesCompared || m_comparisonsLeft == 0) break;
        m_comparisonsLeft--;
        const uint64_t index = IndexOf(run, i);
        if (owner >= least + index && owner - index <= guess + m_mostMissing) {
          votes[owner - index].first++;
          votes[owner - index].second += pages;
        }
      }
    }
    uint64_t best = guess;
    // One page alone may name any owner.
    Votes most = votes.count(guess) != 0 ? std::max(votes[guess], Votes{1, 1}) : Votes{1, 1};
    for (const auto& [number, count] : votes)
      // Where as many owners speak for two places, the nearer one needs no further witness.
      if (count > most && count.second > 1 && (best != guess || most.first < 2 || count.first > most.first)) {
        best = number;
        most = count;
      }
    return best;
  }

  const Heads& m_heads;
  const std::vector<Run>& m_runs;
  uint32_t m_pageSize;
  uint64_t m_from;
  bool m_isSure;
  const CSearchWatch& m_watch;
  uint64_t m_mostMissing;
  uint64_t m_comparisonsLeft = kMostCompared;
  std::map<uint32_t, uint64_t> m_owned;  // pages by owner, of owners that were not found yet
};

struct SSample {
  uint64_t written = 0;
  uint64_t sound = 0;
  [[nodiscard]] bool IsSure() const { return sound > 0 && sound * kSoundOf >= written * (kSoundOf - 1); }
};

SSample SamplePages(CPageReader& file, uint64_t start, const SLayout& layout) {
  SSample sample;
  std::vector<uint8_t> page(layout.pageSize);
  const uint64_t count = (file.GetFileLength() - start) / layout.pageSize;
  const uint64_t step = count / kPagesSampled + 1;
  for (uint64_t number = 1; number < count; number += number + kPagesAtEnd < count ? step : 1) {
    if (file.ReadFile(start + number * layout.pageSize, page) != page.size()) continue;
    if (std::all_of(page.begin(), page.end(), [](uint8_t byte) { return byte == 0; })) continue;
    sample.written++;
    sample.sound += IsSoundPage(page, layout) || page[0] == kPageMap || page[0] == kPageDefinition ? 1 : 0;
  }
  return sample;
}

bool HasHeader(CPageReader& file, uint64_t start) {
  std::array<uint8_t, kHeaderMark.size()> head{};
  return file.ReadFile(start, head) == head.size() &&
         std::memcmp(head.data(), kHeaderMark.data(), head.size()) == 0;
}

bool HasCatalogue(CPageReader& file, uint64_t start) {
  std::array<uint8_t, 2> head{};
  return std::any_of(kLayouts.begin(), kLayouts.end(), [&](const SLayout* layout) {
    return file.ReadFile(start + uint64_t{kObjectsPage} * layout->pageSize, head) == head.size() &&
           head[0] == kPageDefinition && head[1] == kPageFormatted;
  });
}

// The part of the file that holds one database.
struct SRange {
  uint64_t start = 0;
  uint64_t end = 0;
  std::vector<uint64_t> otherStarts{};
};

// `marks`: headers that a catalogue follows. What stands in front of the first one is a database, too, where
// it has pages of one.
SRange ChooseRange(const std::vector<uint64_t>& marks, const Heads& heads, uint64_t wanted, uint64_t length) {
  SRange range{.start = wanted, .end = length};
  auto next = std::upper_bound(marks.begin(), marks.end(), wanted);
  const auto isInFront = [&](const SHead& head) { return next != marks.end() && head.place < *next; };
  const bool hasPagesInFront = std::count_if(heads.begin(), heads.end(), isInFront) >= kPagesOfADatabase;
  const bool startsHere = std::binary_search(marks.begin(), marks.end(), wanted);
  if (!startsHere && wanted == 0 && next != marks.end() && !hasPagesInFront) range.start = *next++;
  if (next != marks.end()) range.end = *next;
  range.otherStarts.assign(next, marks.end());
  return range;
}

// Page 0 of the first run: its header where one stands in step in front of it.
uint64_t FirstPlace(const std::vector<uint64_t>& marks, uint64_t head, uint32_t pageSize, uint64_t start) {
  for (const uint64_t mark : marks)
    if (mark >= start && mark <= head && (head - mark) % pageSize == 0) return mark;
  return start + (head - start) % pageSize;
}

// What the stretch before would have too many pages for was put in.
void AddShift(SPageEvidence& evidence, const SPageShift& shift, uint64_t start, uint64_t end) {
  const uint32_t pageSize = evidence.layout->pageSize;
  SPageStretch& previous = evidence.stretches.back();
  const uint64_t place = start + shift.place * pageSize;
  const int64_t number = static_cast<int64_t>(shift.place) + shift.shift;
  if (number <= static_cast<int64_t>(previous.page)) return;
  const auto page = static_cast<uint64_t>(number);
  previous.length = std::min(place - previous.place, (page - previous.page) * pageSize);
  evidence.movedPages += shift.shift != 0 ? (end - place) / pageSize : 0;
  evidence.stretches.push_back({.page = page, .place = place, .length = end - place});
}

// Databases one behind the other, page by page in step, look like one.
SPageEvidence InOnePiece(CPageReader& file, const SLayout& layout, uint64_t start, const CSearchWatch& watch,
                         const CJobContext* job) {
  SPageEvidence evidence{.layout = &layout, .stretches = {}, .otherStarts = {}};
  uint64_t end = file.GetFileLength();
  uint64_t page = 0;
  for (uint64_t place = start + layout.pageSize; place < file.GetFileLength(); place += layout.pageSize) {
    if (++page % kPagesBetween == 0 && !watch.Show(place)) return {};
    if (HasHeader(file, place) && HasCatalogue(file, place)) evidence.otherStarts.push_back(place);
  }
  if (!evidence.otherStarts.empty()) end = evidence.otherStarts.front();
  evidence.stretches.push_back({.page = 0, .place = start, .length = end - start});
  for (const SPageShift& shift : FindPageShifts(file, layout, start, end, job))
    AddShift(evidence, shift, start, end);
  return evidence;
}

// A run reaches back over pages that prove nothing, except the one behind the run before: that is torn, and
// its head is in step with the pages in front of it.
void AddStretch(SPageEvidence& evidence, uint64_t number, uint64_t place, uint64_t previousEnd,
                uint64_t previousNumber, uint64_t end) {
  const uint32_t pageSize = evidence.layout->pageSize;
  const bool isFirst = evidence.stretches.empty();
  uint64_t back = isFirst ? std::min(number, (place - previousEnd) / pageSize)
                          : std::min((place - previousEnd) / pageSize, number - previousNumber);
  if (!isFirst && back > 0) back--;
  const uint64_t first = place - back * pageSize;
  if (!isFirst) {
    SPageStretch& previous = evidence.stretches.back();
    const uint64_t room = (number - back - previous.page) * pageSize;
    previous.length = std::min(first - previous.place + pageSize - 1, room);
    evidence.movedPages += (end - first) / pageSize;
  }
  evidence.stretches.push_back({.page = number - back, .place = first, .length = end - first});
}

}  // namespace

bool IsSoundPage(Bytes page, const SLayout& layout) {
  if (page.size() < layout.pageSize || page[1] != kPageFormatted) return false;
  switch (page[0]) {
    case kPageData:
    case kPageEmptiedData:
      return IsSoundDataPage(page, layout);
    case kPageDefinition:
      return IsSoundDefinition(page, layout);
    case kPageIndexNode:
    case kPageIndexLeaf:
      return IsSoundIndexPage(page, layout);
    default:
      return false;
  }
}

SPageEvidence FindPages(CPageReader& file, uint64_t wantedStart, CJobContext* job) {
  const uint64_t length = file.GetFileLength();
  const CSearchWatch watch(job, length);
  if (wantedStart >= length) wantedStart = 0;
  // Without a header the first pages may be missing, which the numbers of owners tell.
  for (const SLayout* layout : kLayouts)
    if (HasHeader(file, wantedStart) && SamplePages(file, wantedStart, *layout).IsSure())
      return InOnePiece(file, *layout, wantedStart, watch, job);

  CHeadFinder found(file, wantedStart, watch);
  if (watch.IsStopped()) return {};
  std::vector<uint64_t> marks = found.marks;
  std::erase_if(marks, [&](uint64_t mark) { return !HasCatalogue(file, mark); });
  const size_t front = found.heads[0].size() > found.heads[1].size() ? 0 : 1;
  SRange range = ChooseRange(marks, found.heads[front], wantedStart, length);
  for (Heads& heads : found.heads)
    std::erase_if(heads,
                  [&](const SHead& head) { return head.place < range.start || head.place >= range.end; });
  const size_t best = found.heads[0].size() > found.heads[1].size() ? 0 : 1;
  const Heads& heads = found.heads[best];
  // Noise, as encoded pages are, proves nothing beside a header.
  const bool hasHeader = HasHeader(file, range.start);
  if (heads.empty() || (hasHeader && heads.size() < size_t{kPagesOfADatabase})) return {};

  const SLayout& layout = *kLayouts[best];
  const auto runs = CRunFinder(heads, layout.pageSize, range.end).Find();
  const uint64_t start =
      FirstPlace(found.marks, heads[runs.front().first].place, layout.pageSize, range.start);
  const auto numbers = CRunPlacer(heads, runs, layout.pageSize, start, HasHeader(file, start), watch).Place();
  if (watch.IsStopped()) return {};
  SPageEvidence evidence{.layout = &layout, .stretches = {}, .otherStarts = std::move(range.otherStarts)};
  uint64_t previousEnd = start;
  uint64_t previousNumber = 0;
  for (size_t i = 0; i < runs.size(); i++) {
    const uint64_t place = heads[runs[i].first].place;
    AddStretch(evidence, numbers[i], place, previousEnd, previousNumber, range.end);
    previousEnd = heads[runs[i].last].place + layout.pageSize;
    previousNumber = numbers[i] + (previousEnd - place) / layout.pageSize;
  }
  return evidence;
}

}  // namespace tolvane
