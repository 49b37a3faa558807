// One database file while it is open: what its database, definition and recordset objects share. They hold it
// together, so that releasing them in the wrong order does no harm.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "embedded/Catalogue.h"
#include "embedded/PageFile.h"
#include "embedded/TableStore.h"
#include "platform/Identity.h"

namespace tolvane {

// The page format of the file; Jet 4 when it cannot be told.
const SLayout& ProbeFileLayout(std::u16string_view path);

class CEmbeddedFile {
 public:
  // `maxPages` bounds the file's length where the format does not; 0 is no bound. `identity` is shared with
  // the engine's other files.
  CEmbeddedFile(const SLayout& layout, uint32_t maxPages, std::shared_ptr<CIdentity> identity);
  ~CEmbeddedFile();

  void SetTempFolder(std::u16string_view folder) { m_file.SetTempFolder(folder); }
  void SetThreads(uint32_t threads) { m_file.SetThreads(threads); }
  CDaoResult Create(std::u16string_view path, STextOrder order = {});
  CDaoResult Open(std::u16string_view path, EFileAccess access);
  // Completes the file, whatever is still open; a second call does nothing.
  CDaoResult Close();

  [[nodiscard]] bool IsOpen() const { return m_isOpen; }
  [[nodiscard]] const SLayout& GetLayout() const { return m_file.GetLayout(); }
  [[nodiscard]] CIdentity& GetIdentity() { return *m_identity; }
  CDaoResult AddTable(SNewTable table);
  // Properties of the database or one of its documents.
  CDaoResult SetProperties(std::u16string_view document, std::span<const CDaoProperty> properties);
  // Ok carries a text when characters had to be replaced.
  CDaoResult AddQuery(const SSavedQuery& query);
  CDaoResult AddRelation(const CDaoRelationInfo& relation);
  CDaoResult OpenTable(std::u16string_view name, std::shared_ptr<CTableStore>& table);
  // The flat table of a complex column, or of the versions of a memo.
  CDaoResult OpenFlatTable(std::u16string_view name, std::u16string_view field,
                           std::shared_ptr<CTableStore>& table);
  CDaoResult CloseTable(const std::shared_ptr<CTableStore>& table);

 private:
  // Tables and queries share their names.
  CDaoResult CheckNewName(std::u16string_view name) const;
  // The definition page of a user's table that is not open.
  CDaoResult FindClosedTable(std::u16string_view name, uint32_t& page) const;
  [[nodiscard]] bool IsLink(std::u16string_view name) const;
  CDaoResult AddRelationOfLink(const CDaoRelationInfo& relation);
  CDaoResult CheckWritable() const;
  [[nodiscard]] bool IsTableOpen(uint32_t page) const;
  CDaoResult OpenPage(uint32_t page, std::shared_ptr<CTableStore>& table);
  CDaoResult CreateFlatTables(SNewTable& table, std::vector<SComplexPlace>& places);
  CDaoResult AddHiddenTable(SNamedDefinition& hidden, uint32_t flags, std::span<const uint8_t> properties,
                            uint32_t& page);
  // Raises the version byte to what the table's columns need.
  void NeedVersionOf(const STableDefinition& definition);
  CDaoResult LoadDatabase();
  CDaoResult StoreAll();

  std::shared_ptr<CIdentity> m_identity;
  CPageFile m_file;
  SHeaderPage m_header;
  CCatalogue m_catalogue;
  std::vector<std::shared_ptr<CTableStore>> m_openTables;
  bool m_isHeaderChanged = false;
  bool m_isOpen = false;
  bool m_isReadOnly = false;
};

}  // namespace tolvane
