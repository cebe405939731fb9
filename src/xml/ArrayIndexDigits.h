#pragma once
// The place of an element of a typed Array, read from its name.

#include <cstdint>
#include <string_view>

namespace grantwright::XMLExtension {

// Val of the second field of `name` split on "array_" (any case), cut toward zero: 0 for
// a name without "array_" or without a number after it.
int64_t ArrayIndexOfName(std::string_view name);

}  // namespace grantwright::XMLExtension
