// Puts a damaged table definition in order, so that it can be decoded like a sound one: the counts follow
// from the columns and indexes that are there, names that were overwritten become empty ones, and what
// follows them moves to where the counts expect it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Layout.h"

namespace tolvane {

struct SMendedDefinition {
  std::vector<uint8_t> bytes;
  bool hasNewCounts = false;  // of columns; those ever made are the fewest that the columns allow
  bool hasLostNames = false;
  bool hasLostIndexes = false;
};

// Nothing when no columns are there.
std::optional<SMendedDefinition> MendDefinition(std::span<const uint8_t> definition, const SLayout& layout);

}  // namespace tolvane
