// The hidden tables that hold the values of complex columns: multi-values, attachments and the versions of
// memos. A row holds one value, and the key of the record that it belongs to: what the complex column of that
// record holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "model/AccessTable.h"
#include "model/RecoveryRules.h"

namespace tolvane {

enum class EFlatKind : uint8_t { Values, Files, Versions };

struct SFlatTable {
  static constexpr size_t kNoColumn = ~size_t{0};

  const CAccessTable* table = nullptr;
  EFlatKind kind = EFlatKind::Values;
  // Positions of columns.
  size_t key = kNoColumn;
  size_t number = kNoColumn;  // of the value itself
  size_t item = kNoColumn;    // the value, the file's name, the memo
};

// Told by the marks of its columns, which damage to other pages does not touch. Nothing for other tables.
std::optional<SFlatTable> DescribeFlatTable(const CAccessTable& table);
// The one of a complex column, as far as it is known and there.
std::optional<SFlatTable> FindFlatTable(const CAccessTableList& tables, const CAccessColumn& column,
                                        uint32_t pageSize);

// The column that leads to the versions of a memo; no user of Access sees it.
bool IsVersionHistory(const CAccessColumn& column);
// The positions of the columns that are shown. Which ones users see is known where complex values are data.
std::vector<size_t> ListShownColumns(const CAccessTable& table, const SRecoveryRules& rules, bool withHidden);

// Which column of a flat table that is: FileData, FileFlags, FileName, FileTimeStamp, FileType, FileURL count
// from 0; nothing for other ones.
std::optional<size_t> FilePartOf(const CAccessColumn& column);
inline constexpr size_t kFilePartData = 0, kFilePartName = 2;
inline constexpr size_t kFileParts = 6;

// The date of a version.
bool IsVersionDate(const CAccessColumn& column);
// An empty table that tells how versions of a memo are kept; only engines need it.
bool IsVersionPattern(const CAccessTable& table);

}  // namespace tolvane
