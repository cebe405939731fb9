#pragma once
// LocalPreferences: where one program adds its own defaults and start-up reads to those of
// CorePreferences. CorePreferences.Load calls both; this helper has none of either.

namespace grantwright::LocalPreferences {

// Called by Load after the global defaults are entered, before the store is flushed.
void SetupLocalDefaults();
// Called by Load once the module counts as initialised, so it may read preferences.
void LoadLocalPreferences();

}  // namespace grantwright::LocalPreferences
