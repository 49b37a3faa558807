// The controls of the view, page by page, and the texts of the pages: what there is, not what it does.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <string_view>

#include "app/ShowPageState.h"

namespace tolvane {

// Held: while a result can be gone back to.
enum class EWhen : uint8_t { Always, Template, Recent, Table, Overview, Held };
// Own: a class of ours creates it.
enum class EKind : uint8_t { Text, Button, DefaultButton, List, Bar, Own };
enum class EFace : uint8_t { Message, Bold, Title, Log };

struct SControl {
  UINT identifier;
  uint32_t pages;  // on which it is shown, as bits
  const wchar_t* text = L"";
  EKind kind = EKind::Text;
  EWhen when = EWhen::Always;
  EFace face = EFace::Message;

  [[nodiscard]] bool IsOn(EPageState page) const { return (pages >> static_cast<uint32_t>(page) & 1U) != 0; }
};

// Of the last page, where nothing was written.
inline constexpr std::u16string_view kBrokenSaveTitle = u"The database was not saved";

// In tab order.
std::span<const SControl> GetViewControls();
// For controls of every kind but Own; false when the system refuses.
bool CreateStandardControl(HWND parent, const SControl& control);

struct SPageTexts {
  const char16_t* title;
  const char16_t* next;  // the button that goes on
  UINT step;
  const char16_t* hint;  // where the workflow has none
};
const SPageTexts& GetPageTexts(EPageState page);

}  // namespace tolvane
