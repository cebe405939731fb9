#pragma once
// ExtensionDate: the GMT time stamp text of the typed XML format.
//
// A stamp reads `<year>-<month>-<day>T<hour>:<minute>:<second>`, always in GMT. Fields
// have no fixed width ("2018-6-1T9:5:7" is "2018-06-01T09:05:07"); each is read with Val
// and cut toward zero, so a field without a number counts as 0 and a fraction of a second
// is dropped. Nothing after the second's number is read: a "Z" or "+02:00" changes
// nothing. A stamp without "T" is midnight GMT of its date. A leading "-" makes the year
// field empty and shifts the fields by one. Out-of-range fields carry over as Date's do
// (month 13 is January of the next year).

#include "platform/Date.h"
#include "platform/String.h"

namespace grantwright::ExtensionDate {

// The moment the stamp names, shown in the local zone: the result's GMTOffset is the
// local zone's offset at the present moment (TZ is honoured), and its fields are that
// moment's local time under this offset. nil for an empty stamp; never nil otherwise.
DateRef GMTTimeStampToLocalDateZRN(const String& stamp);

// The stamp of the moment `date` stands for, in GMT, zero-padded ("2018-06-01T09:05:07"):
// GMTTimeStampToLocalDateZRN of it gives the same moment back, to the second (a fraction
// is dropped toward the past). Years before 1 cannot be read back, since a stamp has no
// sign. A nil date raises NilObjectException.
String LocalDateToGMTTimeStampZRN(const DateRef& date);

}  // namespace grantwright::ExtensionDate
