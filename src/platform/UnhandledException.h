#pragma once
// The ending of a process whose exception nothing caught, as the framework reports it.

#include <exception>
#include <string>

namespace grantwright {

// The exit status after an unhandled exception (-3 in the low eight bits).
inline constexpr int kUnhandledExceptionStatus = 253;

// The report's one line: "Unhandled exception: " and the class name, then ": " and the
// message when there is one. A RuntimeException names its own class, std::bad_alloc is
// "OutOfMemoryException" without a message, and any other exception is
// "RuntimeException" with its what() as the message.
std::string UnhandledExceptionLine(const std::exception& e);

}  // namespace grantwright
