#include "engine/HeaderMask.h"

#include <algorithm>
#include <array>
#include <utility>

#include "format/Layout.h"

namespace tolvane {

namespace {

constexpr std::array<uint8_t, 4> kMaskKey{0xC7, 0xDA, 0x39, 0x6B};

using Mask = std::array<uint8_t, kHeaderMaskEnd - kHeaderMasked>;

// The key stream of RC4.
constexpr Mask MakeMask() {
  std::array<uint8_t, 256> state{};
  for (size_t i = 0; i < state.size(); i++) state[i] = static_cast<uint8_t>(i);
  for (size_t i = 0, j = 0; i < state.size(); i++) {
    j = (j + state[i] + kMaskKey[i % kMaskKey.size()]) % state.size();
    std::swap(state[i], state[j]);
  }
  Mask mask{};
  for (size_t n = 0, i = 0, j = 0; n < mask.size(); n++) {
    i = (i + 1) % state.size();
    j = (j + state[i]) % state.size();
    std::swap(state[i], state[j]);
    mask[n] = state[(state[i] + state[j]) % state.size()];
  }
  return mask;
}

constexpr Mask kMask = MakeMask();
static_assert(kMask[0] == 0xB5 && kMask[1] == 0x6F && kMask[0x24] == 0x7B);

}  // namespace

void ApplyHeaderMask(std::span<uint8_t> bytes) {
  const size_t count = std::min(bytes.size(), kMask.size());
  for (size_t i = 0; i < count; i++) bytes[i] ^= kMask[i];
}

}  // namespace tolvane
