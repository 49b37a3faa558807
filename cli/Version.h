#pragma once

namespace tolvane {

extern const char* const kVersion;  // of this program, as the project declares it

}  // namespace tolvane
