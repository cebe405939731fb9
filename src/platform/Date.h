#pragma once
// Date: a moment, shown in a zone of its own.
//
// TotalSeconds counts seconds since 1904-01-01 00:00:00 in the date's own zone, and
// GMTOffset is that zone's offset from GMT in hours. So the moment, in seconds since
// 1904-01-01 00:00:00 GMT, is TotalSeconds - GMTOffset * 3600. The calendar fields (Year
// to Second) are those of TotalSeconds in the proleptic Gregorian calendar.
//
// Setting a field recomputes TotalSeconds from all six fields; values out of range carry
// over (month 13 is January of the next year, day 0 the last day of the month before).
// Years beyond 10^9 and other fields beyond 10^12 in either direction are clamped there.
// Setting GMTOffset keeps the moment and changes the fields.
//
// The local zone and "now" come from the C library, so TZ is honoured.

#include <cstdint>
#include <memory>

#include "platform/Object.h"

namespace grantwright {

class Date : public Object {
 public:
  // The present moment in the local zone.
  Date();
  // The given fields in the zone with the given offset (hours).
  Date(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute, int64_t second,
       double gmtOffset);
  // The given fields in the local zone: the offset is the one the local zone has at that
  // moment.
  static std::shared_ptr<Date> Local(int64_t year, int64_t month, int64_t day, int64_t hour,
                                     int64_t minute, int64_t second);

  const char* ClassName() const override { return "Date"; }

  double TotalSeconds() const { return totalSeconds_; }
  void SetTotalSeconds(double seconds) { totalSeconds_ = seconds; }
  double GMTOffset() const { return gmtOffset_; }
  void SetGMTOffset(double hours);
  // Seconds since 1904-01-01 00:00:00 GMT.
  double MomentSeconds() const { return totalSeconds_ - gmtOffset_ * 3600.0; }

  int64_t Year() const;
  int64_t Month() const;
  int64_t Day() const;
  int64_t Hour() const;
  int64_t Minute() const;
  int64_t Second() const;
  void SetYear(int64_t v);
  void SetMonth(int64_t v);
  void SetDay(int64_t v);
  void SetHour(int64_t v);
  void SetMinute(int64_t v);
  void SetSecond(int64_t v);

  // The offset of the local zone, in hours, at `unixSeconds` (seconds since 1970 GMT).
  static double LocalOffsetAt(int64_t unixSeconds);

  static constexpr double kUnixEpochIn1904 = 2082844800.0;  // 1970-01-01 in 1904 seconds

 private:
  struct Fields {
    int64_t year, month, day, hour, minute, second;
  };
  Fields GetFields() const;
  void SetFields(const Fields& f);

  double totalSeconds_ = 0;
  double gmtOffset_ = 0;
};

using DateRef = std::shared_ptr<Date>;

}  // namespace grantwright
