#include "tests/automation/StandInSystem.h"

#include <mutex>

#include "automation/ValueConversion.h"
#include "platform/Text.h"
#include "render/ValueParser.h"
#include "tests/automation/StandIn.h"

namespace tolvane {

namespace {

// An engine that hangs may still be at work for a while.
struct SInstalled {
  std::mutex mutex;
  std::vector<std::string> calls;
  std::string failure;
  std::shared_ptr<SStandInWorld> world;
};
std::shared_ptr<SInstalled> g_installed;

class CStandInServers : public CAutomationServers {
 public:
  [[nodiscard]] bool IsThere() const override { return true; }
  [[nodiscard]] ERegistration FindRegistration(std::u16string_view className) const override {
    if (className == u"DAO.DBEngine.120") return ERegistration::Here;
    return className == u"DAO.DBEngine.36" ? ERegistration::OtherBitness : ERegistration::None;
  }
  SCallEnd Enter() override { return {}; }
  void Leave() override {}
  SCallEnd Create(std::u16string_view, AutomationObject& object) override {
    object = MakeStandInEngine({g_installed, g_installed->world.get()});
    return {};
  }
  bool ReadText(std::u16string_view text, const AutomationValue& kind, AutomationValue& value) override {
    if (std::holds_alternative<SDecimalValue>(kind)) {
      value = SDecimalValue{false, 0, {0, 0, static_cast<uint32_t>(LeadingInteger(text))}};
      return true;
    }
    for (const uint8_t type : {kTypeDate, kTypeCurrency, kTypeSingle, kTypeDouble}) {
      SValue read;
      if (KindReadByLocale(FieldTypeOf(type)).index() == kind.index())
        return m_parser.Parse(type, text, read) && MakeAutomationValue(read, value);
    }
    return false;
  }

 private:
  CValueParser m_parser;
};

}  // namespace

void RemoveStandIn() {}

bool IsStandInDistant() {
  return false;
}

void InstallStandIn(std::string_view failure, EStandIn) {
  g_installed = std::make_shared<SInstalled>();
  g_installed->failure = failure;
  g_installed->world = std::make_shared<SStandInWorld>();
  SInstalled* const installed = g_installed.get();
  installed->world->refusesJet3 = true;
  installed->world->record = [installed](const std::string& line) {
    const std::lock_guard lock(installed->mutex);
    installed->calls.push_back(line);
  };
  installed->world->failure = [installed] { return installed->failure; };
}

std::vector<std::string> ReadStandInCalls() {
  const std::lock_guard lock(g_installed->mutex);
  return g_installed->calls;
}

std::unique_ptr<CAutomationServers> MakeStandInServers() {
  return std::make_unique<CStandInServers>();
}

}  // namespace tolvane
