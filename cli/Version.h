#pragma once

#include <string>

namespace tolvane {

extern const char* const kVersion;      // of this program, as the project declares it
extern const char* const kReleaseDate;  // of this version, "2026-11-22"

// The version, how this program was built, and the formats that it knows; several lines.
std::string DescribeVersion();

}  // namespace tolvane
