// The map that a rescue of a failing disk leaves beside the copied file: which bytes could be read. The
// others are zeros in the copy, which are not what the file held.
//
//   # Mapfile. Created by GNU ddrescue version 1.27      comments
//   0x00117000     ?               1                     where the rescue is: position, status, pass
//   0x00000000  0x00117000  +                            position, size, status, one line a block, in order
//   0x00117000  0x00000200  -                            + was read; ? * / - were not
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/FileRange.h"

namespace tolvane {

struct SRescueMap {
  std::vector<SFileRange> holes;  // what was not read; in order, none touches another
  // What is the matter with the map, a sentence for the user; empty when it could be read.
  std::u16string problem;
};

SRescueMap ReadRescueMap(std::string_view text);
// The same of a file. Maps longer than 64 MiB are refused.
SRescueMap LoadRescueMap(const std::u16string& path);

}  // namespace tolvane
