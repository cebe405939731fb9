#include "dates/ExtensionDate.h"

#include <cinttypes>
#include <cstdio>

#include "dates/StampFieldsInPlace.h"
#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"

namespace grantwright::ExtensionDate {

DateRef GMTTimeStampToLocalDateZRN(const String& stamp) {
  if (Len(stamp) == 0) return nullptr;
  const double offset = Date().GMTOffset();  // now, in the local zone
  // Stamps come as UTF-8; text with another tag is read as UTF-8 first, as NthField does.
  if (stamp.Encoding() == nullptr || stamp.Encoding() == Encodings::UTF8()) {
    return StampToDate(stamp.Bytes(), offset);
  }
  return StampToDate(ConvertEncoding(stamp, Encodings::UTF8()).Bytes(), offset);
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
