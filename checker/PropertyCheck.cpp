#include "checker/PropertyCheck.h"

#include <algorithm>

#include "format/Bytes.h"

namespace tolvane {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint8_t kMagicJet4[] = {'M', 'R', '2', 0}, kMagicJet3[] = {'K', 'K', 'D', 0};
constexpr size_t kBlockHead = 6;  // u32 length, u16 kind
constexpr size_t kEntryHead = 8;
constexpr uint16_t kNames = 0x80;

bool IsNamesBlock(Bytes body, size_t& names) {
  for (CByteTaker taker(body); taker.GetPosition() < body.size(); names++) {
    taker.Take(taker.TakeNumber<uint16_t>());
    if (!taker.IsOk()) return false;
  }
  return true;
}

bool IsEntry(CByteTaker& taker, size_t names) {
  const auto length = taker.TakeNumber<uint16_t>();
  if (!taker.IsOk() || length < kEntryHead) return false;
  CByteTaker entry(taker.Take(length - size_t{2}));
  entry.Take(2);  // flags and type
  const auto name = entry.TakeNumber<uint16_t>();
  const auto size = entry.TakeNumber<uint16_t>();
  return taker.IsOk() && entry.IsOk() && name < names && size + kEntryHead <= length;
}

bool IsOwnerBlock(Bytes body, size_t names) {
  CByteTaker taker(body);
  const auto headLength = taker.TakeNumber<uint32_t>();
  const auto nameLength = taker.TakeNumber<uint16_t>();
  taker.Take(nameLength);
  if (!taker.IsOk() || headLength != taker.GetPosition()) return false;
  while (taker.GetPosition() < body.size())
    if (!IsEntry(taker, names)) return false;
  return true;
}

bool IsPropertyBlob(Bytes blob, Bytes magic) {
  CByteTaker taker(blob);
  const Bytes found = taker.Take(magic.size());
  if (!std::equal(found.begin(), found.end(), magic.begin(), magic.end())) return false;
  size_t names = 0;
  while (taker.GetPosition() < blob.size()) {
    const auto length = taker.TakeNumber<uint32_t>();
    const auto kind = taker.TakeNumber<uint16_t>();
    if (!taker.IsOk() || length < kBlockHead) return false;
    const Bytes body = taker.Take(length - kBlockHead);
    if (!taker.IsOk()) return false;
    if (!(kind == kNames ? IsNamesBlock(body, names) : IsOwnerBlock(body, names))) return false;
  }
  return true;
}

}  // namespace

void CheckProperties(SCheckContext& context, std::span<const uint8_t> blob, SPlace place) {
  if (!IsPropertyBlob(blob, context.file.IsJet3() ? Bytes(kMagicJet3) : Bytes(kMagicJet4)))
    context.findings.Error("P1", place, u"the properties of the object cannot be read to their end");
}

}  // namespace tolvane
