#include "convert/CoreFoundationExtension.h"

#include "convert/UniversalExtension.h"
#include "platform/Dictionary.h"
#include "platform/Exceptions.h"
#include "platform/FolderItem.h"
#include "platform/Log.h"
#include "platform/MemoryBlock.h"

namespace grantwright::CoreFoundationExtension {

namespace {

template <class T>
const T* As(const StoreObjectRef& object) {
  return dynamic_cast<const T*>(object.get());
}

}  // namespace

Variant ValueAsRBZRN(const StoreObjectRef& object) {
  if (const auto* text = As<StoreString>(object)) return text->Str();
  if (const auto* number = As<StoreNumber>(object)) {
    return number->IsFloat() ? Variant(number->DoubleValue()) : Variant(number->IntegerValue());
  }
  if (const auto* boolean = As<StoreBoolean>(object)) return boolean->Value();
  if (const auto* dict = As<StoreDictionary>(object)) {
    auto result = std::make_shared<Dictionary>();
    for (const auto& [key, value] : dict->Entries()) {
      Variant convertedKey = ValueAsRBZRN(key);
      result->SetValue(convertedKey, ValueAsRBZRN(value));
    }
    return result;
  }
  if (const auto* array = As<StoreArray>(object)) {
    auto result = NewArray<Variant>();
    result->reserve(array->Count());
    for (const StoreObjectRef& item : array->Items()) result->push_back(ValueAsRBZRN(item));
    return result;
  }
  if (As<StoreDate>(object) != nullptr) {
    return ToRBDateZRN(std::static_pointer_cast<StoreDate>(object));
  }
  if (const auto* data = As<StoreData>(object)) return data->Mem();
  if (const auto* url = As<StoreURL>(object)) return url->File();
  if (const auto* uuid = As<StoreUUID>(object)) return uuid->StringValue();
  System::DebugLog(String("Unhandled RBDictFromCFDict() of type: ") +
                   String(NonNil(object)->TypeDescription()));
  return nullptr;
}

StoreObjectRef ValueAsCFZRN(const Variant& value) {
  if (auto object = value.ObjectAs<StoreObject>()) return object;
  switch (value.Type()) {
    case Variant::kBoolean:
      return std::make_shared<StoreBoolean>(value.BooleanValue());
    case Variant::kDouble:
      return StoreNumber::Double(value.DoubleValue());
    case Variant::kInt32:
    case Variant::kInt64:
      return StoreNumber::Integer(value.Int64Value());
    case Variant::kSingle:
      return StoreNumber::Single(*value.Get<float>());
    case Variant::kString:
      return StoreString::New(value.StringValue());
    case Variant::kDate:
      return ValueAsCFDateZRN(value.ObjectAs<Date>());
    default:
      break;
  }
  if (value.IsArray()) {
    auto array = std::make_shared<StoreArray>();
    for (const Variant& element : UniversalExtension::ArrayValueZRN(value)) {
      if (!element.IsNil()) array->Append(ValueAsCFZRN(element));
    }
    return array;
  }
  if (const auto block = value.ObjectAs<MemoryBlock>()) {
    return std::make_shared<StoreData>(block->Bytes());
  }
  if (const auto dict = value.ObjectAs<Dictionary>()) {
    auto result = std::make_shared<StoreDictionary>();
    for (const auto& [key, entry] : dict->Entries()) {
      if (entry.IsNil()) continue;
      if (StoreObjectRef converted = ValueAsCFZRN(entry)) {
        result->Add(StoreString::New(key.StringValue()), std::move(converted));
      }
    }
    return result;
  }
  return nullptr;
}

}  // namespace grantwright::CoreFoundationExtension
