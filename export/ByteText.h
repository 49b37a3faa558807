// Bytes as text, piece by piece.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "export/ExportOptions.h"

namespace tolvane {

void AppendHex(std::span<const uint8_t> bytes, std::string& out);
// Pieces may follow each other when all but the last are a multiple of three bytes long.
void AppendBase64(std::span<const uint8_t> bytes, std::string& out);
// Hexadecimal digits or, in any other form, base64.
void AppendDigits(std::span<const uint8_t> bytes, EOleForm form, std::string& out);

}  // namespace tolvane
