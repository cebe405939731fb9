#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>
#include <string>

#include "dates/ExtensionDate.h"
#include "support/TestSupport.h"

namespace grantwright {
namespace {

using ExtensionDate::GMTTimeStampToLocalDateZRN;

// Pins the local zone for the lifetime of the object (every test here pins its own).
struct ZoneGuard {
  explicit ZoneGuard(const char* zone) : env("TZ", zone) { tzset(); }
  testing::ScopedEnv env;
};

// Seconds since 1904-01-01 GMT of a GMT calendar moment, by the C library.
double Moment(int year, int month, int day, int hour, int minute, int second) {
  struct tm t = {};
  t.tm_year = year - 1900;
  t.tm_mon = month - 1;
  t.tm_mday = day;
  t.tm_hour = hour;
  t.tm_min = minute;
  t.tm_sec = second;
  return static_cast<double>(timegm(&t)) + Date::kUnixEpochIn1904;
}

// The local zone's offset in hours at the present moment, by the C library.
double OffsetNow() {
  const time_t now = time(nullptr);
  struct tm local;
  localtime_r(&now, &local);
  return static_cast<double>(local.tm_gmtoff) / 3600.0;
}

TEST(GMTTimeStamp, NamesTheSameMomentInEveryZone) {
  struct Case {
    const char* stamp;
    double moment;
  };
  const Case cases[] = {
      {"2018-6-1T9:5:7", Moment(2018, 6, 1, 9, 5, 7)},
      {"2018-01-15T23:30:00", Moment(2018, 1, 15, 23, 30, 0)},  // winter: far side of DST
      {"2018-07-15T02:30:00", Moment(2018, 7, 15, 2, 30, 0)},   // summer: far side of DST
      {"2018-03-11T07:30:00", Moment(2018, 3, 11, 7, 30, 0)},   // in New York's spring gap
      {"2018-06-01T12:30:05Z", Moment(2018, 6, 1, 12, 30, 5)},
      {"2018-06-01T12:30:05+02:00", Moment(2018, 6, 1, 12, 30, 5)},
      {"2018-06-01T12:30:05.9", Moment(2018, 6, 1, 12, 30, 5)},
      {"2018-06-01T12:30", Moment(2018, 6, 1, 12, 30, 0)},
      {"2018-06-01", Moment(2018, 6, 1, 0, 0, 0)},
      {"2018-02-31T00:00:00", Moment(2018, 3, 3, 0, 0, 0)},  // carries over, never via today
      // The year field is empty, so year 0, month 2018, day 6: February of the year 168.
      {"-2018-06-01T01:02:03", Moment(168, 2, 6, 1, 2, 3)},
  };
  for (const char* zone : {"UTC", "America/New_York", "Asia/Kolkata", "Etc/GMT-2"}) {
    const ZoneGuard guard(zone);
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(zone) + " " + c.stamp);
      const DateRef date = GMTTimeStampToLocalDateZRN(c.stamp);
      ASSERT_NE(date, nullptr);
      EXPECT_DOUBLE_EQ(date->MomentSeconds(), c.moment);
      EXPECT_DOUBLE_EQ(date->GMTOffset(), OffsetNow());
      EXPECT_DOUBLE_EQ(date->TotalSeconds(), c.moment + OffsetNow() * 3600.0);
    }
  }
}

TEST(GMTTimeStamp, GivesNilOnlyForEmptyText) {
  const ZoneGuard guard("Etc/GMT-2");  // two hours east of GMT all year
  EXPECT_EQ(GMTTimeStampToLocalDateZRN("2018-06-01T12:30:05")->Hour(), 14);
  EXPECT_EQ(GMTTimeStampToLocalDateZRN(""), nullptr);
  // Split on "t" too ("no s", "amp"): every field is 0, and 0000-00-00 carries back.
  const DateRef garbage = GMTTimeStampToLocalDateZRN("no stamp");
  ASSERT_NE(garbage, nullptr);
  EXPECT_EQ(garbage->Year() * 10000 + garbage->Month() * 100 + garbage->Day(), -10000 + 1130);
}

}  // namespace
}  // namespace grantwright
