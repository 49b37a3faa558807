#include "embedded/IndexSorter.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

#include "format/Bytes.h"
#include "format/IndexPage.h"
#include "platform/ErrorHandler.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

using Bytes = std::span<const uint8_t>;

// A run is a sequence of records: length (2 bytes, little-endian), then the entry.
constexpr size_t kLengthSize = 2;
constexpr size_t kMaxEntry = 0xFFFF;

constexpr size_t kMostMemory = size_t{1} << 30;  // what records can tell places in

// From here on sorting by bytes is faster than by comparisons.
constexpr size_t kManyRecords = 1024;

constexpr size_t kWriteBlock = size_t{256} << 10;
// One merge pass: at the smallest buffer even a file of the largest size needs only a few thousand runs.
constexpr size_t kSmallestReadBuffer = size_t{4} << 10;
constexpr size_t kLargestReadBuffer = size_t{256} << 10;
constexpr int kNameAttempts = 100;

std::atomic<uint32_t> g_fileCounter{0};

bool IsLess(Bytes a, Bytes b) {
  return std::ranges::lexicographical_compare(a, b);
}

bool StartsWith(Bytes bytes, Bytes prefix) {
  return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
}

// Most entries differ in their first bytes, and a number is compared without a call.
uint64_t PrefixOf(Bytes entry) {
  uint64_t prefix = 0;
  for (const uint8_t byte : entry.first(std::min(entry.size(), sizeof(prefix)))) prefix = prefix << 8 | byte;
  return entry.size() < sizeof(prefix) ? prefix << 8 * (sizeof(prefix) - entry.size()) : prefix;
}

}  // namespace

CIndexSorter::CIndexSorter(std::u16string_view folder, size_t memoryBound)
    : m_folder(folder), m_memoryBound(std::min(memoryBound, kMostMemory)) {}

CIndexSorter::~CIndexSorter() {
  if (m_path.empty()) return;
  m_file.Close();
  RemoveFile(m_path);
}

EDaoError CIndexSorter::Add(std::span<const uint8_t> key, uint32_t page, uint8_t row) {
  if (m_error != EDaoError::None) return m_error;
  const size_t size = key.size() + kRowPointerSize;
  if (size > kMaxEntry) return m_error = EDaoError::RecordTooLarge;
  // Half of the bound, because growing the lists may hold up to twice what is in them.
  const size_t wanted = m_arena.size() + size + (m_records.size() + 1) * sizeof(SRecord);
  if (wanted > m_memoryBound / 2 && !m_records.empty() && !Spill()) return m_error;
  const size_t offset = m_arena.size();
  m_arena.resize(offset + size);
  const std::span<uint8_t> entry = std::span(m_arena).subspan(offset);
  std::ranges::copy(key, entry.begin());
  WriteBigEndian(MakeRowPointer(page, row), entry.last<kRowPointerSize>());
  m_records.push_back({PrefixOf(entry), static_cast<uint32_t>(offset), static_cast<uint32_t>(size)});
  m_entryCount++;
  return EDaoError::None;
}

EDaoError CIndexSorter::Sort() {
  if (m_error != EDaoError::None || m_isSorted) return m_error;
  m_isSorted = true;
  if (m_runs.empty()) {
    SortRecords();
  } else if ((m_records.empty() || Spill()) && StartMerge()) {
    m_arena = {};
    m_records = {};
  }
  return m_error;
}

bool CIndexSorter::Next(SIndexEntry& entry) {
  if (m_error != EDaoError::None) return false;
  if (!m_runs.empty()) {
    if (!TakeFromRuns()) return false;
  } else {
    if (m_nextRecord == m_records.size()) return false;
    m_current = BytesOf(m_records[m_nextRecord++]);
  }
  const size_t keySize = m_current.size() - kRowPointerSize;
  entry.key = m_current.first(keySize);
  const uint32_t pointer = ReadBigEndian(m_current.last(kRowPointerSize));
  entry.page = PageOfPointer(pointer);
  entry.row = static_cast<uint8_t>(RowOfPointer(pointer));
  entry.repeatsKey = RepeatsOpenKey();
  return true;
}

// A key may be the beginning of another (an empty binary value has no bytes), and then entries of both can
// alternate. But all entries that begin with a key stand together: a key is done when an entry does not.
bool CIndexSorter::RepeatsOpenKey() {
  size_t kept = 0;
  bool repeats = false;
  const size_t keySize = m_current.size() - kRowPointerSize;
  for (size_t i = 0; i < m_openCount; i++) {
    if (!StartsWith(m_current, m_openKeys[i])) continue;
    repeats = repeats || m_openKeys[i].size() == keySize;
    m_openKeys[i].swap(m_openKeys[kept++]);
  }
  m_openCount = kept;
  if (repeats) return true;
  if (m_openCount == m_openKeys.size()) m_openKeys.emplace_back();
  const Bytes key = m_current.first(keySize);
  m_openKeys[m_openCount++].assign(key.begin(), key.end());
  return false;
}

std::span<const uint8_t> CIndexSorter::BytesOf(const SRecord& record) const {
  return Bytes(m_arena).subspan(record.offset, record.size);
}

// Rows mostly come in the order of their numbers already.
void CIndexSorter::SortRecords() {
  const auto isBefore = [this](const SRecord& a, const SRecord& b) {
    return a.prefix != b.prefix ? a.prefix < b.prefix : IsLess(BytesOf(a), BytesOf(b));
  };
  if (std::ranges::is_sorted(m_records, isBefore)) return;
  if (m_records.size() < kManyRecords) {
    std::ranges::sort(m_records, isBefore);
    return;
  }
  SortByPrefix();
  for (auto first = m_records.begin(); first != m_records.end();) {
    const auto isOther = [first](const SRecord& record) { return record.prefix != first->prefix; };
    const auto end = std::find_if(first, m_records.end(), isOther);
    if (!std::is_sorted(first, end, isBefore)) std::sort(first, end, isBefore);
    first = end;
  }
}

// Byte by byte from the last one on, each time keeping the order of those before; bytes in which all records
// agree cost nothing.
void CIndexSorter::SortByPrefix() {
  constexpr size_t kBytes = sizeof(SRecord::prefix), kValues = 256;
  const auto byteOf = [](uint64_t prefix, size_t byte) {
    return static_cast<size_t>(prefix >> 8 * byte & (kValues - 1));
  };
  std::array<std::array<size_t, kValues>, kBytes> counts{};
  for (const SRecord& record : m_records)
    for (size_t byte = 0; byte < kBytes; byte++) counts[byte][byteOf(record.prefix, byte)]++;
  std::vector<SRecord> target(m_records.size());
  for (size_t byte = 0; byte < kBytes; byte++) {
    std::array<size_t, kValues>& next = counts[byte];
    if (next[byteOf(m_records.front().prefix, byte)] == m_records.size()) continue;
    size_t start = 0;
    for (size_t& place : next) start += std::exchange(place, start);
    for (const SRecord& record : m_records) target[next[byteOf(record.prefix, byte)]++] = record;
    m_records.swap(target);
  }
}

bool CIndexSorter::OpenFile() {
  if (m_file.IsOpen()) return true;
  for (int attempt = 0; attempt < kNameAttempts; attempt++) {
    std::u16string path = m_folder + u"index_" + ToDecimal(uint64_t{GetProcessNumber()}) + u"_" +
                          ToDecimal(uint64_t{g_fileCounter++}) + u".tmp";
    if (m_file.Open(path, EFileAccess::ReadWrite, EFileShare::None, EFileCreation::CreateNew)) {
      m_path = std::move(path);
      return true;
    }
  }
  return Fail(EDaoError::DiskError);
}

bool CIndexSorter::Spill() {
  SortRecords();
  if (!OpenFile()) return false;
  SRun run;
  run.next = m_fileLength;
  std::vector<uint8_t> block;
  block.reserve(kWriteBlock);
  for (const SRecord& record : m_records) {
    if (block.size() + kLengthSize + record.size > kWriteBlock && !WriteBlock(block)) return false;
    AppendLittle(block, static_cast<uint16_t>(record.size));
    const Bytes bytes = BytesOf(record);
    block.insert(block.end(), bytes.begin(), bytes.end());
  }
  if (!WriteBlock(block)) return false;
  run.end = m_fileLength;
  m_runs.push_back(std::move(run));
  m_arena.clear();
  m_records.clear();
  return true;
}

bool CIndexSorter::WriteBlock(std::vector<uint8_t>& block) {
  try {
    m_file.WriteAt(m_fileLength, block);
  } catch (const CFileCustException& exception) {
    return Fail(exception.GetCode() == kDiskFullError ? EDaoError::DiskFull : EDaoError::DiskError);
  }
  m_fileLength += block.size();
  block.clear();
  return true;
}

bool CIndexSorter::StartMerge() {
  m_bufferSize = std::clamp(m_memoryBound / m_runs.size(), kSmallestReadBuffer, kLargestReadBuffer);
  for (size_t run = 0; run < m_runs.size(); run++) {
    bool isAtEnd = false;
    if (!Advance(m_runs[run], isAtEnd)) return false;
    if (!isAtEnd) m_heap.push_back(run);
  }
  for (size_t position = m_heap.size() / 2; position-- > 0;) SiftDown(position);
  return true;
}

bool CIndexSorter::TakeFromRuns() {
  if (m_heap.empty()) return false;
  SRun& run = m_runs[m_heap.front()];
  m_taken.swap(run.entry);
  m_current = m_taken;
  bool isAtEnd = false;
  if (!Advance(run, isAtEnd)) return false;
  if (isAtEnd) {
    m_heap.front() = m_heap.back();
    m_heap.pop_back();
  }
  SiftDown(0);
  return true;
}

bool CIndexSorter::IsRunBefore(size_t a, size_t b) const {
  const SRun &x = m_runs[a], &y = m_runs[b];
  return x.prefix != y.prefix ? x.prefix < y.prefix : IsLess(x.entry, y.entry);
}

// Moves the run at that place of the heap down until none below it has a smaller entry.
void CIndexSorter::SiftDown(size_t position) {
  for (size_t child = 2 * position + 1; child < m_heap.size(); child = 2 * position + 1) {
    if (child + 1 < m_heap.size() && IsRunBefore(m_heap[child + 1], m_heap[child])) child++;
    if (!IsRunBefore(m_heap[child], m_heap[position])) return;
    std::swap(m_heap[child], m_heap[position]);
    position = child;
  }
}

// Reads the run's next entry.
bool CIndexSorter::Advance(SRun& run, bool& isAtEnd) {
  isAtEnd = run.position == run.buffer.size() && run.next == run.end;
  if (isAtEnd) {
    run.buffer = {};
    run.position = 0;
    return true;
  }
  if (!Read(run, kLengthSize, run.entry)) return false;
  if (!Read(run, GetLittle<uint16_t>(run.entry, 0), run.entry)) return false;
  run.prefix = PrefixOf(run.entry);
  return true;
}

bool CIndexSorter::Read(SRun& run, size_t size, std::vector<uint8_t>& target) {
  target.resize(size);
  for (size_t done = 0; done < size;) {
    if (run.position == run.buffer.size()) {
      const size_t wanted = static_cast<size_t>(std::min<uint64_t>(m_bufferSize, run.end - run.next));
      run.buffer.resize(wanted);
      run.position = 0;
      CErrorHandler handler;
      if (wanted == 0 || m_file.ReadAt(run.next, run.buffer, handler) != wanted)
        return Fail(EDaoError::DiskError);
      run.next += wanted;
    }
    const size_t count = std::min(size - done, run.buffer.size() - run.position);
    std::copy_n(&run.buffer[run.position], count, &target[done]);
    run.position += count;
    done += count;
  }
  return true;
}

bool CIndexSorter::Fail(EDaoError error) {
  m_error = error;
  return false;
}

}  // namespace tolvane
