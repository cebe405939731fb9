#include "platform/Variant.h"

#include <cinttypes>
#include <cstdio>

namespace grantwright {

namespace {

template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

// The class says it all: a value of one type asked for as another.
[[noreturn]] void Mismatch() { throw TypeMismatchException(); }

bool IsTrueText(const String& s) { return s == "true"; }

String DateText(const Date& d) {
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, "%04" PRId64 "-%02" PRId64 "-%02" PRId64 " %02" PRId64
                ":%02" PRId64 ":%02" PRId64,
                d.Year(), d.Month(), d.Day(), d.Hour(), d.Minute(), d.Second());
  return String(buffer);
}

}  // namespace

int Variant::Type() const {
  return std::visit(Overloaded{
                        [](std::monostate) { return int{kNil}; },
                        [](bool) { return int{kBoolean}; },
                        [](int32_t) { return int{kInt32}; },
                        [](int64_t) { return int{kInt64}; },
                        [](float) { return int{kSingle}; },
                        [](double) { return int{kDouble}; },
                        [](Color) { return int{kColor}; },
                        [](const String&) { return int{kString}; },
                        [](const ObjectRef& o) {
                          return dynamic_cast<const Date*>(o.get()) ? int{kDate} : int{kObject};
                        },
                        [](const auto&) { return int{kArray}; },
                    },
                    value_);
}

int Variant::ArrayElementType() const {
  return std::visit(Overloaded{
                        [](const ArrayRef<bool>&) { return int{kBoolean}; },
                        [](const ArrayRef<Color>&) { return int{kColor}; },
                        [](const ArrayRef<int32_t>&) { return int{kInt32}; },
                        [](const ArrayRef<int64_t>&) { return int{kInt64}; },
                        [](const ArrayRef<float>&) { return int{kSingle}; },
                        [](const ArrayRef<double>&) { return int{kDouble}; },
                        [](const ArrayRef<String>&) { return int{kString}; },
                        [](const ArrayRef<Variant>&) { return int{kObject}; },
                        [](const ObjectArray& a) {
                          return a.elementClass == "Date" ? int{kDate} : int{kObject};
                        },
                        [](const auto&) { return int{kNil}; },
                    },
                    value_);
}

double Variant::DoubleValue() const {
  return std::visit(Overloaded{
                        [](std::monostate) { return 0.0; },
                        [](bool v) { return v ? 1.0 : 0.0; },
                        [](int32_t v) { return static_cast<double>(v); },
                        [](int64_t v) { return static_cast<double>(v); },
                        [](float v) { return static_cast<double>(v); },
                        [](double v) { return v; },
                        [](Color v) { return static_cast<double>(v.value); },
                        [](const String& v) { return Val(v); },
                        [](const ObjectRef& o) -> double {
                          if (const auto* d = dynamic_cast<const Date*>(o.get())) {
                            return d->TotalSeconds();
                          }
                          Mismatch();
                        },
                        [](const auto&) -> double { Mismatch(); },
                    },
                    value_);
}

int64_t Variant::Int64Value() const {
  if (const auto* v = std::get_if<int64_t>(&value_)) return *v;
  if (const auto* v = std::get_if<int32_t>(&value_)) return *v;
  return TruncateToInt64(DoubleValue());
}

bool Variant::BooleanValue() const {
  if (const auto* v = std::get_if<bool>(&value_)) return *v;
  if (const auto* s = std::get_if<String>(&value_)) {
    if (IsTrueText(*s)) return true;
    if (*s == "false") return false;
    return Val(*s) != 0.0;
  }
  return DoubleValue() != 0.0;
}

Color Variant::ColorValue() const {
  if (const auto* v = std::get_if<Color>(&value_)) return *v;
  return Color{static_cast<uint32_t>(static_cast<uint64_t>(Int64Value()))};
}

String Variant::StringValue() const {
  return std::visit(Overloaded{
                        [](std::monostate) { return String(); },
                        [](bool v) { return String(v ? "True" : "False"); },
                        [](int32_t v) { return Str(static_cast<int64_t>(v)); },
                        [](int64_t v) { return Str(v); },
                        [](float v) { return Str(static_cast<double>(v)); },
                        [](double v) { return Str(v); },
                        [](Color v) {
                          char buffer[16];
                          std::snprintf(buffer, sizeof buffer, "&h%08X", v.value);
                          return String(buffer);
                        },
                        [](const String& v) { return v; },
                        [](const ObjectRef& o) -> String {
                          if (const auto* d = dynamic_cast<const Date*>(o.get())) {
                            return DateText(*d);
                          }
                          Mismatch();
                        },
                        [](const auto&) -> String { Mismatch(); },
                    },
                    value_);
}

ObjectRef Variant::ObjectValue() const {
  if (const auto* o = std::get_if<ObjectRef>(&value_)) return *o;
  return nullptr;
}

ArrayRef<ObjectRef> Variant::ObjectArrayOf(std::string_view className) const {
  const auto* a = std::get_if<ObjectArray>(&value_);
  if (a == nullptr || a->elementClass != className) Mismatch();
  return a->items;
}

std::vector<Variant> Variant::ObjectElements() const {
  if (const auto* a = std::get_if<ArrayRef<Variant>>(&value_)) return **a;
  if (const auto* a = std::get_if<ObjectArray>(&value_); a && a->elementClass == "Object") {
    std::vector<Variant> out;
    out.reserve(a->items->size());
    for (const ObjectRef& o : *a->items) out.emplace_back(o);
    return out;
  }
  Mismatch();
}

size_t Variant::ArraySize() const {
  return std::visit(Overloaded{
                        [](const ObjectArray& a) { return a.items->size(); },
                        [](const auto& v) -> size_t {
                          using T = std::decay_t<decltype(v)>;
                          if constexpr (requires { v->size(); } &&
                                        !std::is_same_v<T, ObjectRef>) {
                            return v->size();
                          } else {
                            return 0;
                          }
                        },
                    },
                    value_);
}

Variant Variant::ArrayElement(size_t index) const {
  if (!IsArray()) Mismatch();
  if (index >= ArraySize()) throw RuntimeException("Out of bounds");
  return std::visit(Overloaded{
                        [&](const ObjectArray& a) { return Variant(a.items->at(index)); },
                        [&](const ArrayRef<bool>& a) { return Variant(static_cast<bool>((*a)[index])); },
                        [&](const auto& v) -> Variant {
                          using T = std::decay_t<decltype(v)>;
                          if constexpr (requires { v->at(index); } &&
                                        !std::is_same_v<T, ObjectRef>) {
                            return Variant(v->at(index));
                          } else {
                            Mismatch();
                          }
                        },
                    },
                    value_);
}

bool Variant::KeyEquals(const Variant& other) const {
  const int a = Type();
  const int b = other.Type();
  const auto isNumber = [](int t) {
    return t == kInt32 || t == kInt64 || t == kSingle || t == kDouble;
  };
  if (isNumber(a) && isNumber(b)) {
    if ((a == kInt32 || a == kInt64) && (b == kInt32 || b == kInt64)) {
      return Int64Value() == other.Int64Value();
    }
    return DoubleValue() == other.DoubleValue();
  }
  if (a != b) return false;
  switch (a) {
    case kNil:
      return true;
    case kString:
      return *Get<String>() == *other.Get<String>();
    case kBoolean:
      return *Get<bool>() == *other.Get<bool>();
    case kColor:
      return *Get<Color>() == *other.Get<Color>();
    case kDate:
    case kObject:
      return ObjectValue() == other.ObjectValue();
    default:
      return value_ == other.value_;
  }
}

}  // namespace grantwright
