#include "dates/ExtensionDate.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string_view>

#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"

namespace grantwright::ExtensionDate {

namespace {

// Field `index` (from 1) of `text` split on the ASCII character `separator`, either case,
// as NthField gives it for text read as UTF-8 bytes: no character beyond ASCII folds to
// "t", "-" or ":", so cutting the bytes is cutting the characters.
std::string_view Field(std::string_view text, char separator, int index) {
  const char other = (separator >= 'A' && separator <= 'Z') ? static_cast<char>(separator + 32) : separator;
  size_t start = 0;
  for (int field = 1;; ++field) {
    size_t end = start;
    while (end < text.size() && text[end] != separator && text[end] != other) ++end;
    if (field == index) return text.substr(start, end - start);
    if (end == text.size()) return {};
    start = end + 1;
  }
}

// Val of the field, cut toward zero. A field of a few plain digits, as stamps have, is
// that number exactly, without the general reading.
int64_t Number(std::string_view field) {
  if (!field.empty() && field.size() <= 15 &&
      field.find_first_not_of("0123456789") == std::string_view::npos) {
    int64_t value = 0;
    for (char c : field) value = value * 10 + (c - '0');
    return value;
  }
  return TruncateToInt64(Val(String(field)));
}

// The moment the stamp names, shown in the zone `offsetHours` from GMT.
DateRef StampDate(std::string_view stamp, double offsetHours) {
  const std::string_view datePart = Field(stamp, 'T', 1);
  const std::string_view timePart = Field(stamp, 'T', 2);
  // All six fields at once: a Date normalises after every single assignment, so setting
  // them one by one could carry over through the present day (day 31 set while the
  // month is still a 30-day month).
  auto result = std::make_shared<Date>(Number(Field(datePart, '-', 1)), Number(Field(datePart, '-', 2)),
                                       Number(Field(datePart, '-', 3)), Number(Field(timePart, ':', 1)),
                                       Number(Field(timePart, ':', 2)), Number(Field(timePart, ':', 3)), 0.0);
  result->SetGMTOffset(offsetHours);
  return result;
}

}  // namespace

DateRef GMTTimeStampToLocalDateZRN(const String& stamp) {
  if (Len(stamp) == 0) return nullptr;
  const double offset = Date().GMTOffset();  // now, in the local zone
  // Stamps come as UTF-8; text with another tag is read as UTF-8 first, as NthField does.
  if (stamp.Encoding() == nullptr || stamp.Encoding() == Encodings::UTF8()) {
    return StampDate(stamp.Bytes(), offset);
  }
  return StampDate(ConvertEncoding(stamp, Encodings::UTF8()).Bytes(), offset);
}

DateRef GMTTimeStampToDate(std::string_view utf8Stamp, double offsetHours) {
  return utf8Stamp.empty() ? nullptr : StampDate(utf8Stamp, offsetHours);
}

String LocalDateToGMTTimeStampZRN(const DateRef& date) {
  Date gmt = *NonNil(date);
  gmt.SetGMTOffset(0.0);
  char buffer[96];
  std::snprintf(buffer, sizeof buffer,
                "%04" PRId64 "-%02" PRId64 "-%02" PRId64 "T%02" PRId64 ":%02" PRId64 ":%02" PRId64,
                gmt.Year(), gmt.Month(), gmt.Day(), gmt.Hour(), gmt.Minute(), gmt.Second());
  return String(buffer);
}

}  // namespace grantwright::ExtensionDate
