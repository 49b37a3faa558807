// The fields that hold any number of values, or of files, in each record.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "dao/dao.h"
#include "format/SystemObjects.h"

namespace tolvane {

struct SComplexFieldType {
  int16_t field;
  EComplexKind kind;  // of the table that keeps the values
  uint8_t type;       // of the values; kTypeNone: files
};
inline constexpr SComplexFieldType kComplexFields[] = {{kDaoComplexByte, kComplexOfBytes, kTypeByte},
                                                       {kDaoComplexInteger, kComplexOfIntegers, kTypeInteger},
                                                       {kDaoComplexLong, kComplexOfLongs, kTypeLong},
                                                       {kDaoComplexSingle, kComplexOfSingles, kTypeSingle},
                                                       {kDaoComplexDouble, kComplexOfDoubles, kTypeDouble},
                                                       {kDaoComplexGuid, kComplexOfGuids, kTypeGuid},
                                                       {kDaoComplexDecimal, kComplexOfDecimals, kTypeDecimal},
                                                       {kDaoComplexText, kComplexOfTexts, kTypeText},
                                                       {kDaoAttachment, kComplexOfFiles, kTypeNone}};

// By one of its members; null where there is none.
template <class T>
constexpr const SComplexFieldType* FindComplexField(T SComplexFieldType::*member, T value) {
  const auto* const found = std::ranges::find(kComplexFields, value, member);
  return found != std::end(kComplexFields) ? found : nullptr;
}

}  // namespace tolvane
