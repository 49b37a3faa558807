// What the user chooses about an export: which tables, in which form and where to. The texts of its dialog,
// and when the choice is complete.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/FileExport.h"
#include "app/FrontEnd.h"
#include "model/RecoveryRules.h"

namespace tolvane {

inline constexpr std::u16string_view kAllTables = u"All tables";

struct SExportForm {
  std::u16string_view caption;
  std::u16string_view extension;
  std::u16string_view filter;  // of a file dialog
  std::u16string_view note;    // what comes of it
  SExportOptions options;

  [[nodiscard]] bool IsOneFile() const { return tolvane::IsOneFile(options.format); }
};
std::span<const SExportForm> GetExportForms();

struct SExportChoice {
  std::u16string source;  // the damaged file
  ERules rules = kDefaultRules;
  std::u16string table;          // empty: all of them
  size_t form = 0;               // of GetExportForms
  std::u16string path;           // the file; a folder when all tables become a file each
  std::u16string replaced = {};  // the path of which the user has said already that it may be replaced

  [[nodiscard]] const SExportForm& GetForm() const { return GetExportForms()[form]; }
  [[nodiscard]] bool IsFolder() const { return table.empty() && !GetForm().IsOneFile(); }
};

// Beside the source: "Tolvane_NAME.csv" or a folder "Tolvane_NAME tables".
std::u16string DefaultExportPath(const SExportChoice& choice);
SFileQuestion AskForExportFile(const SExportChoice& choice);
// The message, shown with the information icon, that keeps the dialog open; none when the choice is complete.
std::optional<std::u16string> CheckExportChoice(const SExportChoice& choice);

}  // namespace tolvane
