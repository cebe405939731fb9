#pragma once
// Variant: a dynamically typed value, or nil.
//
// A Variant holds one of: nothing (nil), a Boolean, a 32- or 64-bit integer, a Single, a
// Double, a Color, a String, an object (by counted reference: Date, Dictionary, ...), or
// an array. Arrays are held by reference, as the framework's arrays are: copying the
// Variant shares the array. A Variant holding a null object is nil.
//
// Type codes (Type()) are the framework's: 0 nil, 2 Int32, 3 Int64, 4 Single, 5 Double,
// 7 Date, 8 String, 9 object, 11 Boolean, 16 Color, and kArray for any array. An array's
// element type (ArrayElementType()) uses the same codes: an array of Date objects reports
// 7, an array of any other object class or of Variant reports 9.
//
// Typed array reads (ArrayAs<T>, ObjectArrayOf, ObjectElements) check the array's static
// element type and throw TypeMismatchException when it differs.

#include <cstdint>
#include <memory>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Date.h"
#include "platform/Exceptions.h"
#include "platform/Object.h"
#include "platform/String.h"

namespace grantwright {

class Variant;

template <class T>
using ArrayRef = std::shared_ptr<std::vector<T>>;

// An array whose elements are objects of one class (the class name is `elementClass`;
// "Object" admits any class).
struct ObjectArray {
  ArrayRef<ObjectRef> items;
  std::string_view elementClass;
  friend bool operator==(const ObjectArray&, const ObjectArray&) = default;
};

class Variant {
  using Value = std::variant<std::monostate, bool, int32_t, int64_t, float, double, Color, String,
                             ObjectRef, ArrayRef<bool>, ArrayRef<Color>, ArrayRef<int32_t>,
                             ArrayRef<int64_t>, ArrayRef<float>, ArrayRef<double>,
                             ArrayRef<String>, ArrayRef<Variant>, ObjectArray>;

 public:
  enum TypeCode : int {
    kNil = 0,
    kInt32 = 2,
    kInt64 = 3,
    kSingle = 4,
    kDouble = 5,
    kDate = 7,
    kString = 8,
    kObject = 9,
    kBoolean = 11,
    kColor = 16,
    kArray = 4096,
  };

  Variant() = default;
  Variant(std::nullptr_t) {}  // NOLINT
  Variant(bool v) : value_(v) {}  // NOLINT
  Variant(int32_t v) : value_(v) {}  // NOLINT
  Variant(int64_t v) : value_(v) {}  // NOLINT
  Variant(float v) : value_(v) {}  // NOLINT
  Variant(double v) : value_(v) {}  // NOLINT
  Variant(Color v) : value_(v) {}  // NOLINT
  Variant(String v) : value_(std::move(v)) {}  // NOLINT
  Variant(const char* v) : value_(String(v)) {}  // NOLINT
  template <class T, class = std::enable_if_t<std::is_base_of_v<Object, T>>>
  Variant(std::shared_ptr<T> object)  // NOLINT
      : value_(object ? Value(ObjectRef(std::move(object))) : Value()) {}
  Variant(ArrayRef<bool> a) : value_(std::move(a)) {}  // NOLINT
  Variant(ArrayRef<Color> a) : value_(std::move(a)) {}  // NOLINT
  Variant(ArrayRef<int32_t> a) : value_(std::move(a)) {}  // NOLINT
  Variant(ArrayRef<int64_t> a) : value_(std::move(a)) {}  // NOLINT
  Variant(ArrayRef<float> a) : value_(std::move(a)) {}  // NOLINT
  Variant(ArrayRef<double> a) : value_(std::move(a)) {}  // NOLINT
  Variant(ArrayRef<String> a) : value_(std::move(a)) {}  // NOLINT
  Variant(ArrayRef<Variant> a) : value_(std::move(a)) {}  // NOLINT
  Variant(ObjectArray a) : value_(std::move(a)) {}  // NOLINT

  // VarType.
  int Type() const;
  bool IsNil() const { return std::holds_alternative<std::monostate>(value_); }
  bool IsArray() const { return Type() == kArray; }
  // The element type code of an array; 0 for a value that is no array.
  int ArrayElementType() const;

  // Conversions. Numbers convert among themselves (to integers by truncation toward zero,
  // saturating), Booleans read as 1 and 0, Strings through Val (and, for Booleans, the
  // texts "true" and "false" ignoring case), a Date as its TotalSeconds, nil as 0/false.
  // Anything else (objects, arrays) throws TypeMismatchException.
  bool BooleanValue() const;
  int64_t Int64Value() const;
  double DoubleValue() const;
  Color ColorValue() const;
  // The text form: "" for nil, "True"/"False", decimal numbers, "&hAARRGGBB" for a colour,
  // "YYYY-MM-DD HH:MM:SS" for a Date. Other objects and arrays throw TypeMismatchException.
  String StringValue() const;

  // The object held, or null when the value is no object.
  ObjectRef ObjectValue() const;
  template <class T>
  std::shared_ptr<T> ObjectAs() const {
    return std::dynamic_pointer_cast<T>(ObjectValue());
  }
  // The raw alternative, for code that dispatches on the exact stored type.
  template <class T>
  const T* Get() const {
    return std::get_if<T>(&value_);
  }

  // The array as its exact element type; throws TypeMismatchException for any other value.
  template <class T>
  const ArrayRef<T>& ArrayAs() const {
    if (const auto* a = std::get_if<ArrayRef<T>>(&value_)) return *a;
    throw TypeMismatchException("Type mismatch: array of another element type");
  }
  // An array of objects declared with exactly the class `className`; arrays are not
  // covariant, so an array of Dictionary is no array of Object and the other way round.
  ArrayRef<ObjectRef> ObjectArrayOf(std::string_view className) const;
  // The elements of an array of Variant or of an array declared of class Object, each as a
  // Variant (nil included); throws TypeMismatchException for every other value.
  std::vector<Variant> ObjectElements() const;
  // Element `index` of any array as a Variant; throws TypeMismatchException for a value
  // that is no array and RuntimeException (out of bounds) for a bad index.
  Variant ArrayElement(size_t index) const;
  // Number of elements of any array, 0 for a value that is no array.
  size_t ArraySize() const;

  // Equality as Dictionary keys use it: nil equals nil; Strings ignoring case; numbers
  // (integers, Singles, Doubles) by value; Booleans, colours by value; objects and arrays
  // by identity. Values of different kinds are unequal.
  bool KeyEquals(const Variant& other) const;

 private:
  Value value_;
};

// Helpers for building arrays.
template <class T>
ArrayRef<T> NewArray(std::vector<T> items = {}) {
  return std::make_shared<std::vector<T>>(std::move(items));
}

}  // namespace grantwright
