#include "platform/UnhandledException.h"

#include <new>

#include "platform/Exceptions.h"

namespace grantwright {

std::string UnhandledExceptionLine(const std::exception& e) {
  std::string className = "RuntimeException";
  std::string message = e.what();
  if (const auto* runtime = dynamic_cast<const RuntimeException*>(&e)) {
    className = runtime->ClassName();
  } else if (dynamic_cast<const std::bad_alloc*>(&e) != nullptr) {
    className = "OutOfMemoryException";
    message.clear();
  }
  std::string line = "Unhandled exception: " + className;
  if (!message.empty()) line += ": " + message;
  return line;
}

}  // namespace grantwright
