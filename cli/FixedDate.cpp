#include "cli/FixedDate.h"

#include <charconv>
#include <cstdint>
#include <string>

#include "platform/Terminal.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kEpochVariable = u"SOURCE_DATE_EPOCH";
constexpr double kUnixEpochDate = 25569;  // 1970-01-01 in days since 30 December 1899
constexpr double kUsualDate = 36526;      // 2000-01-01
constexpr double kSecondsPerDay = 86400;
constexpr uint64_t kLastSecond = 253'402'300'799;  // of the year 9999

}  // namespace

SFixedDate FindFixedDate(const SArguments& arguments) {
  const std::string digits = ToUtf8(GetEnvironment(kEpochVariable));
  if (digits.empty()) return arguments.isReproducible ? SFixedDate{.date = kUsualDate} : SFixedDate{};
  uint64_t seconds = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
  if (error != std::errc() || end != digits.data() + digits.size() || seconds > kLastSecond)
    return {.isRefused = true};
  return {.date = kUnixEpochDate + static_cast<double>(seconds) / kSecondsPerDay};
}

}  // namespace tolvane
