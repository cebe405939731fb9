#pragma once
// CorePreferences: the program's settings in the per-user preference store.
//
// The lower layer (AppGetKeyZRN, AppSetKeyZRN, AppRemoveKeyZRN, SynchronizeZRN) reads,
// writes, removes and flushes single keys through a PreferenceStore handle, always as
// current user and any host; values cross it through ValueAsRBZRN and ValueAsCFZRN. Every
// write and every removal is flushed at once. The upper layer holds the table of defaults
// and the typed reads and writes the rest of the program calls.
//
// A failed flush writes "CFPreferencesMBS: Failed to synchronize preferences between RAM
// and disk." to the system log and gives false; nothing is thrown for it.

#include "platform/Date.h"
#include "platform/Dictionary.h"
#include "platform/PreferenceStore.h"
#include "platform/String.h"
#include "platform/Variant.h"

namespace grantwright::CorePreferences {

// The program's own preference domain.
inline constexpr const char* kApplicationDomain = "com.tarnvale.Grantwright";

// Default value of each preference by key (keys compare ignoring case); nil before Load.
inline DictionaryRef dPreferenceDefaults;
// True once Load has flushed the store; set once, never cleared.
inline bool HasInitialized = false;

// ---- single keys ----
// Each raises NilObjectException for a nil `prefs`; exceptions of the conversions pass.

// The value stored under `key`, converted by ValueAsRBZRN; nil when none is stored. An
// empty domain and "NSGlobalDomain" (in any case) read the domain every program shares.
Variant AppGetKeyZRN(const PreferenceStoreRef& prefs, const String& applicationID,
                     const String& key);
// Stores `value` (converted by ValueAsCFZRN; a value without store form removes the key)
// under `key` in the domain as given, then flushes it: the flush's result.
bool AppSetKeyZRN(const PreferenceStoreRef& prefs, const String& applicationID, const String& key,
                  const Variant& value);
// Removes `key` from the domain as given, then flushes it: the flush's result (true also
// when the key was not there and the flush succeeded).
bool AppRemoveKeyZRN(const PreferenceStoreRef& prefs, const String& applicationID,
                     const String& key);
// Flushes the domain (an empty one: the shared domain) as any or current user and any or
// current host. False, after the log line above, when the store reports failure.
bool SynchronizeZRN(const PreferenceStoreRef& prefs, const String& applicationID, bool anyUser,
                    bool anyHost);

// Flushes the program's own domain, and when that fails tries once more through a fresh
// handle; when that fails too, "NSUserDefaultsMBS: Failed to synchronize preferences
// between RAM and disk." follows in the log. Nothing is returned or thrown.
void Synchronize();

// ---- defaults and typed values ----

// Starts the module once per process (later calls do nothing): the defaults are entered,
// the store is flushed, and true is stored under "NSApplicationShowExceptions" in the own
// domain. From the flush on HasInitialized is true and the typed reads consult the store;
// an exception before it leaves HasInitialized false.
void Load();

// Enters the defaults: "CheckUpdatesAtStartup" true, "ShowUnsupportedWarning" true,
// "ShowDebugMenu" false, "EnableLiveSearch" true, "ProxyPort" 80 (64-bit integer),
// "ResolveFileLocationsExtensively" false, "SoftwareUpdateLastMsg" "Not checked.".
void SetupGlobalDefaults();

// Sets the default of `key`, replacing an earlier one. NilObjectException before Load.
void SetPrefsDefaultValue(const String& key, const Variant& value);

// The stored value of `key` as a Boolean, else its default, else false. An empty
// `applicationID` means the own domain. Before Load the store is not read. Any
// RuntimeException on the way to the store's value ends in the fallback; a default that
// cannot be a Boolean raises TypeMismatchException.
bool GetPrefsBoolValue(const String& key, const String& applicationID);

// A new Date whose TotalSeconds is the stored number, else the default (which must be a
// Date or nil: TypeMismatchException otherwise), else `defaultValue` itself. Before Load:
// `defaultValue` alone.
DateRef GetPrefsDateValue(const String& key, const DateRef& defaultValue,
                          const String& applicationID);

// Stores `value` under `key` in the own domain, or removes the key when `remove` is true.
void SetPrefsValue(const String& key, bool value, bool remove);
// Stores `value`'s TotalSeconds (a Double) under `key` in the own domain; a nil `value`
// removes the key.
void SetPrefsValue(const String& key, const DateRef& value);

}  // namespace grantwright::CorePreferences
