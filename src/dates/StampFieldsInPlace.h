#pragma once
// Reading the fields of a GMT time stamp (ExtensionDate.h says how they read).

#include <string_view>

#include "platform/Date.h"

namespace grantwright::ExtensionDate {

// The moment the stamp text `utf8Stamp` names, shown in the zone `offsetHours` from GMT.
// Never nil.
DateRef StampToDate(std::string_view utf8Stamp, double offsetHours);

}  // namespace grantwright::ExtensionDate
