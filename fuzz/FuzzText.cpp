// Stored texts and packed files: in one piece or in many they read the same, and never become more than their
// form allows.
#include "format/CompressedText.h"
#include "format/Inflate.h"
#include "format/Value.h"
#include "fuzz/FuzzInput.h"

namespace tolvane {
namespace {

void Unpack(std::span<const uint8_t> stored, size_t step) {
  const std::u16string whole = UnpackText(stored);
  Require(whole.size() <= stored.size());
  std::u16string pieces;
  CTextUnpacker unpacker;
  unpacker.Begin(pieces);
  for (size_t at = 0; at < stored.size(); at += step)
    unpacker.Append(stored.subspan(at, std::min(step, stored.size() - at)));
  Require(pieces == whole);
  std::vector<uint8_t> plain;
  AppendPlainUtf16(stored, plain);
  std::u16string units;
  CopyUnits(plain, units);
  Require(units == whole);
}

void Inflate(std::span<const uint8_t> packed, size_t step) {
  size_t position = 0;
  const auto read = [&](std::span<uint8_t> buffer) {
    const size_t count = std::min({buffer.size(), step, packed.size() - position});
    std::copy_n(packed.begin() + static_cast<std::ptrdiff_t>(position), count, buffer.begin());
    position += count;
    return count;
  };
  CInflater inflater(read);
  std::array<uint8_t, 4096> room{};
  uint64_t size = 0;
  while (const size_t count = inflater.Read(room)) size += count;
  // A code of one bit copies 258 bytes at most.
  Require(size <= 8 * uint64_t{258} * (packed.size() + 1));
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tolvane::CFuzzInput input(data, size);
  const size_t step = 1 + input.TakeByte();
  tolvane::Unpack(input.Rest(), step);
  tolvane::Inflate(input.Rest(), step);
  return 0;
}
