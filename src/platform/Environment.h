#pragma once
// The process's environment variables.

#include <string>

namespace grantwright {

// The value of the environment variable `name`; "" when it is not set.
std::string EnvironmentValue(const std::string& name);

}  // namespace grantwright
