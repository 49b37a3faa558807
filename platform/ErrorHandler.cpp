#include "platform/ErrorHandler.h"

#include <utility>

namespace tolvane {

void CErrorHandler::ReportError(std::u16string message, uint32_t flag) {
  m_message = std::move(message);
  m_flag = flag;
}

}  // namespace tolvane
