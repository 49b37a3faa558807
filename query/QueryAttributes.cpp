#include "query/QueryAttributes.h"

#include <limits>

namespace tolvane {

int ParseQueryNumber(const std::u16string& text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == u' ' || (text[i] >= u'\t' && text[i] <= u'\r'))) ++i;
  const bool isNegative = i < text.size() && text[i] == u'-';
  if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) ++i;
  long long value = 0;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    value = value * 10 + (text[i] - u'0');
    if (value > std::numeric_limits<int>::max())
      return isNegative ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
  }
  return static_cast<int>(isNegative ? -value : value);
}

}  // namespace tolvane
