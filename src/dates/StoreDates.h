#pragma once
// The date conversions of CoreFoundationExtension: between the platform's Date (seconds
// since 1904-01-01 00:00:00 in the date's own zone) and the store's StoreDate (seconds
// since 2001-01-01 00:00:00 GMT).

#include "platform/Date.h"
#include "platform/StoreObject.h"

namespace grantwright::CoreFoundationExtension {

// The moment of `cfDate` as a Date in GMT (GMTOffset 0), built from its calendar fields in
// GMT with the fraction of the second dropped (toward the past). Nil for a nil `cfDate` and
// for a moment without calendar fields (not finite, or beyond about 31 million years).
DateRef ToRBDateZRN(const StoreDateRef& cfDate);

// The StoreDate whose absolute time is `date`'s TotalSeconds less the distance between
// the two epochs (3,061,152,000 seconds). For a date in GMT that is its true moment; for
// a date in another zone the zone's offset stays in, as TotalSeconds counts in that zone.
// A nil `date` raises NilObjectException.
StoreDateRef ValueAsCFDateZRN(const DateRef& date);

}  // namespace grantwright::CoreFoundationExtension
