// Files that people take for a database: archives, mail parts, lock files. Told by their first bytes.
#pragma once

#include <string>

#include "engine/Source.h"

namespace tolvane {

// What the file is and what to do instead, sentences for the user. Empty where it may be a database: also for
// an archive in which the pages of one were found.
std::u16string TellForeignFile(CSource& source);

}  // namespace tolvane
