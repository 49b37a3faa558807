// What the pages say.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/FrontEnd.h"
#include "app/RepairFileManager.h"
#include "store/ObjectPlace.h"
#include "writer/SavedTable.h"

namespace tolvane {

inline constexpr std::u16string_view kCloseQuestion = u"Are you sure, you want to close the application?";
inline constexpr std::u16string_view kStopQuestion = u"Do you really want to stop current process?";
inline constexpr std::u16string_view kStopped = u"Proccess stop by user.";
inline constexpr std::u16string_view kPleaseWait = u"Please wait...";
inline constexpr std::u16string_view kChooseFileHint =
    u"Please click on repair button and select corrupted MS Access file.";
inline constexpr std::u16string_view kFileSelectedHint =
    u"Select corrupted access file and press repair button.";
inline constexpr std::u16string_view kSavedHint = u"The database has been repaired and saved successfully.";

inline constexpr std::u16string_view kLeaveQuestion =
    u"The recovered tables have not been saved. Leave them? They are kept until the next repair starts.";

// The recovered tables that the tree shows: those that a save would write.
std::vector<STableItem> ListTables(const CAccessData& data);
// Where nothing was recovered.
inline constexpr std::u16string_view kNothingFoundHint =
    u"No table was found; there is nothing to save. The summary says why, and what can be done.";
inline constexpr std::u16string_view kEncryptedHint =
    u"The database is encrypted; nothing can be read or saved. The summary says what can be done.";
inline constexpr std::u16string_view kUnfitTemplateHint =
    u"The template does not fit the damaged file; there is nothing to save. The summary says what can be "
    u"done.";
inline constexpr std::u16string_view kNoRoomHint =
    u"There was no room for the recovered rows; nothing whole can be saved. The summary says where to free "
    u"some.";
inline constexpr std::u16string_view kLittleRoomHint =
    u"There was no room for all rows: what is saved lacks some. The summary names the tables.";
inline constexpr std::u16string_view kPartSavedHint =
    u"The database was saved, but not all of its rows had room before. The summary names the tables.";
inline constexpr std::u16string_view kEmptySaveHint = u"The new database was saved without any table.";
inline constexpr std::u16string_view kBrokenSaveHint =
    u"The database could not be saved. Nothing was written.";

// Summaries; lines are joined with "\r\n".
std::u16string DescribeTable(const CAccessTable& table, const CAccessData& data);
// Of the root: source, tables, rows, saved queries and everything lost. Reads the saved queries back, and
// looks at the source once more when nothing was recovered.
std::u16string DescribeRepair(const COvRepairFileManager& manager);
// Of the last page: what was saved, what not, and what of `recovered` was lost before. `problem` is why
// nothing was saved, or empty.
std::u16string DescribeSave(const SSaveSummary& summary, const CAccessData& recovered,
                            std::u16string_view problem);
// Of a result in full, for a file: the summary of the repair and, when it was saved, of the save, and every
// place of damage as a line of its own.
std::u16string DescribeWhole(const COvRepairFileManager& manager, const SSaveSummary* saved,
                             std::u16string_view problem);
// Of an OLE object: its length and its first bytes, as numbers and as characters.
std::u16string DescribeObject(const SObjectPlace& place, size_t bytesShown);

}  // namespace tolvane
