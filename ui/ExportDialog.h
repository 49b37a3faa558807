// Which tables to export, in which form and where to.
#pragma once

#include <string>

#include "app/ExportChoice.h"
#include "app/RepairWorkflow.h"
#include "ui/win/Dialog.h"

namespace tolvane {

class CExportDialog : public CDialog {
 public:
  // `table`: the one that is looked at; empty when there is none. The workflow outlives the dialog.
  CExportDialog(const CRepairWorkflow& workflow, std::u16string table);
  [[nodiscard]] const SExportChoice& GetChoice() const { return m_choice; }

 protected:
  void OnInitDialog() override;
  void OnCommand(UINT identifier, UINT notification) override;
  void OnOk() override;

 private:
  void TakeChoice();
  void Browse();

  std::u16string m_table;
  SExportChoice m_choice;
};

}  // namespace tolvane
