// A table of another database or server, of which only the way there is stored.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tolvane {

struct STableLink {
  bool isOdbc = false;
  std::u16string source;                // the table's name there
  std::u16string database;              // the file; a server's is part of `connect`
  std::u16string connect;               // without its "ODBC;" for servers
  std::vector<uint8_t> shortInfo = {};  // what an engine remembers of the server, as stored
  std::vector<uint8_t> longInfo = {};
};

}  // namespace tolvane
