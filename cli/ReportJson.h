// What a report tells, for programs: the verdict and the pages. Its tables, losses and objects are described
// as everywhere (JsonOutput.h).
#pragma once

#include "app/report/Report.h"
#include "cli/Json.h"

namespace tolvane {

Json DescribeVerdict(const SReport& report);
// The members "kinds", "badPageCount" and "badPages" of an object.
void DescribePages(const SExamination& examination, Json& target);

}  // namespace tolvane
