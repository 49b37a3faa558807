#include "app/WindowPlace.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "platform/Text.h"

namespace tolvane {

namespace {

// What a screen can be; beyond it the text was not ours.
constexpr int32_t kFarthest = 1 << 20;
constexpr int32_t kLeastDpi = 48;
constexpr int32_t kMostDpi = 960;

}  // namespace

std::u16string FormatWindowPlace(const SWindowPlace& place) {
  const SScreenArea& area = place.area;
  std::string text;
  for (const int64_t number : {int64_t{area.left}, int64_t{area.top}, int64_t{area.right},
                               int64_t{area.bottom}, int64_t{place.dpi}, int64_t{place.isMaximised}})
    text += (text.empty() ? "" : " ") + std::to_string(number);
  return FromAscii(text);
}

std::optional<SWindowPlace> ParseWindowPlace(std::u16string_view text) {
  const std::string digits = ToUtf8(text);
  const char* at = digits.data();
  const char* const end = at + digits.size();
  std::array<int32_t, 6> numbers{};
  for (int32_t& number : numbers) {
    at = std::find_if(at, end, [](char c) { return c != ' '; });
    const auto read = std::from_chars(at, end, number);
    if (read.ec != std::errc() || number < -kFarthest || number > kFarthest) return std::nullopt;
    at = read.ptr;
  }
  const auto [left, top, right, bottom, dpi, maximised] = numbers;
  if (at != end || right <= left || bottom <= top || dpi < kLeastDpi || dpi > kMostDpi) return std::nullopt;
  return SWindowPlace{{left, top, right, bottom}, static_cast<uint32_t>(dpi), maximised != 0};
}

SScreenArea FitIntoScreen(const SWindowPlace& place, uint32_t dpi, const SScreenArea& work) {
  const auto scale = [&](int32_t pixels) {
    return static_cast<int32_t>(int64_t{pixels} * dpi / std::max(place.dpi, 1U));
  };
  const int32_t width = std::min(scale(place.area.GetWidth()), work.GetWidth());
  const int32_t height = std::min(scale(place.area.GetHeight()), work.GetHeight());
  const int32_t left = std::clamp(place.area.left, work.left, work.right - width);
  const int32_t top = std::clamp(place.area.top, work.top, work.bottom - height);
  return {left, top, left + width, top + height};
}

}  // namespace tolvane
