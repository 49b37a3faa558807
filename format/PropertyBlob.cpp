#include "format/PropertyBlob.h"

#include <map>
#include <string_view>

#include "format/Bytes.h"

namespace tolvane {
namespace {

constexpr std::string_view kMagicJet3("KKD\0", 4), kMagicJet4("MR2\0", 4);
static_assert(kMagicJet3.size() == kMagicJet4.size());
constexpr size_t kBlockHead = 6, kOwnerHead = 6, kEntryHead = 8;
constexpr uint16_t kNames = 0x80;

std::string ToString(std::span<const uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

void Append(std::vector<uint8_t>& out, std::string_view bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

bool TakeNames(CByteTaker taker, size_t size, std::vector<std::string>& names) {
  while (taker.GetPosition() < size) {
    const auto length = taker.TakeNumber<uint16_t>();
    const std::span<const uint8_t> name = taker.Take(length);
    if (!taker.IsOk() || length > kLongestPropertyName) return false;
    names.push_back(ToString(name));
  }
  return true;
}

enum class EEntry : uint8_t { Whole, Broken, NoWayOn };

EEntry TakeEntry(CByteTaker& taker, const std::vector<std::string>& names, SStoredProperty& property) {
  const auto length = taker.TakeNumber<uint16_t>();
  if (!taker.IsOk() || length < kEntryHead) return EEntry::NoWayOn;
  CByteTaker entry(taker.Take(length - size_t{2}));
  property.flags = entry.TakeNumber<uint8_t>();
  property.type = entry.TakeNumber<uint8_t>();
  const auto name = entry.TakeNumber<uint16_t>();
  const auto size = entry.TakeNumber<uint16_t>();
  const std::span<const uint8_t> value = entry.Take(size);
  if (!taker.IsOk()) return EEntry::NoWayOn;
  if (!entry.IsOk() || name >= names.size()) return EEntry::Broken;
  property.name = names[name];
  property.value.assign(value.begin(), value.end());
  return EEntry::Whole;
}

bool TakeOwner(CByteTaker taker, size_t size, const std::vector<std::string>& names, SPropertyOwner& owner) {
  const auto headLength = taker.TakeNumber<uint32_t>();
  const auto nameLength = taker.TakeNumber<uint16_t>();
  owner.name = ToString(taker.Take(nameLength));
  if (!taker.IsOk() || headLength != taker.GetPosition()) return false;
  bool isWhole = true;
  while (taker.GetPosition() < size) {
    SStoredProperty property;
    const EEntry entry = TakeEntry(taker, names, property);
    if (entry == EEntry::NoWayOn) return false;
    if (entry == EEntry::Whole) owner.properties.push_back(std::move(property));
    isWhole = isWhole && entry == EEntry::Whole;
  }
  return isWhole;
}

void AppendPropertyBlock(std::vector<uint8_t>& blob, uint16_t kind, const std::vector<uint8_t>& body) {
  AppendLittle(blob, static_cast<uint32_t>(kBlockHead + body.size()));
  AppendLittle(blob, kind);
  blob.insert(blob.end(), body.begin(), body.end());
}

// The names of all properties, each once, in the order in which they occur.
class CNameList {
 public:
  explicit CNameList(std::span<const SPropertyOwner> owners) {
    for (const SPropertyOwner& owner : owners)
      for (const SStoredProperty& property : owner.properties) Add(property.name);
  }
  [[nodiscard]] const std::vector<uint8_t>& GetBody() const { return m_body; }
  [[nodiscard]] uint16_t Find(const std::string& name) const { return m_places.at(name); }

 private:
  void Add(const std::string& name) {
    if (!m_places.emplace(name, static_cast<uint16_t>(m_places.size())).second) return;
    AppendLittle(m_body, static_cast<uint16_t>(name.size()));
    Append(m_body, name);
  }

  std::map<std::string, uint16_t> m_places;
  std::vector<uint8_t> m_body;
};

std::vector<uint8_t> EncodeOwner(const SPropertyOwner& owner, const CNameList& names) {
  std::vector<uint8_t> body;
  AppendLittle(body, static_cast<uint32_t>(kOwnerHead + owner.name.size()));
  AppendLittle(body, static_cast<uint16_t>(owner.name.size()));
  Append(body, owner.name);
  for (const SStoredProperty& property : owner.properties) {
    AppendLittle(body, static_cast<uint16_t>(kEntryHead + property.value.size()));
    body.push_back(property.flags);
    body.push_back(property.type);
    AppendLittle(body, names.Find(property.name));
    AppendLittle(body, static_cast<uint16_t>(property.value.size()));
    body.insert(body.end(), property.value.begin(), property.value.end());
  }
  return body;
}

}  // namespace

bool HasPropertyMark(bool isJet3, std::span<const uint8_t> bytes) {
  return std::ranges::equal(bytes.first(std::min(bytes.size(), kMagicJet4.size())),
                            AsBytes(isJet3 ? kMagicJet3 : kMagicJet4));
}

bool DecodePropertyBlob(bool isJet3, std::span<const uint8_t> blob, std::vector<SPropertyOwner>& owners) {
  owners.clear();
  if (!HasPropertyMark(isJet3, blob)) return false;
  CByteTaker taker(blob.subspan(kMagicJet4.size()));
  std::vector<std::string> names;
  bool isWhole = true;
  while (taker.GetPosition() + kMagicJet4.size() < blob.size()) {
    const auto length = taker.TakeNumber<uint32_t>();
    const auto kind = taker.TakeNumber<uint16_t>();
    if (!taker.IsOk() || length < kBlockHead) return false;
    const std::span<const uint8_t> body = taker.Take(length - kBlockHead);
    if (!taker.IsOk()) return false;
    if (kind == kNames) {
      isWhole = TakeNames(CByteTaker(body), body.size(), names) && isWhole;
      continue;
    }
    SPropertyOwner& owner = owners.emplace_back();
    owner.kind = kind;
    isWhole = TakeOwner(CByteTaker(body), body.size(), names, owner) && isWhole;
  }
  return isWhole;
}

std::vector<uint8_t> EncodePropertyBlob(bool isJet3, std::span<const SPropertyOwner> owners) {
  std::vector<uint8_t> blob;
  Append(blob, isJet3 ? kMagicJet3 : kMagicJet4);
  const CNameList names(owners);
  AppendPropertyBlock(blob, kNames, names.GetBody());
  for (const SPropertyOwner& owner : owners) AppendPropertyBlock(blob, owner.kind, EncodeOwner(owner, names));
  return blob;
}

}  // namespace tolvane
