// The database engine that the user chose.
#pragma once

#include <memory>
#include <string>

#include "cli/Session.h"
#include "dao/dao.h"
#include "platform/Identity.h"

namespace tolvane {

// With its temporary files in the work folder that is set now. Null when it cannot be used here; `problem`
// then says why and what to do.
std::unique_ptr<CDaoEngine> MakeEngine(CSession& session, std::shared_ptr<CIdentity> identity,
                                       std::u16string& problem);
const char* NameOf(EEngineChoice choice);

}  // namespace tolvane
