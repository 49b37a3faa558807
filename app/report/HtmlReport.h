// A report as one HTML page: no script, nothing from outside, for screens light and dark and for paper.
#pragma once

#include <string>

#include "app/report/HtmlText.h"
#include "app/report/Report.h"

namespace tolvane {

// UTF-8. The size is bounded, whatever the file holds.
std::string PrintHtmlReport(const SReport& report);

// Its parts, each with its heading; nothing where there is nothing to tell.
extern const char* const kReportStyle;
void PrintTables(const SReport& report, CHtml& html);
void PrintQueries(const SReport& report, CHtml& html);
void PrintRelations(const SReport& report, CHtml& html);
void PrintLosses(const SReport& report, CHtml& html);
void PrintOmitted(const SReport& report, CHtml& html);
void PrintSaveLosses(const SReport& report, CHtml& html);

}  // namespace tolvane
