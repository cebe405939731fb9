#include "dates/ExtensionDate.h"

#include <memory>

namespace grantwright::ExtensionDate {

namespace {
int64_t Field(const String& part, const char* separator, int64_t index) {
  return TruncateToInt64(Val(NthField(part, separator, index)));
}
}  // namespace

DateRef GMTTimeStampToLocalDateZRN(const String& stamp) {
  if (Len(stamp) == 0) return nullptr;
  const Date reference;  // now, in the local zone: it gives the zone's offset
  const String datePart = NthField(stamp, "T", 1);
  const String timePart = NthField(stamp, "T", 2);
  // All six fields at once: a Date normalises after every single assignment, so setting
  // them one by one could carry over through the present day (day 31 set while the
  // month is still a 30-day month).
  auto result = std::make_shared<Date>(Field(datePart, "-", 1), Field(datePart, "-", 2),
                                       Field(datePart, "-", 3), Field(timePart, ":", 1),
                                       Field(timePart, ":", 2), Field(timePart, ":", 3), 0.0);
  result->SetGMTOffset(reference.GMTOffset());
  return result;
}

}  // namespace grantwright::ExtensionDate
