// How much room a disk has.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tolvane {

// Bytes that this user may still write to the disk of a folder; nothing where it cannot be told. The empty
// path is the current folder.
std::optional<uint64_t> GetFreeBytes(std::u16string_view folder);

}  // namespace tolvane
