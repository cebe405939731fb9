#include "platform/Date.h"

#include <time.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "platform/String.h"

namespace grantwright {

namespace {

// Days since 1970-01-01 of a proleptic Gregorian date (after Howard Hinnant's algorithm);
// month and day may be out of range and carry over.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  // Bring the month into 1..12 first, carrying whole years.
  int64_t m0 = m - 1;
  y += m0 >= 0 ? m0 / 12 : -((11 - m0) / 12);
  m0 -= 12 * (m0 >= 0 ? m0 / 12 : -((11 - m0) / 12));
  m = m0 + 1;
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468 + (d - 1);
}

void CivilFromDays(int64_t z, int64_t& y, int64_t& m, int64_t& d) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  y = yoe + era * 400;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp + (mp < 10 ? 3 : -9);
  y += m <= 2;
}

constexpr int64_t kDaysFrom1904To1970 = 24107;

// Fields beyond these bounds are clamped to them, so no arithmetic below can overflow.
constexpr int64_t kYearLimit = 1000000000;
constexpr int64_t kFieldLimit = 1000000000000;
constexpr double kSecondsLimit = 1e17;

double Clamp(double v, double limit) {
  if (std::isnan(v)) return 0;
  return std::clamp(v, -limit, limit);
}

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

}  // namespace

double Date::LocalOffsetAt(int64_t unixSeconds) {
  const time_t t = static_cast<time_t>(unixSeconds);
  struct tm local;
  if (localtime_r(&t, &local) == nullptr) return 0.0;
  return static_cast<double>(local.tm_gmtoff) / 3600.0;
}

Date::Date() {
  const int64_t now = std::chrono::duration_cast<std::chrono::seconds>(
                          std::chrono::system_clock::now().time_since_epoch())
                          .count();
  gmtOffset_ = LocalOffsetAt(now);
  totalSeconds_ = static_cast<double>(now) + kUnixEpochIn1904 + gmtOffset_ * 3600.0;
}

Date::Date(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute,
           int64_t second, double gmtOffset)
    : gmtOffset_(gmtOffset) {
  SetFields({year, month, day, hour, minute, second});
}

std::shared_ptr<Date> Date::Local(int64_t year, int64_t month, int64_t day, int64_t hour,
                                  int64_t minute, int64_t second) {
  auto date = std::make_shared<Date>(year, month, day, hour, minute, second, 0.0);
  // Fields read as GMT first; the zone's offset at that moment, applied twice, settles the
  // offset that holds at the local wall-clock time (a gap or a fold takes the later one).
  const double wall = date->totalSeconds_ - kUnixEpochIn1904;
  double offset = LocalOffsetAt(static_cast<int64_t>(wall));
  offset = LocalOffsetAt(static_cast<int64_t>(wall - offset * 3600.0));
  date->gmtOffset_ = offset;
  return date;
}

void Date::SetGMTOffset(double hours) {
  totalSeconds_ += (hours - gmtOffset_) * 3600.0;
  gmtOffset_ = hours;
}

Date::Fields Date::GetFields() const {
  const int64_t seconds = TruncateToInt64(std::floor(Clamp(totalSeconds_, kSecondsLimit)));
  const int64_t days = FloorDiv(seconds, 86400);
  const int64_t inDay = seconds - days * 86400;
  Fields f;
  CivilFromDays(days - kDaysFrom1904To1970, f.year, f.month, f.day);
  f.hour = inDay / 3600;
  f.minute = inDay / 60 % 60;
  f.second = inDay % 60;
  return f;
}

void Date::SetFields(const Fields& given) {
  Fields f = given;
  f.year = std::clamp<int64_t>(f.year, -kYearLimit, kYearLimit);
  for (int64_t* field : {&f.month, &f.day, &f.hour, &f.minute, &f.second}) {
    *field = std::clamp<int64_t>(*field, -kFieldLimit, kFieldLimit);
  }
  const int64_t days = DaysFromCivil(f.year, f.month, f.day) + kDaysFrom1904To1970;
  totalSeconds_ = static_cast<double>(days) * 86400.0 + static_cast<double>(f.hour) * 3600.0 +
                  static_cast<double>(f.minute) * 60.0 + static_cast<double>(f.second);
}

int64_t Date::Year() const { return GetFields().year; }
int64_t Date::Month() const { return GetFields().month; }
int64_t Date::Day() const { return GetFields().day; }
int64_t Date::Hour() const { return GetFields().hour; }
int64_t Date::Minute() const { return GetFields().minute; }
int64_t Date::Second() const { return GetFields().second; }

void Date::SetYear(int64_t v) { auto f = GetFields(); f.year = v; SetFields(f); }
void Date::SetMonth(int64_t v) { auto f = GetFields(); f.month = v; SetFields(f); }
void Date::SetDay(int64_t v) { auto f = GetFields(); f.day = v; SetFields(f); }
void Date::SetHour(int64_t v) { auto f = GetFields(); f.hour = v; SetFields(f); }
void Date::SetMinute(int64_t v) { auto f = GetFields(); f.minute = v; SetFields(f); }
void Date::SetSecond(int64_t v) { auto f = GetFields(); f.second = v; SetFields(f); }

}  // namespace grantwright
