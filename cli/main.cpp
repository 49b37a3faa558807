#include "cli/CommandLine.h"
#include "platform/Arguments.h"

int main(int argc, char** argv) {
  return tolvane::RunTolvane(tolvane::ExpandFileNames(tolvane::GetProgramArguments(argc, argv)));
}
