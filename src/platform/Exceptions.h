#pragma once
// The exception classes of the system. Library code throws only where its contract says
// so; everything that is merely missing gives nil, a default or "unknown" instead.

#include <stdexcept>
#include <string>

namespace grantwright {

class RuntimeException : public std::exception {
 public:
  explicit RuntimeException(std::string message = std::string(), int errorNumber = 0)
      : message_(std::move(message)), errorNumber_(errorNumber) {}
  const char* what() const noexcept override { return message_.c_str(); }
  const std::string& Message() const { return message_; }
  int ErrorNumber() const { return errorNumber_; }
  // The class name as the unhandled-exception report shows it.
  virtual const char* ClassName() const { return "RuntimeException"; }

 private:
  std::string message_;
  int errorNumber_;
};

// Raised when an operation uses an object that is nil.
class NilObjectException : public RuntimeException {
 public:
  using RuntimeException::RuntimeException;
  const char* ClassName() const override { return "NilObjectException"; }
};

// Raised by file streams; ErrorNumber() is the errno of the failed call.
class IOException : public RuntimeException {
 public:
  using RuntimeException::RuntimeException;
  const char* ClassName() const override { return "IOException"; }
};

// Raised by the XML parser; ErrorNumber() is the parser's status code.
class XmlException : public RuntimeException {
 public:
  using RuntimeException::RuntimeException;
  const char* ClassName() const override { return "XmlException"; }
};

// Raised when a typed read finds a value of another type.
class TypeMismatchException : public RuntimeException {
 public:
  using RuntimeException::RuntimeException;
  const char* ClassName() const override { return "TypeMismatchException"; }
};

// Throws NilObjectException when `object` is null; gives it back otherwise.
template <class Pointer>
const Pointer& NonNil(const Pointer& object) {
  if (!object) throw NilObjectException();
  return object;
}

}  // namespace grantwright
