#include <gtest/gtest.h>
#include <time.h>

#include <chrono>
#include <string>
#include <utility>

#include "dates/ExtensionDate.h"
#include "support/TestSupport.h"

namespace grantwright {
namespace {

using ExtensionDate::GMTTimeStampToLocalDateZRN;

// Seconds since 1904-01-01 GMT of a GMT calendar moment, by the standard library.
double Moment(int year, unsigned month, unsigned day, int hour, int minute, int second) {
  using namespace std::chrono;
  const sys_seconds moment = sys_days{std::chrono::year{year} / month / day} + hours{hour} +
                             minutes{minute} + seconds{second};
  return static_cast<double>(moment.time_since_epoch().count()) + Date::kUnixEpochIn1904;
}

// The local zone's offset in hours at the present moment, by the C library.
double OffsetNow() {
  const time_t now = time(nullptr);
  struct tm local;
  return static_cast<double>(localtime_r(&now, &local)->tm_gmtoff) / 3600.0;
}

// Every stamp names its GMT moment, shown under the zone's present offset; only empty
// text gives nil.
TEST(GMTTimeStamp, NamesTheSameMomentInEveryZone) {
  const std::pair<const char*, double> cases[] = {
      {"2018-6-1T9:5:7", Moment(2018, 6, 1, 9, 5, 7)},
      {"2018-01-15T23:30:00", Moment(2018, 1, 15, 23, 30, 0)},  // winter: far side of DST
      {"2018-07-15T02:30:00", Moment(2018, 7, 15, 2, 30, 0)},   // summer: far side of DST
      {"2018-03-11T07:30:00", Moment(2018, 3, 11, 7, 30, 0)},   // in New York's spring gap
      {"2018-06-01T12:30:05+02:00", Moment(2018, 6, 1, 12, 30, 5)},
      {"2018-06-01T12:30:05.9", Moment(2018, 6, 1, 12, 30, 5)},
      {"2018-06-01", Moment(2018, 6, 1, 0, 0, 0)},
      {"2018-02-31T00:00:00", Moment(2018, 3, 3, 0, 0, 0)},  // carries over, never via today
      // The year field is empty, so year 0, month 2018, day 6: February of the year 168.
      {"-2018-06-01T01:02:03", Moment(168, 2, 6, 1, 2, 3)},
      // Split on "t" too: every field is 0, and 0000-00-00 carries back a month and a day.
      {"no stamp", Moment(-1, 11, 30, 0, 0, 0)},
  };
  for (const char* zone : {"UTC", "America/New_York", "Asia/Kolkata"}) {
    const testing::ScopedEnv pinned("TZ", zone);
    tzset();
    EXPECT_EQ(GMTTimeStampToLocalDateZRN(""), nullptr);
    for (const auto& [stamp, moment] : cases) {
      SCOPED_TRACE(std::string(zone) + " " + stamp);
      const DateRef date = GMTTimeStampToLocalDateZRN(stamp);
      ASSERT_NE(date, nullptr);
      EXPECT_DOUBLE_EQ(date->MomentSeconds(), moment);
      EXPECT_DOUBLE_EQ(date->GMTOffset(), OffsetNow());
    }
  }
}

}  // namespace
}  // namespace grantwright
