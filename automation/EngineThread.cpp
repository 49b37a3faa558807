#include "automation/EngineThread.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Hex.h"

namespace tolvane {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kLook{200};  // how often a waiting caller looks up
constexpr int32_t kGoneNumber = -1;

// What collections answer that lack a member: no failure, for it was a question.
constexpr int32_t kNoItem = 3265, kNoProperty = 3270;

bool IsLong(std::u16string_view name) {
  return name == u"Append" || name == u"Close";
}

}  // namespace

// Shared by the callers and the thread, so that either may go first.
struct CEngineThread::SState {
  struct SCall {
    std::function<SCallEnd()> work;
    SCallEnd end;
    bool isDone = false;
  };

  SState(std::shared_ptr<CAutomationServers> offered, SCallLimits given,
         std::shared_ptr<std::vector<CDaoEngineError>> list)
      : servers(std::move(offered)), limits(std::move(given)), errors(std::move(list)) {}

  // On the thread.
  void Work();
  // From the callers. The work owns all that it touches: it may outlive the call.
  SCallEnd Run(std::function<SCallEnd()> work, std::chrono::milliseconds limit);
  void Post(std::function<SCallEnd()> work);
  // From the callers: keeps a failed call in mind.
  void Note(std::u16string_view call, const SCallEnd& end) const;
  // The number that says it; 0 for an engine that hangs.
  SCallEnd GiveUp(int32_t number);

  const std::shared_ptr<CAutomationServers> servers;
  const SCallLimits limits;
  const std::shared_ptr<std::vector<CDaoEngineError>> errors;
  std::u16string className;  // of the engine, for the callers
  SCallEnd gone;             // once it is
  std::mutex mutex;
  std::condition_variable wake, done;
  std::deque<std::shared_ptr<SCall>> calls;
  bool isEnding = false;
  bool isGone = false;
  bool isHanging = false;  // gone, and with it the thread
  bool hasEnded = false;
};

void CEngineThread::SState::Work() {
  std::unique_lock lock(mutex);
  while (true) {
    wake.wait(lock, [this] { return isEnding || !calls.empty(); });
    if (calls.empty()) break;
    std::shared_ptr<SCall> call = std::move(calls.front());
    calls.pop_front();
    lock.unlock();
    SCallEnd end = call->work();
    call->work = nullptr;  // what it owned is let go here
    lock.lock();
    call->end = std::move(end);
    call->isDone = true;
    done.notify_all();
  }
  hasEnded = true;
  done.notify_all();
}

void CEngineThread::SState::Post(std::function<SCallEnd()> work) {
  const std::lock_guard lock(mutex);
  auto call = std::make_shared<SCall>();
  call->work = std::move(work);
  calls.push_back(std::move(call));
  wake.notify_one();
}

SCallEnd CEngineThread::SState::Run(std::function<SCallEnd()> work, std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex);
  if (isGone) return gone;
  if (isEnding) return {kGoneNumber, u"The database engine was ended.", true};
  auto call = std::make_shared<SCall>();
  call->work = std::move(work);
  calls.push_back(call);
  wake.notify_one();
  Clock::time_point end = Clock::now() + limit;
  bool isUnwanted = false;
  while (!done.wait_for(lock, kLook, [&call] { return call->isDone; })) {
    if (!isUnwanted && limits.isWanted && !limits.isWanted()) {
      isUnwanted = true;
      end = std::min(end, Clock::now() + limits.unwanted);
    }
    if (Clock::now() < end) continue;
    isHanging = true;
    return GiveUp(0);
  }
  return call->end.isGone ? GiveUp(call->end.number) : call->end;
}

SCallEnd CEngineThread::SState::GiveUp(int32_t number) {
  isGone = true;
  const std::u16string name =
      u"The database engine" + (className.empty() ? std::u16string() : u" " + className);
  gone = number == 0 ? SCallEnd{kGoneNumber, name + u" does not answer: it hangs.", true}
                     : SCallEnd{number,
                                name +
                                    u" does not answer any more: it ended, or lost its connection, in the "
                                    u"middle of its work (system error " +
                                    u"0x" + ToHex(static_cast<uint32_t>(number), 8, u'0') + u").",
                                true};
  return gone;
}

void CEngineThread::SState::Note(std::u16string_view call, const SCallEnd& end) const {
  if (end.IsOk() || (call == u"Item" && (end.number == kNoItem || end.number == kNoProperty))) return;
  for (CDaoEngineError& error : *errors)
    if (error.number == end.number && error.call == call) {
      ++error.count;
      return;
    }
  errors->push_back({end.number, std::u16string(call), end.description, 1});
}

namespace {

// An object that is called and released on the engine's thread.
class CDistantObject : public CAutomationObject {
 public:
  CDistantObject(std::shared_ptr<CEngineThread::SState> state, AutomationObject object)
      : m_state(std::move(state)), m_object(std::move(object)) {}
  ~CDistantObject() override {
    m_state->Post([object = std::move(m_object)]() mutable {
      object.reset();
      return SCallEnd{};
    });
  }
  CDistantObject(const CDistantObject&) = delete;
  CDistantObject& operator=(const CDistantObject&) = delete;

  SCallEnd Invoke(ECall kind, std::u16string_view name, const AutomationValues& arguments,
                  AutomationValue* answer) override {
    auto taken = std::make_shared<AutomationValue>();
    AutomationValues held = arguments;
    for (AutomationValue& value : held)
      if (auto* const object = std::get_if<AutomationObject>(&value))
        if (const auto* const distant = dynamic_cast<CDistantObject*>(object->get()))
          *object = AutomationObject(distant->m_object);
    SCallEnd end =
        m_state->Run([object = m_object, kind, called = std::u16string(name), held = std::move(held),
                      taken] { return object->Invoke(kind, called, held, taken.get()); },
                     IsLong(name) ? m_state->limits.longCall : m_state->limits.call);
    m_state->Note(name, end);
    // Whoever was given up may still be writing there.
    if (end.isGone || answer == nullptr) return end;
    *answer = std::move(*taken);
    if (auto* const object = std::get_if<AutomationObject>(answer); object != nullptr && *object)
      *object = std::make_shared<CDistantObject>(m_state, std::move(*object));
    return end;
  }

 private:
  std::shared_ptr<CEngineThread::SState> m_state;
  AutomationObject m_object;
};

}  // namespace

CEngineThread::CEngineThread(std::unique_ptr<CAutomationServers> servers, SCallLimits limits)
    : m_servers(std::move(servers)),
      m_limits(std::move(limits)),
      m_errors(std::make_shared<std::vector<CDaoEngineError>>()) {}

CEngineThread::~CEngineThread() {
  End();
}

SCallEnd CEngineThread::Start() {
  if (m_state) return {};
  m_state = std::make_shared<SState>(m_servers, m_limits, m_errors);
  try {
    std::thread([state = m_state] { state->Work(); }).detach();
  } catch (const std::system_error&) {
    m_state.reset();
    return {kGoneNumber, u"The system gives no thread for the database engine.", true};
  }
  SCallEnd entered = m_state->Run([state = m_state.get()] { return state->servers->Enter(); }, m_limits.call);
  if (!entered.IsOk()) End();
  return entered;
}

SCallEnd CEngineThread::Create(std::u16string_view className, AutomationObject& object) {
  if (SCallEnd started = Start(); !started.IsOk()) return started;
  auto made = std::make_shared<AutomationObject>();
  m_state->className = className;
  SCallEnd end = m_state->Run([state = m_state.get(), name = std::u16string(className),
                               made] { return state->servers->Create(name, *made); },
                              m_limits.call);
  m_state->Note(className, end);
  if (end.IsOk()) object = std::make_shared<CDistantObject>(m_state, std::move(*made));
  return end;
}

bool CEngineThread::ReadText(std::u16string_view text, const AutomationValue& kind, AutomationValue& value) {
  if (!m_state) return false;
  auto read = std::make_shared<AutomationValue>();
  auto isRead = std::make_shared<bool>(false);
  const SCallEnd end = m_state->Run(
      [state = m_state.get(), words = std::u16string(text), kind, read, isRead] {
        *isRead = state->servers->ReadText(words, kind, *read);
        return SCallEnd{};
      },
      m_limits.call);
  if (!end.IsOk() || !*isRead) return false;
  value = std::move(*read);
  return true;
}

// A thread that hangs keeps what it holds, its apartment too: nobody else may touch that.
void CEngineThread::End() {
  if (!m_state) return;
  const std::shared_ptr<SState> state = std::exchange(m_state, nullptr);
  state->Post([held = state.get()] {
    held->servers->Leave();
    return SCallEnd{};
  });
  std::unique_lock lock(state->mutex);
  state->isEnding = true;
  state->wake.notify_one();
  if (!state->isHanging) state->done.wait_for(lock, m_limits.call, [&state] { return state->hasEnded; });
}

}  // namespace tolvane
