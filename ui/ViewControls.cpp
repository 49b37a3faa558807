#include "ui/ViewControls.h"

#include <windows.h>
// After windows.h, whose types it needs.
#include <commctrl.h>

#include <cstddef>

#include "ui/Resource.h"

namespace tolvane {

namespace {

// Pages on which a control is shown, as bits.
constexpr uint32_t On(EPageState page) {
  return 1u << static_cast<uint32_t>(page);
}
constexpr uint32_t kChoicePages = On(EPageState::ModeSelection) | On(EPageState::FileSelected);
constexpr uint32_t kSavePage = On(EPageState::Saving);
constexpr uint32_t kWorkPages = On(EPageState::Repairing) | kSavePage;
// The pages about the damaged file; later ones are about the new one.
constexpr uint32_t kSourcePages = kChoicePages | On(EPageState::Repairing);
constexpr uint32_t kReviewPage = On(EPageState::Repaired);
constexpr uint32_t kDonePage = On(EPageState::Saved);
constexpr uint32_t kAllPages = kChoicePages | kWorkPages | kReviewPage | kDonePage;

constexpr SControl kControls[] = {
    {IDC_TITLE, kAllPages, L"", EKind::Text, EWhen::Always, EFace::Title},
    {IDC_HINT, kAllPages},
    {IDC_STEP_CHOOSE, kAllPages, L"1. Choose  \x203A"},
    {IDC_STEP_REPAIR, kAllPages, L"2. Repair  \x203A"},
    {IDC_STEP_REVIEW, kAllPages, L"3. Review  \x203A"},
    {IDC_STEP_SAVE, kAllPages, L"4. Save"},

    {IDC_FILE_HEADING, kChoicePages, L"Damaged database", EKind::Text, EWhen::Always, EFace::Bold},
    {IDC_FILE_LABEL, kSourcePages, L"Selected database &path :"},
    {IDC_FILE, kSourcePages, L"", EKind::Own},
    {ID_CHOOSE_FILE, kChoicePages, L"&Choose...", EKind::Button},
    {IDC_DROP_NOTE, kChoicePages,
     L"You can also drop an .mdb or .accdb file anywhere on this window. The file is only read, never "
     L"changed."},
    {IDC_MODE_HEADING, kChoicePages, L"How to repair", EKind::Text, EWhen::Always, EFace::Bold},
    {IDC_MODE_STANDARD, kChoicePages, L"", EKind::Own},
    {IDC_MODE_TEMPLATE, kChoicePages, L"", EKind::Own},
    {IDC_MODE_STANDARD_TEXT, kChoicePages},
    {IDC_MODE_TEMPLATE_TEXT, kChoicePages},
    {IDC_TEMPLATE_LABEL, kChoicePages, L"Template &database :", EKind::Text, EWhen::Template},
    {IDC_TEMPLATE_FILE, kChoicePages, L"", EKind::Own, EWhen::Template},
    {ID_CHOOSE_TEMPLATE, kChoicePages, L"Choose te&mplate...", EKind::Button, EWhen::Template},
    {IDC_RECENT_LABEL, kChoicePages, L"Rece&nt databases", EKind::Text, EWhen::Recent, EFace::Bold},
    {IDC_RECENT_LIST, kChoicePages, L"", EKind::List, EWhen::Recent},

    {IDC_OUTPUT_LABEL, kSavePage | kDonePage, L"Re&paired database :"},
    {IDC_OUTPUT, kSavePage | kDonePage, L"", EKind::Own},
    {IDC_OVERALL_NOTE, kWorkPages},
    {IDC_OVERALL, kWorkPages, L"", EKind::Bar},
    {IDC_STATUS_LINE, kWorkPages},
    {IDC_PROGRESS, kWorkPages, L"", EKind::Own},

    {IDC_TREE_LABEL, kReviewPage, L"What was f&ound"},
    {IDC_TREE, kReviewPage, L"", EKind::Own},
    {IDC_SUMMARY_LABEL, kReviewPage | kDonePage, L"S&ummary"},
    {IDC_SUMMARY, kReviewPage | kDonePage, L"", EKind::Own},
    {IDC_MAP_LABEL, kReviewPage, L"Page &map", EKind::Text, EWhen::Overview},
    {IDC_MAP, kReviewPage, L"", EKind::Own, EWhen::Overview},
    {IDC_MAP_NOTE, kReviewPage, L"", EKind::Text, EWhen::Overview},
    {IDC_FIND_LABEL, kReviewPage, L"Fi&nd:", EKind::Text, EWhen::Table},
    {IDC_FIND, kReviewPage, L"", EKind::Own, EWhen::Table},
    {ID_FIND_NEXT, kReviewPage, L"Find ne&xt", EKind::Button, EWhen::Table},
    {IDC_RECORDS_LABEL, kReviewPage, L"Recor&ds", EKind::Text, EWhen::Table},
    {IDC_RECORDS, kReviewPage, L"", EKind::Own, EWhen::Table},
    {IDC_CELL_LABEL, kReviewPage, L"&Value", EKind::Text, EWhen::Table},
    {IDC_CELL, kReviewPage, L"", EKind::Own, EWhen::Table},

    {IDC_LOG_LABEL, kWorkPages | kReviewPage | kDonePage, L"&Log", EKind::Text, EWhen::Overview},
    {IDC_LOG, kWorkPages | kReviewPage | kDonePage, L"", EKind::Own, EWhen::Overview, EFace::Log},
    {ID_COPY_LOG, kWorkPages | kReviewPage | kDonePage, L"Cop&y log", EKind::Button, EWhen::Overview},
    {ID_SAVE_LOG, kWorkPages | kReviewPage | kDonePage, L"Save lo&g...", EKind::Button, EWhen::Overview},

    {ID_BACK, kAllPages & ~kWorkPages & ~On(EPageState::ModeSelection) & ~On(EPageState::FileSelected),
     L"&Back", EKind::Button},
    {ID_FORWARD, kChoicePages, L"Sho&w recovered tables", EKind::Button, EWhen::Held},
    {ID_STOP, kWorkPages, L"&Stop", EKind::Button},
    {ID_NEW_REPAIR, kDonePage, L"&Repair another...", EKind::Button},
    {ID_NEXT, kChoicePages | kReviewPage, L"", EKind::DefaultButton},
    {ID_OPEN_FOLDER, kDonePage, L"Open fol&der", EKind::DefaultButton},
};

constexpr SPageTexts kPageTexts[] = {
    {u"Repair a damaged Access database", u"&Repair...", IDC_STEP_CHOOSE, u""},
    {u"Repair a damaged Access database", u"&Repair", IDC_STEP_CHOOSE, u""},
    {u"Repairing the database", u"", IDC_STEP_REPAIR,
     u"The damaged file is only read. If you stop, what was found so far is discarded."},
    {u"Recovered tables and records", u"&Save repaired database...", IDC_STEP_REVIEW,
     u"Select a table to look at its records, then save everything as a new database."},
    {u"Saving the repaired database", u"", IDC_STEP_SAVE,
     u"What was recovered is written to a new database. If you stop, its unfinished file is deleted."},
    {u"Saving has finished", u"", IDC_STEP_SAVE, u""},
};

}  // namespace

std::span<const SControl> GetViewControls() {
  return kControls;
}

const SPageTexts& GetPageTexts(EPageState page) {
  return kPageTexts[static_cast<size_t>(page)];
}

bool CreateStandardControl(HWND parent, const SControl& control) {
  const wchar_t* className = L"STATIC";
  // Each is a group of its own: arrow keys leave none.
  DWORD style = WS_CHILD | WS_GROUP;
  DWORD exStyle = 0;
  switch (control.kind) {
    case EKind::Text:
      // An ampersand of a path is no access key; those of labels are.
      style |= control.text[0] == L'\0' ? SS_NOPREFIX : 0;
      style |= control.identifier == IDC_HINT || control.identifier == IDC_MAP_NOTE
                   ? SS_LEFT
                   : SS_LEFTNOWORDWRAP | SS_ENDELLIPSIS;
      break;
    case EKind::Button:
    case EKind::DefaultButton:
      className = L"BUTTON";
      style |= WS_TABSTOP | (control.kind == EKind::Button ? BS_PUSHBUTTON : BS_DEFPUSHBUTTON);
      break;
    case EKind::List:
      className = L"LISTBOX";
      style |= WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT;
      exStyle = WS_EX_CLIENTEDGE;
      break;
    case EKind::Bar:
      className = PROGRESS_CLASSW;
      style |= PBS_SMOOTH;
      break;
    case EKind::Own:
      break;
  }
  return CreateWindowExW(exStyle, className, control.text, style, 0, 0, 0, 0, parent,
                         reinterpret_cast<HMENU>(static_cast<UINT_PTR>(control.identifier)),
                         GetModuleHandleW(nullptr), nullptr) != nullptr;
}

}  // namespace tolvane
