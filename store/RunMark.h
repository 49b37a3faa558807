// A mark in the names of files and folders that must not outlive their run: "<process number>-<16 hex
// digits>". It tells a later run whether they were left behind, and differs between two runs whose processes
// got the same number. Thread-safe.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// Another one at each call.
std::u16string MakeRunMark();
// True for a mark that MakeRunMark could have made in a process that has ended.
bool IsStaleRunMark(std::u16string_view mark);

}  // namespace tolvane
