#include "prefs/LocalPreferences.h"

namespace grantwright::LocalPreferences {

// The helper keeps no settings of its own beyond the global table.
void SetupLocalDefaults() {}

void LoadLocalPreferences() {}

}  // namespace grantwright::LocalPreferences
