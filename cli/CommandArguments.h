// What the user asked for on the command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/ExitStatus.h"
#include "export/ExportOptions.h"
#include "model/RecoveryRules.h"
#include "writer/AccessSaveRepairedFile.h"

namespace tolvane {

enum class ECommand : uint8_t {
  None,
  Repair,
  Tables,
  Preview,
  Export,
  Queries,
  Objects,
  Inspect,
  Check,
  Engines,
  Help,
  Manual,
  Completion
};
enum class EEngineChoice : uint8_t { Embedded, Dao };
enum class EColor : uint8_t { Auto, Always, Never };

struct SArguments {
  ECommand command = ECommand::None;
  std::u16string source;                // the file to work on
  std::vector<std::u16string> sources;  // all that were named, files and folders; repair alone takes several
  std::u16string templatePath;          // empty: the source holds the definitions
  std::u16string mapFile;               // of a rescue; empty: the file is whole
  uint64_t start = 0;         // where in the file the database begins that is meant; 0: the first one
  std::u16string workFolder;  // empty: the program chooses
  uint32_t threads = 0;       // 0: as many as the machine has processors
  std::u16string logFile;
  std::u16string reportFile;  // repair, tables, inspect; empty: none
  ERules rules = kDefaultRules;
  bool isJson = false;
  bool isBrief = false;  // repair, tables: without the verdict and the pages
  bool isQuiet = false;
  bool isVerbose = false;
  EColor color = EColor::Auto;
  bool withSystemTables = false;
  // repair
  std::u16string output;               // empty: beside the source
  std::u16string outputFolder;         // for outputs with the sources' own names; empty: none
  uint32_t jobs = 1;                   // files that are repaired at once
  std::vector<std::u16string> shared;  // of a repair of several files: the words that each of them gets
  EEngineChoice engine = EEngineChoice::Embedded;
  bool mayOverwrite = false;
  bool isDryRun = false;
  bool isReproducible = false;
  EOutputFormat outputFormat = EOutputFormat::ByRules;
  bool isAccess2000 = false;  // the format of Access 2000 for Access 97 sources
  // preview, export
  std::u16string table;
  uint64_t rows = 20;
  std::u16string folder;
  SExportOptions exporting;

  // The result says what kind of damage the file has, which costs another reading of it.
  [[nodiscard]] bool WithVerdict() const {
    const bool isTold =
        command == ECommand::Repair || command == ECommand::Tables || command == ECommand::Inspect;
    return isTold && ((isJson && !isBrief) || !reportFile.empty());
  }
};

// The name of standard input as a source, and the name that it has in messages and results.
inline constexpr std::u16string_view kStandardInput = u"-";
inline constexpr std::u16string_view kStandardInputShown = u"(standard input)";

// What parsing answers: arguments to work with, or a text to show and the end.
struct SParsedArguments {
  SArguments arguments;
  bool isEnd = false;
  EExitStatus status = EExitStatus::Done;
  std::string text;  // help or version for standard output, or one complaint for standard error
};

SParsedArguments ParseArguments(const std::vector<std::u16string>& words);

// The name that the user types.
const char* NameOf(ECommand command);

}  // namespace tolvane
