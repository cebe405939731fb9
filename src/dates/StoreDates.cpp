#include "dates/StoreDates.h"

#include <cmath>

#include "platform/Exceptions.h"

namespace grantwright::CoreFoundationExtension {

DateRef ToRBDateZRN(const StoreDateRef& cfDate) {
  if (!cfDate || !cfDate->HasGregorianForm()) return nullptr;
  // Calendar fields in GMT with whole seconds: the seconds field lies in [0, 60), so
  // cutting its fraction is rounding the whole moment toward the past.
  auto date = std::make_shared<Date>(2001, 1, 1, 0, 0, 0, 0.0);
  date->SetTotalSeconds(date->TotalSeconds() + std::floor(cfDate->AbsoluteTime()));
  return date;
}

StoreDateRef ValueAsCFDateZRN(const DateRef& date) {
  // The epoch distance as Date counts it: 2001-01-01 00:00:00 as a local date, whose
  // TotalSeconds count from 1904-01-01 in that same zone.
  const double distance = Date::Local(2001, 1, 1, 0, 0, 0)->TotalSeconds();
  // Going to calendar fields in the date's own zone and back in that zone gives the same
  // absolute time, so the zone leaves the result as it is.
  return std::make_shared<StoreDate>(NonNil(date)->TotalSeconds() - distance);
}

}  // namespace grantwright::CoreFoundationExtension
