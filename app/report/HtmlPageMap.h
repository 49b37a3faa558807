// The map of a file's pages as a drawing inside an HTML page.
#pragma once

#include <cstddef>

#include "app/report/Examination.h"
#include "app/report/HtmlText.h"

namespace tolvane {

// Of the blocks that a drawing has at most; its size does not grow with the file.
inline constexpr size_t kMostMapCells = 2048;

// The drawing, and a legend with the numbers of pages.
void PrintPageMap(const SExamination& examination, CHtml& html);

}  // namespace tolvane
