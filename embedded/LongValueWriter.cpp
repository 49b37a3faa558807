#include "embedded/LongValueWriter.h"

#include <algorithm>
#include <utility>

#include "dao/MemorySource.h"
#include "embedded/StoredText.h"
#include "embedded/UsageMap.h"
#include "format/LongValue.h"
#include "platform/CodePage.h"
#include "platform/TextUnits.h"

namespace tolvane {
namespace {

// The UTF-16LE bytes of a text, piece by piece.
class CTextSource : public CDaoByteSource {
 public:
  explicit CTextSource(std::u16string_view text) : m_text(text) {}
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override {
    bytesRead = std::min(buffer.size(), 2 * m_text.size() - m_position);
    buffer = buffer.first(bytesRead);
    // A piece may begin or end inside a unit.
    if (m_position % 2 != 0) buffer = TakeHalf(buffer);
    const size_t units = buffer.size() / 2;
    PutUnits(m_text.substr(m_position / 2, units), buffer.data());
    m_position += 2 * units;
    TakeHalf(buffer.subspan(2 * units));
    return true;
  }
  [[nodiscard]] uint64_t GetLength() const override { return 2 * uint64_t{m_text.size()}; }

 private:
  // Half a unit, if there is room for it; answers the rest of the room.
  std::span<uint8_t> TakeHalf(std::span<uint8_t> room) {
    if (room.empty()) return room;
    room[0] = static_cast<uint8_t>(m_text[m_position / 2] >> (m_position % 2 * 8));
    m_position++;
    return room.subspan(1);
  }

  std::u16string_view m_text;
  size_t m_position = 0;  // in bytes
};

CDaoResult Unreadable() {
  return {EDaoError::DiskError, u"The bytes of a long value could not be read."};
}

// Reads until `buffer` is full or the source ends; shrinks `buffer` to what there was.
CDaoResult Fill(CDaoByteSource& source, std::vector<uint8_t>& buffer, size_t size) {
  buffer.resize(size);
  size_t got = 0;
  while (got < size) {
    size_t bytes = 0;
    if (!source.Read(std::span(buffer).subspan(got), bytes) || bytes > size - got) return Unreadable();
    if (bytes == 0) break;
    got += bytes;
  }
  buffer.resize(got);
  return CDaoResult::Ok();
}

// The stored bytes of a text whose units come piece by piece: as they are, or in the code page.
class CUnitSource : public CDaoByteSource {
 public:
  CUnitSource(CDaoByteSource& units, const STextLayout& layout)
      : m_units(units), m_layout(layout), m_left(units.GetLength()) {}

  // Marks of the byte order that the text begins with need a form of their own, see StoredText.h.
  CDaoResult Begin() {
    if (CDaoResult result = ReadPiece(2); !result.IsOk() || !IsAtMark()) return result;
    if (!m_layout.IsCodePage() && m_units.Restart()) {
      bool canSwitch = true;
      CDaoResult result = Fill(m_units, m_piece, kPiece);
      for (; result.IsOk() && canSwitch && !m_piece.empty(); result = Fill(m_units, m_piece, kPiece))
        canSwitch = CanSwitchText(UnitsOf(m_piece));
      if (!result.IsOk()) return result;
      m_left = m_units.GetLength();
      if (!m_units.Restart()) return Unreadable();
      if (canSwitch) {
        m_ready.assign(std::begin(kWideTextHead), std::end(kWideTextHead));
        return CDaoResult::Ok();
      }
      if (result = ReadPiece(2); !result.IsOk()) return result;
    }
    m_loss.mark = true;
    CDaoResult result;
    while (result.IsOk() && IsAtMark()) result = ReadPiece(2);
    return result;
  }
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override {
    if (m_position == m_ready.size() && !ReadPiece(kPiece).IsOk()) return false;
    bytesRead = std::min(buffer.size(), m_ready.size() - m_position);
    std::copy_n(m_ready.begin() + static_cast<std::ptrdiff_t>(m_position), bytesRead, buffer.begin());
    m_position += bytesRead;
    return true;
  }
  [[nodiscard]] uint64_t GetLength() const override {
    return m_ready.size() - m_position + (m_layout.IsCodePage() ? m_left / 2 : m_left);
  }
  [[nodiscard]] const STextLoss& GetLoss() const { return m_loss; }

 private:
  static constexpr size_t kPiece = 4096;

  [[nodiscard]] bool IsAtMark() const { return BeginsWithByteOrderMark(UnitsOf(m_piece)); }
  CDaoResult ReadPiece(size_t size) {
    if (CDaoResult result = Fill(m_units, m_piece, size); !result.IsOk()) return result;
    m_left -= std::min<uint64_t>(m_left, m_piece.size());
    m_ready.clear();
    m_position = 0;
    if (m_layout.IsCodePage())
      m_loss.replaced += EncodeCodePage(kGeneralCodePage, UnitsOf(m_piece), m_ready);
    else
      m_ready = m_piece;
    return CDaoResult::Ok();
  }

  CDaoByteSource& m_units;
  const STextLayout& m_layout;
  std::vector<uint8_t> m_piece, m_ready;
  size_t m_position = 0;
  uint64_t m_left;  // bytes of the units that have not been read
  STextLoss m_loss;
};

}  // namespace

CLongValueWriter::CLongValueWriter(CPageFile& file, const SColumnDefinition& column)
    : m_file(file),
      m_column(column),
      m_singles(file, kOwnerLongValues, EPageUse::Content, m_owned, m_free),
      m_chainPage(file.GetLayout()) {}

CDaoResult CLongValueWriter::Load() {
  if (CDaoResult result = LoadUsageMap(m_file, m_column.ownedMap, m_owned); !result.IsOk()) return result;
  if (m_column.freeMap == 0) return CDaoResult::Ok();
  return LoadUsageMap(m_file, m_column.freeMap, m_free);
}

CDaoResult CLongValueWriter::Store() {
  if (m_owned.IsEmpty()) return CDaoResult::Ok();
  if (CDaoResult result = m_singles.Flush(); !result.IsOk()) return result;
  if (CDaoResult result = StoreUsageMap(m_file, m_column.ownedMap, m_owned); !result.IsOk()) return result;
  if (m_column.freeMap == 0) return CDaoResult::Ok();
  return StoreUsageMap(m_file, m_column.freeMap, m_free);
}

CDaoResult CLongValueWriter::SetBytes(std::span<const uint8_t> bytes, CRowEncoder& row) {
  CMemorySource source(bytes);
  return SetBytes(source, row);
}

CDaoResult CLongValueWriter::SetBytes(CDaoByteSource& source, CRowEncoder& row) {
  const size_t longestSingle = m_file.GetLayout().row.longestSingle;
  if (source.GetLength() > kLongestLongValue)
    return {EDaoError::RecordTooLarge, u"A long value is longer than the format allows."};
  if (CDaoResult result = Fill(source, m_buffer, longestSingle + 1); !result.IsOk()) return result;
  if (m_buffer.size() > longestSingle) return SetChained(source, row);
  return SetSmall(m_buffer, m_buffer.size(), row);
}

// What counts for staying in the row is the length before compression.
CDaoResult CLongValueWriter::SetText(std::u16string_view text, CRowEncoder& row, STextLoss& loss) {
  const SLayout& layout = m_file.GetLayout();
  if (2 * text.size() <= layout.row.longestInline && !layout.text.IsCodePage()) {
    m_buffer.clear();
    loss = AppendStoredText(layout.text, text, ETextForm::CompressedIfPossible, m_buffer);
    return SetSmall(m_buffer, 2 * text.size(), row);
  }
  if (layout.text.IsCodePage() || BeginsWithByteOrderMark(text)) {
    m_encoded.clear();
    loss = AppendStoredText(layout.text, text, ETextForm::PlainIfPossible, m_encoded);
    return SetBytes(m_encoded, row);
  }
  loss = {};
  CTextSource source(text);
  return SetBytes(source, row);
}

CDaoResult CLongValueWriter::SetText(CDaoByteSource& units, CRowEncoder& row, STextLoss& loss) {
  const SLayout& layout = m_file.GetLayout();
  if (units.GetLength() <= 2 * layout.row.longestInline) {
    std::vector<uint8_t> bytes;
    if (CDaoResult result = Fill(units, bytes, static_cast<size_t>(units.GetLength())); !result.IsOk())
      return result;
    return SetText(UnitsOf(bytes), row, loss);
  }
  CUnitSource source(units, layout.text);
  if (CDaoResult result = source.Begin(); !result.IsOk()) return result;
  CDaoResult result = SetBytes(source, row);
  loss = source.GetLoss();
  return result;
}

CDaoResult CLongValueWriter::SetSmall(std::span<const uint8_t> stored, size_t countedLength,
                                      CRowEncoder& row) {
  Discard();
  const auto length = static_cast<uint32_t>(stored.size());
  if (countedLength <= m_file.GetLayout().row.longestInline) {
    const std::span<uint8_t> reference = row.Reserve(m_column, kReferenceSize + stored.size());
    EncodeLongValue({.kind = kLongValueInline, .length = length}, reference);
    std::ranges::copy(stored, reference.begin() + kReferenceSize);
    return CDaoResult::Ok();
  }
  m_waiting.assign(stored.begin(), stored.end());
  PutWaiting(0, row);
  m_isWaiting = true;
  return CDaoResult::Ok();
}

size_t CLongValueWriter::GetInlineSize(const CRowEncoder& row) const {
  const std::optional<SLongValue> value = DecodeLongValue(row.Get(m_column));
  return value && value->kind == kLongValueInline ? value->rest.size() : 0;
}

void CLongValueWriter::MoveOut(CRowEncoder& row) {
  const std::span<const uint8_t> value = row.Get(m_column).subspan(kReferenceSize);
  m_waiting.clear();
  if (m_column.type == kTypeMemo)
    AppendOuterText(m_file.GetLayout().text, value, m_waiting);
  else
    m_waiting.assign(value.begin(), value.end());
  m_isWaiting = true;
  PutWaiting(0, row);
}

void CLongValueWriter::PutWaiting(uint32_t pointer, CRowEncoder& row) {
  EncodeLongValue(
      {.kind = kLongValueSingle, .length = static_cast<uint32_t>(m_waiting.size()), .pointer = pointer},
      row.Reserve(m_column, kReferenceSize));
}

CDaoResult CLongValueWriter::Commit(CRowEncoder& row) {
  if (!m_isWaiting) return CDaoResult::Ok();
  std::span<uint8_t> bytes;
  uint32_t pointer = 0;
  if (CDaoResult result = m_singles.AddRow(m_waiting.size(), bytes, pointer); !result.IsOk()) return result;
  std::ranges::copy(m_waiting, bytes.begin());
  PutWaiting(pointer, row);
  m_isWaiting = false;
  return CDaoResult::Ok();
}

void CLongValueWriter::Forget() {
  m_isWaiting = false;
  m_chain.pages.clear();
}

void CLongValueWriter::Discard() {
  m_isWaiting = false;
  ReleaseChain(m_chain);
}

CDaoResult CLongValueWriter::SetChained(CDaoByteSource& source, CRowEncoder& row) {
  SChain chain;
  if (CDaoResult result = WriteChain(source, chain); !result.IsOk()) {
    ReleaseChain(chain);
    return result;
  }
  Discard();
  m_chain = std::move(chain);
  EncodeLongValue(
      {.kind = kLongValueChain, .length = m_chain.length, .pointer = m_chain.pointer, .stamp = m_chain.stamp},
      row.Reserve(m_column, kReferenceSize));
  return CDaoResult::Ok();
}

// m_buffer holds the value's beginning. A page is written once it is known whether another one follows.
CDaoResult CLongValueWriter::WriteChain(CDaoByteSource& source, SChain& chain) {
  const size_t pieceSize = m_file.GetLayout().row.longestChained - kChainPointerSize;
  std::vector<uint8_t> rest(m_buffer.begin() + static_cast<std::ptrdiff_t>(pieceSize), m_buffer.end());
  m_buffer.resize(pieceSize);
  uint32_t page = 0;
  if (CDaoResult result = AllocateChainPage(chain, page); !result.IsOk()) return result;
  // The first page's number names the chain, where pages have room for it: no other chain has the same.
  chain.stamp = m_file.GetLayout().data.stamp == kAbsent ? 0 : page;
  chain.pointer = MakeRowPointer(page, 0);
  uint64_t length = 0;
  for (uint32_t next = 0;; page = next) {
    if (CDaoResult result = Fill(source, m_next, pieceSize - rest.size()); !result.IsOk()) return result;
    m_next.insert(m_next.begin(), rest.begin(), rest.end());
    rest.clear();
    length += m_buffer.size();
    if (length + m_next.size() > kLongestLongValue)
      return {EDaoError::RecordTooLarge, u"A long value is longer than the format allows."};
    next = 0;
    if (!m_next.empty())
      if (CDaoResult result = AllocateChainPage(chain, next); !result.IsOk()) return result;
    const uint32_t stamp = page == PageOfPointer(chain.pointer) ? chain.stamp : 0;
    if (CDaoResult result = WriteChainPage(page, next, stamp, m_buffer); !result.IsOk()) return result;
    if (next == 0) break;
    m_buffer.swap(m_next);
  }
  chain.length = static_cast<uint32_t>(length);
  return CDaoResult::Ok();
}

CDaoResult CLongValueWriter::AllocateChainPage(SChain& chain, uint32_t& page) {
  if (CDaoResult result = m_file.Allocate(EPageUse::Content, page); !result.IsOk()) return result;
  m_owned.Add(page);
  if (!chain.pages.empty() && chain.pages.back().first + chain.pages.back().count == page)
    chain.pages.back().count++;
  else
    chain.pages.push_back({page, 1});
  return CDaoResult::Ok();
}

CDaoResult CLongValueWriter::WriteChainPage(uint32_t page, uint32_t next, uint32_t stamp,
                                            std::span<const uint8_t> bytes) {
  m_chainPage.Start(kOwnerLongValues);
  m_chainPage.SetStamp(stamp);
  const std::span<uint8_t> row = m_chainPage.AddRow(kChainPointerSize + bytes.size());
  PutLittle(row, 0, next == 0 ? 0u : MakeRowPointer(next, 0));
  std::ranges::copy(bytes, row.begin() + kChainPointerSize);
  return m_file.Write(page, m_chainPage.Finish());
}

void CLongValueWriter::ReleaseChain(SChain& chain) {
  for (const SPageRun& run : chain.pages) {
    for (uint32_t page = run.first; page < run.first + run.count; page++) {
      m_owned.Remove(page);
      m_file.Release(page);
    }
  }
  chain.pages.clear();
}

}  // namespace tolvane
