// Objects of an installed database engine, as automation shows them: names, values, errors. No system header
// is needed to speak to them; Servers_win.cpp makes them from the system's own, tests play them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tolvane {

class CAutomationObject;
using AutomationObject = std::shared_ptr<CAutomationObject>;

// One argument or answer of a call.
struct SNoValue {};  // an argument that is left out, an answer that is empty
struct SNullValue {};
struct SCurrency {
  int64_t tenThousandths = 0;
};
struct SDateValue {
  double days = 0;  // since 30 December 1899
};
struct SDecimalValue {
  bool isNegative = false;
  uint8_t scale = 0;                // digits behind the point
  std::array<uint32_t, 3> words{};  // the most significant first
};
using AutomationValue =
    std::variant<SNoValue, SNullValue, bool, uint8_t, int16_t, int32_t, SCurrency, float, double, SDateValue,
                 SDecimalValue, std::u16string, std::vector<uint8_t>, AutomationObject>;
using AutomationValues = std::vector<AutomationValue>;

// How a call ended.
struct [[nodiscard]] SCallEnd {
  int32_t number = 0;          // the engine's own, or the system's (negative); 0: well
  std::u16string description;  // may be empty
  bool isGone = false;         // the engine is not there any more; no later call will do better

  [[nodiscard]] bool IsOk() const { return number == 0; }
};

enum class ECall : uint8_t { Get, Put, Method };

class CAutomationObject {
 public:
  virtual ~CAutomationObject() = default;
  // `answer` may be null. Of a Put the value is the last argument.
  virtual SCallEnd Invoke(ECall kind, std::u16string_view name, const AutomationValues& arguments,
                          AutomationValue* answer) = 0;
};

// Where a class of automation objects can be made.
enum class ERegistration : uint8_t {
  None,
  OtherBitness,  // only for programs of the other bitness, 32 or 64
  Here,
};

// What the system offers. A thread that enters makes objects of its own, which live on it; one that hangs may
// be in a call while another enters.
class CAutomationServers {
 public:
  virtual ~CAutomationServers() = default;
  // False: this system has no automation.
  [[nodiscard]] virtual bool IsThere() const = 0;
  [[nodiscard]] virtual ERegistration FindRegistration(std::u16string_view className) const = 0;
  // Before the thread's first object and after its last.
  virtual SCallEnd Enter() = 0;
  virtual void Leave() = 0;
  virtual SCallEnd Create(std::u16string_view className, AutomationObject& object) = 0;
  // A text as the value that it spells in one fixed locale, whatever the user's: month before day, a point in
  // numbers. `kind` tells the wanted type. False: it spells none; `value` stays.
  virtual bool ReadText(std::u16string_view text, const AutomationValue& kind, AutomationValue& value) = 0;
};

// Never null. On systems without automation one that offers nothing.
std::unique_ptr<CAutomationServers> MakeSystemServers();

}  // namespace tolvane
