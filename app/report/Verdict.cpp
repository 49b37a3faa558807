#include "app/report/Verdict.h"

#include "app/Losses.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

struct SVerdictWords {
  std::string_view name;
  std::string_view part;
  std::u16string_view cause;  // the sentence's beginning
  std::u16string_view cure;   // what the damage calls for
};

constexpr std::u16string_view kIncompleteCure =
    u"What is missing is not in this file. Copy it once more from where it came, whole and in binary form, "
    u"or look for an older copy, and compare the sizes.";

// By EVerdict.
constexpr std::array<SVerdictWords, static_cast<size_t>(EVerdict::Count_)> kWords{{
    {"notDamaged", "nothing", u"The file is not damaged",
     u"If Access reports an error all the same, look at what it names: forms, reports, macros and modules "
     u"are not examined here."},
    {"flagged", "a mark of use", u"The file is not damaged, only marked as in use",
     u"Close the database everywhere. When nobody has it open, delete the lock file beside it (.ldb or "
     u".laccdb) and open it again."},
    {"rowCounts",
     "the stated numbers of rows",
     u"Only the numbers of rows that tables state of themselves are wrong",
     {}},
    {"pageMaps", "page maps", u"Only the maps of pages are damaged, which every repair builds anew", {}},
    {"indexes", "indexes", u"Indexes are damaged, which every repair builds anew", {}},
    {"longValues", "memos or OLE objects", u"Pages of memos or OLE objects are damaged", {}},
    {"rows", "rows", u"Pages of rows are damaged", {}},
    {"definitions", "table definitions", u"Definitions of tables are damaged", {}},
    {"catalogue",
     "the catalogue",
     u"The catalogue is damaged, which names the tables, queries and relationships",
     {}},
    {"header", "the header", u"The header, the first page of the file, is damaged", {}},
    {"shifted", "places of pages",
     u"Bytes were put into the file or are missing in it, so that its pages stand away from their places",
     kIncompleteCure},
    {"unreadable", "pages on a failing disk", u"Pages of the file cannot be read from the disk",
     u"Stop using the disk. Copy it with an imaging program that tries bad places again, and repair the "
     u"copy."},
    {"hollow", "zeroed pages", u"The file is hollow, overwritten with zeros in places", kIncompleteCure},
    {"cutShort", "the end of the file", u"The file was cut short and lacks its end", kIncompleteCure},
    {"encrypted", "an encrypted content",
     u"The file is encrypted, and its pages cannot be read without the key",
     u"Open it in Access with its password, remove the encryption (File, Info, Decrypt Database), and repair "
     u"the result if that is still needed."},
    {"noDatabase", "everything", u"Nothing in the file looks like a database",
     u"Check that it is the right file: a database ends in .mdb or .accdb, and backups are often packed. "
     u"Otherwise try an older copy."},
}};

const SVerdictWords& VerdictWordsOf(EVerdict verdict) {
  return kWords[static_cast<size_t>(verdict)];
}

std::u16string CountRows(uint64_t count, std::u16string_view kind = {}) {
  return ToGroupedDecimal(count) + (kind.empty() ? u" " : u" " + std::u16string(kind) + u" ") +
         (count == 1 ? u"row" : u"rows");
}

bool IsWhole(const SVerdictFacts& facts) {
  return facts.lostRows == 0 && facts.doubtfulRows == 0 && facts.lostTables == 0;
}

// What else is damaged of what a repair does not simply build anew.
std::u16string DescribeFurther(const SVerdict& verdict) {
  std::vector<std::u16string> parts;
  for (const EVerdict kind : verdict.also)
    if (kind >= EVerdict::LongValues && verdict.kind < EVerdict::Encrypted)
      parts.push_back(FromAscii(VerdictWordsOf(kind).part));
  std::u16string text;
  for (size_t i = 0; i < parts.size(); ++i)
    text += (i == 0 ? u"; the damage also hit " : i + 1 < parts.size() ? u", " : u" and ") + parts[i];
  return text;
}

// False where nobody can tell what else the file held.
bool IsContentKnown(EVerdict kind) {
  return kind != EVerdict::Catalogue && kind != EVerdict::Unreadable && kind != EVerdict::Hollow &&
         kind != EVerdict::CutShort;
}

// What came back, as the second half of the sentence.
std::u16string DescribeReturn(EVerdict kind, const SVerdictFacts& facts) {
  if (!facts.isRecovered) return {};
  if (facts.isNothing) return u"nothing could be recovered";
  const std::u16string tables = Counted(facts.tables, u"table", ToGroupedDecimal);
  if (IsWhole(facts) && !IsContentKnown(kind))
    return CountRows(facts.rows) + u" of " + tables +
           u" came back, and whether there were more cannot be told";
  if (IsWhole(facts) && facts.rows == 0) return tables + u" came back, which had no rows";
  if (IsWhole(facts))
    return facts.rows == 1 ? u"the one row of " + tables + u" came back"
                           : u"all " + CountRows(facts.rows) + u" of " + tables + u" came back";
  std::u16string text = CountRows(facts.rows) + u" of " + tables + u" came back";
  if (facts.doubtfulRows > 0) text += u", " + ToGroupedDecimal(facts.doubtfulRows) + u" of them doubtful";
  if (facts.lostRows > 0)
    text += u", " + CountRows(facts.lostRows) + (facts.lostRows == 1 ? u" is lost" : u" are lost");
  if (facts.lostTables > 0)
    text += u", and of " + Counted(facts.lostTables, u"table", ToGroupedDecimal) + u" only the name is left";
  return text;
}

EVerdict Choose(const SVerdictFacts& facts) {
  if (facts.signs[EVerdict::Encrypted] > 0) return EVerdict::Encrypted;
  for (size_t i = static_cast<size_t>(EVerdict::Count_); i-- > 1;)
    if (facts.signs[static_cast<EVerdict>(i)] > 0) return static_cast<EVerdict>(i);
  return facts.isNothing ? EVerdict::NoDatabase : EVerdict::Sound;
}

bool NeedsDefinitions(const SVerdictFacts& facts) {
  return facts.lostTables > 0 || facts.isNothing || facts.signs[EVerdict::Definitions] > 0;
}

std::vector<std::u16string> Advise(EVerdict kind, const SVerdictFacts& facts) {
  std::vector<std::u16string> advice;
  const auto add = [&advice](std::u16string_view text) {
    if (!text.empty()) advice.emplace_back(text);
  };
  add(VerdictWordsOf(kind).cure);
  if (kind == EVerdict::Encrypted || kind == EVerdict::NoDatabase) return advice;
  if (NeedsDefinitions(facts) && !facts.hasTemplate)
    add(u"If there is an older, healthy copy of this database, repair once more with it as the template "
        u"(--template COPY): definitions then come from the copy and rows from this file.");
  if (facts.lostRows > 0 || facts.doubtfulRows > 0)
    add(u"Compare the tables below with a backup or with paper: the lists say which rows are lost or "
        u"doubtful.");
  if (facts.unnamedTables > 0)
    add(u"Tables named RecoveredTable and a number have lost their names: tell them apart by their columns, "
        u"and rename them.");
  if (facts.isSaved) {
    add(u"Open the new database in Access and look at what matters to you before you rely on it.");
  } else if (facts.isRecovered && !facts.isNothing && kind > EVerdict::Flagged) {
    add(u"Nothing was written so far: tolvane repair writes a new, healthy database.");
  }
  if (facts.omittedObjects > 0)
    add(u"Forms, reports, macros and modules are not brought back: import them in Access from a backup "
        u"(External Data, New Data Source, From Database).");
  if (kind > EVerdict::Flagged)
    add(u"Keep the damaged file as it is until everything is checked, and work on copies.");
  return advice;
}

}  // namespace

std::string_view NameOf(EVerdict verdict) {
  return verdict < EVerdict::Count_ ? VerdictWordsOf(verdict).name : std::string_view{};
}

std::string_view GetDamagedPart(EVerdict verdict) {
  return verdict < EVerdict::Count_ ? VerdictWordsOf(verdict).part : std::string_view{};
}

SVerdict Judge(const SVerdictFacts& facts) {
  SVerdict verdict;
  verdict.kind = Choose(facts);
  for (size_t i = static_cast<size_t>(verdict.kind); i-- > 1;)
    if (const auto kind = static_cast<EVerdict>(i); facts.signs[kind] > 0) verdict.also.push_back(kind);
  verdict.sentence = std::u16string(VerdictWordsOf(verdict.kind).cause) + DescribeFurther(verdict);
  const std::u16string back = DescribeReturn(verdict.kind, facts);
  if (!back.empty()) verdict.sentence += u": " + back;
  verdict.sentence += u'.';
  verdict.advice = Advise(verdict.kind, facts);
  return verdict;
}

}  // namespace tolvane
