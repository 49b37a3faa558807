// The commands with their options, as the command line's parser knows them.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "cli/CommandArguments.h"
#include "cli/CommandHelp.h"
#include "cli/ExportArguments.h"

namespace tolvane {

// Arguments that name something.
inline constexpr const char* kFileArgument = "FILE";
inline constexpr const char* kFolderArgument = "FOLDER";

// What the parser does not know the meaning of.
struct SWords {
  std::string rules, outputFormat, color, topic, shell, engine = "embedded";
  SExportWords exporting;
};

// Declares the commands to the parser, which then knows them for the help, too. The name of an argument says
// what may stand there: FILE, FOLDER, NUMBER, TEXT, or the values.
class CCommandGrammar {
 public:
  CCommandGrammar();

  [[nodiscard]] CLI::App& GetParser() { return m_app; }
  // What the parser has set: switches, numbers and paths here, choices as they were typed.
  [[nodiscard]] const SArguments& GetArguments() const { return m_arguments; }
  [[nodiscard]] const SWords& GetWords() const { return m_words; }
  // The command that was typed; null for none.
  [[nodiscard]] const CLI::App* GetChosen() const;
  [[nodiscard]] std::vector<SCommandForm> Describe() const;

 private:
  CLI::App& Add(ECommand command);
  void AddSource(CLI::App& command);
  void AddPlace(CLI::App& command);
  void AddManners(CLI::App& command);
  void AddRecovery(CLI::App& command);
  void AddReport(CLI::App& command);
  void AddRepair();
  void AddPreview();
  void AddExport();
  void AddOthers();
  void AddHelpers();

  CLI::App m_app{"", "tolvane"};
  std::vector<std::pair<ECommand, CLI::App*>> m_commands;
  SArguments m_arguments;
  SWords m_words;
};

}  // namespace tolvane
