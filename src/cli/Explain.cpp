#include <cinttypes>
#include <cstdio>
#include <optional>
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "config/ConfigurationFile.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "permissions/TraditionalPermissionsZRN.h"
#include "platform/Base64.h"
#include "platform/Date.h"
#include "platform/Log.h"
#include "platform/MemoryBlock.h"
#include "platform/Picture.h"
#include "platform/UnhandledException.h"

namespace grantwright::Commands {

namespace {

using nlohmann::ordered_json;

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

ordered_json Typed(const char* type, ordered_json value) {
  return ordered_json{{"type", type}, {"value", std::move(value)}};
}

ordered_json Describe(const Variant& value);

ordered_json DescribeDictionary(const Dictionary& dict) {
  ordered_json out = ordered_json::object();
  for (const auto& [key, entry] : dict.Entries()) out[key.StringValue().Utf8()] = Describe(entry);
  return out;
}

ordered_json Describe(const Variant& value) {
  if (value.IsArray()) {
    ordered_json items = ordered_json::array();
    for (size_t i = 0; i < value.ArraySize(); ++i) items.push_back(Describe(value.ArrayElement(i)));
    return Typed("Array", std::move(items));
  }
  switch (value.Type()) {
    case Variant::kNil:
      return Typed("Nil", nullptr);
    case Variant::kBoolean:
      return Typed("Boolean", value.BooleanValue());
    case Variant::kInt32:
      return Typed("Int32", value.Int64Value());
    case Variant::kInt64:
      return Typed("Int64", value.Int64Value());
    case Variant::kSingle:
      return Typed("Single", value.DoubleValue());
    case Variant::kDouble:
      return Typed("Double", value.DoubleValue());
    case Variant::kColor:
      return Typed("Color", value.ColorValue().value);
    case Variant::kString:
      return Typed("String", value.Get<String>()->Utf8());
    case Variant::kDate:
      return Typed("Date", Iso8601(*value.ObjectAs<Date>()));
    default:
      break;
  }
  if (const auto dict = value.ObjectAs<Dictionary>()) return Typed("Dictionary", DescribeDictionary(*dict));
  if (const auto block = value.ObjectAs<MemoryBlock>()) return Typed("MemoryBlock", [&] {
      std::string text;
      AppendBase64(block->Bytes(), text);
      return text;
    }());
  if (const auto picture = value.ObjectAs<Picture>()) {
    return Typed("Picture", ordered_json{{"width", picture->Width()}, {"height", picture->Height()}});
  }
  if (const auto reference = value.ObjectAs<SmartFolderItemZRN>()) {
    const FolderItemRef file = reference->GetFile();
    ordered_json found{{"path", nullptr}, {"exists", file && file->Exists()}};
    if (file) found["path"] = file->NativePath();
    return Typed("SmartFolderItemZRN", std::move(found));
  }
  return Typed(value.ObjectValue()->ClassName(), nullptr);
}

ordered_json DescribeRecord(const DictionaryRef& config) {
  // A configuration the record cannot be built from ends the helper before it changes
  // anything, with the unhandled-exception line and status: that is what it would do.
  std::optional<TraditionalPermissionsZRN> built;
  try {
    built.emplace(config);
  } catch (const std::exception& e) {
    return ordered_json{{"error", UnhandledExceptionLine(e)},
                        {"status", kUnhandledExceptionStatus}};
  }
  const TraditionalPermissionsZRN& record = *built;
  char mode[8];
  std::snprintf(mode, sizeof mode, "%04o", record.xPermissions->Mode());
  ordered_json out{{"path", record.UnixFilePath.Utf8()},
                   {"owner", record.Owner.Utf8()},
                   {"group", record.Group.Utf8()},
                   {"mode", mode},
                   {"acl", nullptr}};
  if (record.ACLRights) out["acl"] = record.ACLRights->Text().Utf8();
  return out;
}

}  // namespace

int Explain(const std::string& configPath) {
  const DictionaryRef config =
      ConfigurationFile::Read(String(configPath), [](const String& line) { MsgBox(line); });
  if (!config) return 1;
  const ordered_json out{{"configuration", DescribeDictionary(*config)},
                         {"record", DescribeRecord(config)}};
  const std::string text =
      out.dump(2, ' ', /*ensure_ascii=*/false, ordered_json::error_handler_t::replace) + "\n";
  return WriteStandardOutput(text) == 0 ? 0 : 1;
}

}  // namespace grantwright::Commands
