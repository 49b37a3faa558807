// Systems without automation.
#include "automation/AutomationObject.h"

namespace tolvane {

namespace {

class CNoServers : public CAutomationServers {
 public:
  [[nodiscard]] bool IsThere() const override { return false; }
  [[nodiscard]] ERegistration FindRegistration(std::u16string_view) const override {
    return ERegistration::None;
  }
  SCallEnd Enter() override { return {}; }
  void Leave() override {}
  SCallEnd Create(std::u16string_view, AutomationObject&) override {
    return {-1, u"There are no installed DAO engines on this system.", false};
  }
  bool ReadText(std::u16string_view, const AutomationValue&, AutomationValue&) override { return false; }
};

}  // namespace

std::unique_ptr<CAutomationServers> MakeSystemServers() {
  return std::make_unique<CNoServers>();
}

}  // namespace tolvane
