// Results for programs: one JSON object on standard output, with the version of its schema.
#pragma once

#include "app/Losses.h"
#include "app/QueryList.h"
#include "cli/CommandArguments.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "model/AccessData.h"
#include "writer/RelationReader.h"
#include "writer/SavedTable.h"

namespace tolvane {

// Raised when a member changes its meaning or goes; new members do not raise it.
inline constexpr int kJsonSchema = 1;

// What every result begins with.
Json MakeResult(const SArguments& arguments, EExitStatus status);
Json MakeFailure(const SArguments& arguments, const SFailure& failure);

Json DescribeSource(const CAccessData& data, const SArguments& arguments);
Json DescribeTable(const CAccessTable& table, const CAccessData& data, const SArguments& arguments);
// With what its rows lack.
Json DescribeTable(const CAccessTable& table, const CAccessData& data, const SArguments& arguments,
                   const STableRows& rows);
Json DescribeRelation(const SRecoveredRelation& relation);
Json DescribeQuery(const SListedQuery& query);
Json DescribeDamage(const CAccessData& data);
// What the catalogue lists and no repair brings back.
Json DescribeOmitted(const CAccessData& data);
// Links to tables of other files and servers, without what a server's asks for.
Json DescribeLinks(const CAccessData& data);
Json DescribeSaving(const SSaveSummary& summary);
// What an installed engine answered, where it did: each number with its description.
void AddEngineErrors(const SSaveSummary& summary, Json& result);

// False when standard output is closed or full.
bool PrintJson(const Json& result);

}  // namespace tolvane
