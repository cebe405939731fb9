#include "cli/Explanation.h"

#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <new>
#include <optional>
#include <string_view>

#include "filerefs/SmartFolderItemZRN.h"
#include "permissions/TraditionalPermissionsZRN.h"
#include "platform/Base64.h"
#include "platform/Date.h"
#include "platform/Exceptions.h"
#include "platform/MemoryBlock.h"
#include "platform/Picture.h"
#include "platform/UnhandledException.h"
#include "platform/Utf8.h"

namespace grantwright::Commands {

namespace {

// The JSON is written as text, member after member, with no document tree: time and memory
// stay in proportion to the values, and running out of memory leaves nothing whose
// destruction needs memory again on the way out.

void NewLine(std::string& out, int depth) {
  out.push_back('\n');
  out.append(static_cast<size_t>(depth) * 2, ' ');
}

// A JSON string of `text`, each malformed UTF-8 byte shown as U+FFFD.
void AppendString(std::string& out, std::string_view text) {
  const std::string valid = utf8::IsValid(text) ? std::string() : utf8::Sanitized(text);
  if (!valid.empty()) text = valid;
  out.push_back('"');
  for (const char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\b': out += "\\b"; break;
      case '\f': out += "\\f"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escape[8];
          std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
          out += escape;
        } else {
          out.push_back(c);
        }
    }
  }
  out.push_back('"');
}

void AppendInteger(std::string& out, int64_t value) { out += std::to_string(value); }

// The shortest text that reads back as `value`, with ".0" on a whole number so it stays a
// float; JSON has no infinity or NaN, so those are null.
void AppendDouble(std::string& out, double value) {
  if (!std::isfinite(value)) {
    out += "null";
    return;
  }
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  const std::string_view text(buffer, static_cast<size_t>(end - buffer));
  out += text;
  if (text.find_first_of(".e") == std::string_view::npos) out += ".0";
}

// "2018-06-01T05:05:07-04:00": the date's own fields and zone.
std::string Iso8601(const Date& date) {
  const int64_t offsetMinutes = static_cast<int64_t>(date.GMTOffset() * 60.0);
  const int64_t magnitude = offsetMinutes < 0 ? -offsetMinutes : offsetMinutes;
  char buffer[96];
  std::snprintf(buffer, sizeof buffer,
                "%04" PRId64 "-%02" PRId64 "-%02" PRId64 "T%02" PRId64 ":%02" PRId64 ":%02" PRId64
                "%c%02" PRId64 ":%02" PRId64,
                date.Year(), date.Month(), date.Day(), date.Hour(), date.Minute(), date.Second(),
                offsetMinutes < 0 ? '-' : '+', magnitude / 60, magnitude % 60);
  return buffer;
}

// An object's members one a line at `depth` + 1: `member(i)` writes the i-th member's
// value after its name, which `name(i)` gives.
template <class Name, class Member>
void AppendObject(std::string& out, int depth, size_t count, Name name, Member member) {
  if (count == 0) {
    out += "{}";
    return;
  }
  out.push_back('{');
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) out.push_back(',');
    NewLine(out, depth + 1);
    AppendString(out, name(i));
    out += ": ";
    member(i);
  }
  NewLine(out, depth);
  out.push_back('}');
}

// {"type": <type>, "value": <what `value` writes>}
template <class Value>
void AppendTyped(std::string& out, int depth, std::string_view type, Value value) {
  AppendObject(out, depth, 2, [](size_t i) { return i == 0 ? "type" : "value"; },
               [&](size_t i) { i == 0 ? AppendString(out, type) : value(); });
}

void AppendValue(std::string& out, int depth, const Variant& value);

void AppendDictionary(std::string& out, int depth, const Dictionary& dict) {
  const auto& entries = dict.Entries();
  // The dictionary's keys differ even ignoring case, so no name stands twice.
  AppendObject(out, depth, entries.size(), [&](size_t i) { return entries[i].first.StringValue().Utf8(); },
               [&](size_t i) { AppendValue(out, depth + 1, entries[i].second); });
}

void AppendArray(std::string& out, int depth, const Variant& value) {
  const size_t count = value.ArraySize();
  if (count == 0) {
    out += "[]";
    return;
  }
  out.push_back('[');
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) out.push_back(',');
    NewLine(out, depth + 1);
    AppendValue(out, depth + 1, value.ArrayElement(i));
  }
  NewLine(out, depth);
  out.push_back(']');
}

void AppendValue(std::string& out, int depth, const Variant& value) {
  const auto typed = [&](std::string_view type, auto write) { AppendTyped(out, depth, type, write); };
  if (value.IsArray()) return typed("Array", [&] { AppendArray(out, depth + 1, value); });
  switch (value.Type()) {
    case Variant::kNil:
      return typed("Nil", [&] { out += "null"; });
    case Variant::kBoolean:
      return typed("Boolean", [&] { out += value.BooleanValue() ? "true" : "false"; });
    case Variant::kInt32:
      return typed("Int32", [&] { AppendInteger(out, value.Int64Value()); });
    case Variant::kInt64:
      return typed("Int64", [&] { AppendInteger(out, value.Int64Value()); });
    case Variant::kSingle:
      return typed("Single", [&] { AppendDouble(out, value.DoubleValue()); });
    case Variant::kDouble:
      return typed("Double", [&] { AppendDouble(out, value.DoubleValue()); });
    case Variant::kColor:
      return typed("Color", [&] { AppendInteger(out, value.ColorValue().value); });
    case Variant::kString:
      return typed("String", [&] { AppendString(out, value.Get<String>()->Utf8()); });
    case Variant::kDate:
      return typed("Date", [&] { AppendString(out, Iso8601(*value.ObjectAs<Date>())); });
    default:
      break;
  }
  if (const auto dict = value.ObjectAs<Dictionary>()) {
    return typed("Dictionary", [&] { AppendDictionary(out, depth + 1, *dict); });
  }
  if (const auto block = value.ObjectAs<MemoryBlock>()) {
    return typed("MemoryBlock", [&] {
      std::string text;
      AppendBase64(block->Bytes(), text);
      AppendString(out, text);
    });
  }
  if (const auto picture = value.ObjectAs<Picture>()) {
    return typed("Picture", [&] {
      const int64_t size[] = {picture->Width(), picture->Height()};
      AppendObject(out, depth + 1, 2, [](size_t i) { return i == 0 ? "width" : "height"; },
                   [&](size_t i) { AppendInteger(out, size[i]); });
    });
  }
  if (const auto reference = value.ObjectAs<SmartFolderItemZRN>()) {
    // The file the reference finds now, and whether it is there.
    return typed("SmartFolderItemZRN", [&] {
      const FolderItemRef file = reference->GetFile();
      AppendObject(out, depth + 1, 2, [](size_t i) { return i == 0 ? "path" : "exists"; },
                   [&](size_t i) {
                     if (i == 1) {
                       out += file && file->Exists() ? "true" : "false";
                     } else if (file) {
                       AppendString(out, file->NativePath());
                     } else {
                       out += "null";
                     }
                   });
    });
  }
  typed(value.ObjectValue()->ClassName(), [&] { out += "null"; });
}

void AppendRecord(std::string& out, int depth, const DictionaryRef& config) {
  // A configuration the record cannot be built from ends the helper before it changes
  // anything, with the unhandled-exception line and status: that is what it would do.
  std::optional<TraditionalPermissionsZRN> built;
  try {
    built.emplace(config);
  } catch (const std::bad_alloc&) {
    // Memory this process ran short of says nothing of what the helper would do.
    throw;
  } catch (const std::exception& e) {
    const std::string line = UnhandledExceptionLine(e);
    AppendObject(out, depth, 2, [](size_t i) { return i == 0 ? "error" : "status"; }, [&](size_t i) {
      i == 0 ? AppendString(out, line) : AppendInteger(out, kUnhandledExceptionStatus);
    });
    return;
  }
  const TraditionalPermissionsZRN& record = *built;
  char mode[8];
  std::snprintf(mode, sizeof mode, "%04o", record.xPermissions->Mode());
  const std::string texts[] = {record.UnixFilePath.Utf8(), record.Owner.Utf8(), record.Group.Utf8(), mode};
  static const char* const kNames[] = {"path", "owner", "group", "mode", "acl"};
  AppendObject(out, depth, 5, [](size_t i) { return kNames[i]; }, [&](size_t i) {
    if (i < 4) return AppendString(out, texts[i]);
    if (!record.ACLRights) return void(out += "null");
    AppendString(out, record.ACLRights->Text().Utf8());
  });
}

}  // namespace

std::string Explanation(const DictionaryRef& config) {
  NonNil(config);
  std::string out;
  AppendObject(out, 0, 2, [](size_t i) { return i == 0 ? "configuration" : "record"; }, [&](size_t i) {
    i == 0 ? AppendDictionary(out, 1, *config) : AppendRecord(out, 1, config);
  });
  out.push_back('\n');
  return out;
}

}  // namespace grantwright::Commands
