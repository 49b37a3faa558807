// The values of one complex column by the records that they belong to.
//
// The keys of the records and of the values are held in memory, some twenty bytes each; the values stay in
// the flat table's data file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "model/FlatTable.h"
#include "model/RecoveryRules.h"
#include "render/RecordText.h"
#include "store/StoredValueReader.h"

namespace tolvane {

// Between the values of one record in their text.
inline constexpr std::u16string_view kBetweenItems = u"; ";

class CComplexValues {
 public:
  // What becomes of a row of the flat table.
  enum class EFate : uint8_t {
    Attached,
    WithoutRecord,  // no record has its key
    Repeated,       // its record has the value, or a file of that name, already
    Empty,          // a key or value is missing that every row has
  };
  static constexpr size_t kFates = 4;

  // Reads both tables once. `column` is the complex column's position in `table`; all outlive this object.
  CComplexValues(const CAccessTable& table, size_t column, const SFlatTable& flat,
                 const SRecoveryRules& rules);

  // Of rows in the order of the flat table's data file.
  [[nodiscard]] EFate GetFate(size_t row) const { return row < m_fates.size() ? m_fates[row] : EFate::Empty; }
  [[nodiscard]] uint64_t Count(EFate fate) const { return m_counts[static_cast<size_t>(fate)]; }
  [[nodiscard]] uint64_t CountAll() const { return m_fates.size(); }
  // The highest key of a record; 0 without any.
  [[nodiscard]] int32_t GetHighestKey() const { return m_keys.empty() ? 0 : m_keys.back(); }
  // A key that several records have: only the first of them has the values.
  [[nodiscard]] bool IsShared(int32_t key) const { return m_sharedKeys.contains(key); }
  // No two values have the same number of their own.
  [[nodiscard]] bool AreNumbersUnique() const { return m_areNumbersUnique; }
  // The values of a record, joined with "; "; so many units at most, and "..." for the rest. Of several
  // records with one key the first that asks has the values, here and in ListFiles.
  static constexpr size_t kMostUnits = 1'000'000;
  void MakeText(int32_t key, std::u16string& text);
  // The files of a record, as attachments store them; of length 0 where the bytes are lost. Nothing for other
  // values.
  struct SFile {
    std::u16string name;
    SObjectPlace place;
  };
  std::vector<SFile> ListFiles(int32_t key);
  // One value of a record: of an attachment its file's name, of a version the memo. It stays until the next.
  struct SItem {
    SValue value;
    SValue date;         // of a version
    SObjectPlace place;  // of an attachment; of length 0 where the bytes are lost
  };
  void ForEachItem(int32_t key, const std::function<void(const SItem&)>& take);

 private:
  struct SPlace {
    int32_t key;
    uint64_t row;  // where it begins in the data file
  };
  void LoadKeys(const CAccessTable& table, size_t column);
  void LoadValues();
  [[nodiscard]] std::span<const SPlace> FindPlaces(int32_t key);
  [[nodiscard]] size_t FindColumn(bool (*isWanted)(const CAccessColumn&)) const;
  bool ReadPlace(uint64_t row, size_t column, SObjectPlace& place);
  SValue ReadValue(uint64_t row, size_t column, std::vector<uint8_t>& record);
  [[nodiscard]] EFate Judge(int32_t key, const SValue& item);

  SFlatTable m_flat;
  std::vector<int32_t> m_keys;  // of the records, ascending, each once
  std::unordered_set<int32_t> m_sharedKeys;
  std::unordered_set<int32_t> m_given;  // of the shared keys
  std::vector<EFate> m_fates;
  uint64_t m_counts[kFates] = {};
  std::vector<SPlace> m_places;  // of attached values, by key, then as they stand in the file
  bool m_areNumbersUnique = true;
  std::unordered_set<uint64_t> m_seen;  // hashes of what may stand only once; empty when loaded
  CStoredValueReader m_reader;
  CRecordText m_texts;
  std::u16string m_item;
};

}  // namespace tolvane
