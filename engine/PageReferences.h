// What a page is, and what it takes other pages for: owners, links and entries of indexes, maps of tables and
// rows of the catalogue name pages of a kind by their numbers. Where those stand elsewhere in a file than
// their numbers say, that tells.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "format/Layout.h"

namespace tolvane {

enum class EPageNature : uint8_t { Unknown, Blank, Definition, Rows, Index, Maps };

struct SPageIdentity {
  EPageNature kind = EPageNature::Unknown;
  uint32_t owner = 0;  // of rows and indexes
  bool operator==(const SPageIdentity&) const = default;
};

// The page is whole and may hold anything.
SPageIdentity IdentityOf(std::span<const uint8_t> page, const SLayout& layout);

// Hands over the numbers that the page, whose identity is given, has for other pages, with what these are.
void ForEachReference(std::span<const uint8_t> page, const SPageIdentity& is, const SLayout& layout,
                      const std::function<void(uint32_t, const SPageIdentity&)>& take);

}  // namespace tolvane
