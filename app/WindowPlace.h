// Where the main window was, kept between two runs of the program, and how it fits the screen that is there.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// In pixels of the desktop; right and bottom lie outside.
struct SScreenArea {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;
  [[nodiscard]] int32_t GetWidth() const { return right - left; }
  [[nodiscard]] int32_t GetHeight() const { return bottom - top; }
  bool operator==(const SScreenArea&) const = default;
};

struct SWindowPlace {
  SScreenArea area;  // when not maximised
  uint32_t dpi = 96;
  bool isMaximised = false;
};

// "left top right bottom dpi maximised" in decimal; none for a text that is no such place.
std::u16string FormatWindowPlace(const SWindowPlace& place);
std::optional<SWindowPlace> ParseWindowPlace(std::u16string_view text);

// Of the same size for the eye on a screen of that resolution, and wholly inside its work area.
SScreenArea FitIntoScreen(const SWindowPlace& place, uint32_t dpi, const SScreenArea& work);

}  // namespace tolvane
