#include "engine/PageEvidence.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "engine/DatabaseStart.h"
#include "engine/PageRuns.h"
#include "engine/PageShifts.h"
#include "engine/PageTurns.h"
#include "format/PageHead.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr std::array<const SLayout*, 2> kLayouts{&kLayoutJet3, &kLayoutJet4};

// Sampling: pages looked at, spread over the file, and how many of them at its end.
constexpr uint64_t kPagesSampled = 512;
constexpr uint64_t kPagesAtEnd = 16;
// Nearly all pages of a healthy file are sound; below nine in ten the whole file is read.
constexpr uint64_t kSoundOf = 10;
constexpr uint64_t kBlockPages = 256;
constexpr size_t kLargestPage = kLayoutJet4.pageSize;
// Foreign bytes look like the head of a page by chance; hardly three times.
constexpr ptrdiff_t kPagesOfADatabase = 3;

constexpr std::u16string_view kSearchStatus = u"Looking for the pages of the database: ";

// Tells the job how far the search is, and the search whether to go on.
class CSearchWatch {
 public:
  CSearchWatch(CJobContext* job, uint64_t length) : m_job(job), m_length(length) {
    if (m_job == nullptr) return;
    m_job->progress.Begin(m_length / kBytesPerUnit + 1);
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

// The table that a page names as its owner; 0: none.
uint32_t TableOf(Bytes page) {
  const uint32_t owner = page[0] == kPageDefinition ? 0 : OwnerOf(page);
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

  std::array<PageHeads, 2> heads;
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
    if (bytes[0] == 0 && marks.size() < kMostMarks && bytes.size() >= kHeaderText.size() &&
        std::memcmp(bytes.data(), kHeaderText.data(), kHeaderText.size()) == 0)
      marks.push_back(place);
    if (bytes[0] == 0 || bytes[0] > kPageEmptiedData) return;
    for (size_t i = 0; i < kLayouts.size(); i++)
      if (heads[i].size() < m_mostHeads && bytes.size() >= kLayouts[i]->pageSize &&
          IsSoundPage(bytes.first(kLayouts[i]->pageSize), *kLayouts[i]))
        heads[i].push_back({place, TableOf(bytes), bytes[0] == kPageDefinition});
  }

  size_t m_mostHeads;
};

struct SSample {
  uint64_t written = 0;
  uint64_t sound = 0;
  bool isInStep = true;  // the last page is, which few bytes put in or lost near the end would show alone
  [[nodiscard]] bool IsSure() const {
    return isInStep && sound > 0 && sound * kSoundOf >= written * (kSoundOf - 1);
  }
};

SSample SamplePages(CPageReader& file, uint64_t start, const SLayout& layout, const CSearchWatch& watch) {
  SSample sample;
  std::vector<uint8_t> page(layout.pageSize);
  const uint64_t length = file.GetFileLength() - start, count = length / layout.pageSize;
  const uint64_t step = count / kPagesSampled + 1;
  for (uint64_t number = 1; number < count; number += number + kPagesAtEnd < count ? step : 1) {
    if (watch.IsStopped()) return {};
    if (file.ReadFile(start + number * layout.pageSize, page) != page.size()) continue;
    if (IsBlankPage(page)) continue;
    MendPageType(page, layout);
    const bool isSound = IsSoundPage(page, layout) || page[0] == kPageMap || page[0] == kPageDefinition;
    sample.written++;
    sample.sound += isSound ? 1 : 0;
    sample.isInStep = isSound || length % layout.pageSize == 0;
  }
  return sample;
}

bool HasCatalogue(CPageReader& file, uint64_t start) {
  return std::ranges::any_of(
      kLayouts, [&](const SLayout* layout) { return HasCatalogue(file, start, layout->pageSize); });
}

// The part of the file that holds one database.
struct SRange {
  uint64_t start = 0;
  uint64_t end = 0;
  std::vector<uint64_t> otherStarts{};
};

// `marks`: headers that a catalogue follows. What stands in front of the first one is a database, too, where
// it has pages of one.
SRange ChooseRange(const std::vector<uint64_t>& marks, const PageHeads& heads, uint64_t wanted,
                   uint64_t length) {
  SRange range{.start = wanted, .end = length};
  auto next = std::ranges::upper_bound(marks, wanted);
  const auto isInFront = [&](const SPageHead& head) { return next != marks.end() && head.place < *next; };
  const bool hasPagesInFront = std::ranges::count_if(heads, isInFront) >= kPagesOfADatabase;
  const bool startsHere = std::ranges::binary_search(marks, wanted);
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

// Adds pages behind those that are there. What the stretch before would have too many pages for was put in.
bool AddBehind(std::vector<SPageStretch>& stretches, const SPageStretch& next, uint32_t pageSize) {
  if (!stretches.empty()) {
    SPageStretch& previous = stretches.back();
    if (next.page <= previous.page) return false;
    previous.length = std::min(previous.length, (next.page - previous.page) * pageSize);
  }
  stretches.push_back(next);
  return true;
}

// Cuts the stretches where pages were lost or put in within them.
void CutAtShifts(SPageEvidence& evidence, const std::vector<SPageShift>& shifts) {
  const uint32_t pageSize = evidence.layout->pageSize;
  std::vector<SPageStretch> cut;
  auto next = shifts.begin();
  int64_t shift = 0;
  for (const SPageStretch& whole : evidence.stretches) {
    for (uint64_t done = 0; done < whole.length;) {
      const uint64_t page = whole.page + done / pageSize;
      while (next != shifts.end() && next->place <= page) shift = next++->shift;
      const uint64_t left = whole.length - done;
      const uint64_t length = next != shifts.end() ? std::min(left, (next->place - page) * pageSize) : left;
      const int64_t number = static_cast<int64_t>(page) + shift;
      const bool isAdded =
          number >= 0 &&
          AddBehind(cut,
                    {.page = static_cast<uint64_t>(number), .place = whole.place + done, .length = length},
                    pageSize);
      const bool isCounted = &whole != &evidence.stretches.front();
      if (isAdded && shift != 0 && !isCounted) evidence.movedPages += length / pageSize;
      done += length;
    }
  }
  if (!cut.empty()) evidence.stretches = std::move(cut);
}

// Whole pages that were lost or put in leave all heads in step.
void FindShifts(SPageEvidence& evidence, const CPageReader& file, const CJobContext* job) {
  CPageReader pages;
  pages.ShareFile(file);
  pages.SetStretches(evidence.stretches, evidence.layout->pageSize);
  const auto shifts = FindPageShifts(pages, *evidence.layout, job);
  if (!shifts.empty()) CutAtShifts(evidence, shifts);
}

// `read`: what a read of many pages yielded of this one. Behind a place that cannot be read each is asked
// singly.
bool IsHeader(CPageReader& file, uint64_t place, Bytes read) {
  if (read.size() < kHeaderText.size()) return HasHeader(file, place);
  return std::memcmp(read.data(), kHeaderText.data(), kHeaderText.size()) == 0;
}

// Of a file that holds two databases, of which the one at `start` is wanted: whether their pages lie by
// turns.
bool FindTurns(SPageEvidence& evidence, CPageReader& file, uint64_t start, const CJobContext* job) {
  const uint32_t pageSize = evidence.layout->pageSize;
  const bool isSecond = start != 0 && HasHeader(file, 0) && HasCatalogue(file, 0);
  if (isSecond ? !evidence.otherStarts.empty() : evidence.otherStarts.size() != 1) return false;
  const uint64_t first = isSecond ? 0 : start, second = isSecond ? start : evidence.otherStarts.front();
  if ((second - first) % pageSize != 0) return false;
  evidence.stretches = FindTurns(file, *evidence.layout, first, second, start, job);
  for (size_t i = 1; i < evidence.stretches.size(); i++)
    evidence.movedPages += evidence.stretches[i].length / pageSize;
  if (!evidence.stretches.empty()) evidence.notes.clear();
  return !evidence.stretches.empty();
}

// Databases one behind the other, page by page in step, look like one.
SPageEvidence InOnePiece(CPageReader& file, const SLayout& layout, uint64_t start, const CSearchWatch& watch,
                         const CJobContext* job, const SRecoveryRules* noting) {
  SPageEvidence evidence{.layout = &layout};
  uint64_t end = file.GetFileLength();
  if (noting != nullptr) evidence.notes.reserve(static_cast<size_t>((end - start) / layout.pageSize));
  std::vector<uint8_t> block(kBlockPages * layout.pageSize);
  for (uint64_t first = start; first < end; first += block.size()) {
    if (!watch.Show(first)) return {};
    const Bytes read = Bytes(block).first(file.ReadFile(first, block));
    for (size_t at = 0; at < block.size() && first + at < end && !watch.IsStopped(); at += layout.pageSize) {
      const uint64_t place = first + at, number = (place - start) / layout.pageSize;
      const Bytes page = read.subspan(std::min(at, read.size()));
      if (number > 0 && IsHeader(file, place, page) && HasCatalogue(file, place))
        evidence.otherStarts.push_back(place);
      // A page that cannot be read, and all behind it, are left to who asks for each.
      if (noting == nullptr || number != evidence.notes.size() || page.size() < layout.pageSize) continue;
      if (number > 0) MendPageType(std::span(block).subspan(at, layout.pageSize), layout);
      evidence.notes.push_back(NotePage(page.first(layout.pageSize), number, true, layout, *noting));
    }
  }
  if (FindTurns(evidence, file, start, job)) return evidence;
  if (!evidence.otherStarts.empty()) end = evidence.otherStarts.front();
  evidence.stretches.push_back({.page = 0, .place = start, .length = end - start});
  FindShifts(evidence, file, job);
  // Notes are by number, which is the place only where nothing was put in or lost.
  const SPageStretch& first = evidence.stretches.front();
  const bool isInStep = evidence.stretches.size() == 1 && first.page == 0 && first.place == start;
  const auto pages = static_cast<size_t>(isInStep ? (end - start) / layout.pageSize : 0);
  if (evidence.notes.size() > pages) evidence.notes.resize(pages);
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

SPageEvidence FindPages(CPageReader& file, uint64_t wantedStart, CJobContext* job,
                        const SRecoveryRules* noting) {
  const uint64_t length = file.GetFileLength();
  const CSearchWatch watch(job, length);
  if (wantedStart >= length) wantedStart = 0;
  // Without a header the first pages may be missing, which the numbers of owners tell.
  for (const SLayout* layout : kLayouts)
    if (HasHeader(file, wantedStart) && SamplePages(file, wantedStart, *layout, watch).IsSure())
      return InOnePiece(file, *layout, wantedStart, watch, job, noting);

  CHeadFinder found(file, wantedStart, watch);
  if (watch.IsStopped()) return {};
  std::vector<uint64_t> marks = found.marks;
  std::erase_if(marks, [&](uint64_t mark) { return watch.IsStopped() || !HasCatalogue(file, mark); });
  const size_t front = found.heads[0].size() > found.heads[1].size() ? 0 : 1;
  SRange range = ChooseRange(marks, found.heads[front], wantedStart, length);
  const bool hasHeader = HasHeader(file, range.start);
  SPageEvidence evidence{.layout = kLayouts[front], .otherStarts = std::move(range.otherStarts)};
  if (hasHeader && FindTurns(evidence, file, range.start, job)) return evidence;
  for (PageHeads& heads : found.heads)
    std::erase_if(heads,
                  [&](const SPageHead& head) { return head.place < range.start || head.place >= range.end; });
  const size_t best = found.heads[0].size() > found.heads[1].size() ? 0 : 1;
  const PageHeads& heads = found.heads[best];
  // Noise, as encoded pages are, proves nothing beside a header.
  if (heads.empty() || (hasHeader && heads.size() < size_t{kPagesOfADatabase})) return {};

  const SLayout& layout = *kLayouts[best];
  evidence.layout = &layout;
  const auto runs = FindRuns(heads, layout.pageSize, range.end);
  const uint64_t start =
      FirstPlace(found.marks, heads[runs.front().first].place, layout.pageSize, range.start);
  const auto numbers = PlaceRuns(heads, runs, layout.pageSize, start, HasHeader(file, start), job);
  if (watch.IsStopped()) return {};
  uint64_t previousEnd = start;
  uint64_t previousNumber = 0;
  for (size_t i = 0; i < runs.size(); i++) {
    const uint64_t place = heads[runs[i].first].place;
    AddStretch(evidence, numbers[i], place, previousEnd, previousNumber, range.end);
    previousEnd = heads[runs[i].last].place + layout.pageSize;
    previousNumber = numbers[i] + (previousEnd - place) / layout.pageSize;
  }
  FindShifts(evidence, file, job);
  return evidence;
}

}  // namespace tolvane
