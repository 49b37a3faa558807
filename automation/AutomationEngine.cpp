#include "automation/AutomationEngine.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "automation/AutomationDatabase.h"
#include "automation/EngineCalls.h"
#include "automation/EngineState.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kNoJet3 =
    u" Newer engines make no Access 97 databases any more: the program's own engine does, and this one makes "
    u"other formats.";

class CAutomationEngine : public CDaoEngine {
 public:
  CAutomationEngine(std::unique_ptr<CAutomationServers> servers, const SAutomationOptions& options)
      : m_state(std::make_shared<SEngineState>(std::move(servers), options)) {}
  ~CAutomationEngine() override { LetGo(); }
  CAutomationEngine(const CAutomationEngine&) = delete;
  CAutomationEngine& operator=(const CAutomationEngine&) = delete;

  CDaoResult CreateDatabase(std::u16string_view path, std::u16string_view locale, int32_t options,
                            std::unique_ptr<CDaoDatabase>& database) override;
  CDaoResult OpenDatabase(std::u16string_view path, bool exclusive, bool readOnly,
                          std::u16string_view connect, std::unique_ptr<CDaoDatabase>& database) override;
  [[nodiscard]] bool HasComplexFields() const override { return false; }
  void Terminate() override {
    LetGo();
    m_className.clear();
    m_state->waiting.clear();
  }
  [[nodiscard]] std::vector<CDaoEngineError> TakeErrors() override { return m_state->thread.TakeErrors(); }

 private:
  CDaoResult Take(std::u16string_view className);
  CDaoResult TakeSome();
  void LetGo() {
    m_engine.reset();
    m_state->thread.End();
  }

  std::shared_ptr<SEngineState> m_state;
  std::u16string m_className;  // of the engine that made the database
  AutomationObject m_engine;
};

bool IsVersionRefusal(EDaoError code) {
  return code == EDaoError::InvalidArgument || code == EDaoError::NotSupported;
}

// Starts it where it is not the present one.
CDaoResult CAutomationEngine::Take(std::u16string_view className) {
  if (m_engine && m_className == className) return CDaoResult::Ok();
  m_engine.reset();
  m_className = className;
  return MakeResult(EOperation::Database, m_state->thread.Create(className, m_engine));
}

CDaoResult CAutomationEngine::TakeSome() {
  if (!m_className.empty()) return Take(m_className);
  CDaoResult result{EDaoError::NotSupported, u"No DAO engine is installed."};
  for (const std::u16string_view className : kEngineClasses) {
    if (m_state->thread.GetServers().FindRegistration(className) != ERegistration::Here) continue;
    result = Take(className);
    if (result.IsOk() || result.code == EDaoError::EngineGone) break;
  }
  return result;
}

// The newest engine that makes databases of the wanted version.
CDaoResult CAutomationEngine::CreateDatabase(std::u16string_view path, std::u16string_view locale,
                                             int32_t options, std::unique_ptr<CDaoDatabase>& database) {
  database.reset();
  CDaoResult result{EDaoError::NotSupported, u"No DAO engine is installed."};
  for (const std::u16string_view className : kEngineClasses) {
    if (m_state->thread.GetServers().FindRegistration(className) != ERegistration::Here) continue;
    CDaoResult tried = Take(className);
    if (tried.IsOk()) {
      CEngineCalls calls(EOperation::Database);
      AutomationObject made = calls.Make(m_engine, u"CreateDatabase", {Text(path), Text(locale), options});
      tried = calls.GetResult();
      if (tried.IsOk()) database = std::make_unique<CAutomationDatabase>(m_state, std::move(made));
    }
    result = std::move(tried);
    result.text = result.IsOk() ? std::u16string() : Text(className) + u": " + result.text;
    // Another engine would do no better.
    const bool isFinal = m_engine && !IsVersionRefusal(result.code);
    if (result.IsOk() || result.code == EDaoError::EngineGone || isFinal) return result;
    m_engine.reset();
  }
  if ((options & kDaoVersionJet3) != 0 && IsVersionRefusal(result.code)) result.text += kNoJet3;
  return result;
}

CDaoResult CAutomationEngine::OpenDatabase(std::u16string_view path, bool exclusive, bool readOnly,
                                           std::u16string_view connect,
                                           std::unique_ptr<CDaoDatabase>& database) {
  database.reset();
  if (CDaoResult result = TakeSome(); !result.IsOk()) return result;
  CEngineCalls calls(EOperation::Database);
  AutomationObject opened =
      calls.Make(m_engine, u"OpenDatabase", {Text(path), exclusive, readOnly, Text(connect)});
  if (calls.IsOk()) database = std::make_unique<CAutomationDatabase>(m_state, std::move(opened));
  return calls.GetResult();
}

}  // namespace

std::unique_ptr<CDaoEngine> MakeAutomationEngine(std::unique_ptr<CAutomationServers> servers,
                                                 const SAutomationOptions& options) {
  return std::make_unique<CAutomationEngine>(std::move(servers), options);
}

}  // namespace tolvane
