// Cell texts of complex columns. Their values stand in a hidden flat table, one row a value: a key that
// equals the parent row's stored text, a row id of its own, and the value or the parts of an attachment.
//
// The caller sets the path of the flat table's data file, opens, builds and closes; each build reads from
// where the last one ended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/AccessTable.h"
#include "status/Status.h"
#include "store/DataFileReader.h"

namespace tolvane {

// Which of a flat table's values matter, by position in the row.
struct SFlatLayout {
  size_t groupSize;  // values in a row
  size_t key;
  size_t item;  // the value that is shown
};
// In the order in which the columns were created. A database that was compacted has them in another order.
inline constexpr SFlatLayout kMultiValueLayout{3, 2, 0};
inline constexpr SFlatLayout kAttachmentLayout{8, 7, 0};

// The layout of a recovered multi-value flat table, told by the marks of its columns; kMultiValueLayout when
// they do not tell.
SFlatLayout MultiValueLayoutOf(const CAccessTable& flatTable);

class CFlatTableParser {
 public:
  using CellTexts = std::unordered_map<std::u16string, std::u16string>;  // by key

  // The items of the rows whose key equals `key`, joined with ", "; empty when there is none. An incomplete
  // last row is dropped.
  virtual void BuildText(std::u16string_view key, std::u16string& text) = 0;
  virtual ~CFlatTableParser() = default;

  // Where the records are not texts; not owned.
  void SetDecoder(CRecordDecoder* decoder) { m_reader.SetDecoder(decoder); }
  void SetPath(const SFilePart& part) { m_reader.SetPath(part); }
  bool Open() { return m_reader.Open(); }
  void Close() { m_reader.Close(); }
  void SetLayout(const SFlatLayout& layout) { m_layout = layout; }
  // The text of every key, as BuildText would give it, in one pass over the file. Ends early when the
  // preview is aborted. Returns how many units the texts hold together.
  uint64_t BuildTexts(CellTexts& texts, const CPreviewThreadStatus& preview);

 protected:
  explicit CFlatTableParser(const SFlatLayout& layout) : m_layout(layout) {}
  void JoinItems(std::u16string_view key, std::u16string& text);

 private:
  bool ReadGroup();

  CDataFileReader m_reader;
  SFlatLayout m_layout;
  std::vector<std::u16string> m_group;  // the row read last
};

// Cells with several values.
class CComplexParser : public CFlatTableParser {
 public:
  CComplexParser() : CFlatTableParser(kMultiValueLayout) {}
  void BuildText(std::u16string_view key, std::u16string& text) override { JoinItems(key, text); }
};

// Cells with attachments.
class CAttachmentParser : public CFlatTableParser {
 public:
  CAttachmentParser() : CFlatTableParser(kAttachmentLayout) {}
  void BuildText(std::u16string_view key, std::u16string& text) override { JoinItems(key, text); }
};

}  // namespace tolvane
