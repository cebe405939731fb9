#include "platform/Environment.h"

#include <cstdlib>

namespace grantwright {

std::string EnvironmentValue(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  return value != nullptr ? value : "";
}

}  // namespace grantwright
