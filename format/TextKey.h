// Index keys of text values: bytes that sort as the engine sorts the texts. A key ignores case and cannot be
// turned back into its text. Only the first 255 characters count, and blanks at the end do not.
//
// Jet 4 "General Legacy" (language 0x0409, version 0):
//   primary bytes of all characters | 01 | second-level bytes
//     | only with kana or unprintable characters: 01 01 | kana bytes | FF if both | 01 unprintable groups
//     | 00
//   descending: 00 goes before the final 00, all but the final 00 complemented
//
// ACE "General" (language 0x0409, version 1): likewise, with other weights.
//
// Jet 3 "General" (language 0x0409, code page 1252):
//   primary bytes of all characters | 00, or a string of half-bytes that tells where the accents are
//   descending: all bytes complemented
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tolvane {

enum class EKeyOrder : uint8_t { Ascending, Descending };

// False, with `key` untouched, when the bytes are not whole UTF-16LE code units.
bool AppendJet4TextKey(std::span<const uint8_t> utf16Bytes, EKeyOrder order, std::vector<uint8_t>& key);

// Likewise for "General". False also when the weight of a character is not known for certain.
bool AppendGeneralTextKey(std::span<const uint8_t> utf16Bytes, EKeyOrder order, std::vector<uint8_t>& key);

void AppendJet3TextKey(std::span<const uint8_t> codePageBytes, EKeyOrder order, std::vector<uint8_t>& key);

// Names with equal keys are the same name, and keys sort as the names do: what orders names in definitions
// and the catalogue, whatever order its texts have. `stored` is UTF-16LE or bytes of the code page.
std::string MakeNameKey(bool isCodePage, std::span<const uint8_t> stored);

}  // namespace tolvane
