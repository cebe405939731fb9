#include "prefs/CorePreferences.h"

#include "convert/CoreFoundationExtension.h"
#include "platform/Exceptions.h"
#include "platform/Log.h"
#include "prefs/LocalPreferences.h"

namespace grantwright::CorePreferences {

using CoreFoundationExtension::ValueAsCFZRN;
using CoreFoundationExtension::ValueAsRBZRN;

namespace {

PreferenceStoreRef NewStore() { return std::make_shared<PreferenceStore>(); }

}  // namespace

Variant AppGetKeyZRN(const PreferenceStoreRef& prefs, const String& applicationID,
                     const String& key) {
  NonNil(prefs);
  String domain = applicationID;
  if (domain.IsEmpty() || domain == "NSGlobalDomain")
    domain = PreferenceStore::AnyApplication()->Str();
  const StoreStringRef cfKey = StoreString::New(key);
  const StoreStringRef cfDomain = StoreString::New(domain);
  const StoreObjectRef value =
      prefs->CopyValue(cfKey, cfDomain, PreferenceStore::CurrentUser(), PreferenceStore::AnyHost());
  if (!value) return nullptr;
  return ValueAsRBZRN(value);
}

bool AppSetKeyZRN(const PreferenceStoreRef& prefs, const String& applicationID, const String& key,
                  const Variant& value) {
  NonNil(prefs);
  const StoreStringRef cfKey = StoreString::New(key);
  const StoreObjectRef cfValue = ValueAsCFZRN(value);
  const StoreStringRef cfDomain = StoreString::New(applicationID);
  prefs->SetValue(cfKey, cfValue, cfDomain, PreferenceStore::CurrentUser(),
                  PreferenceStore::AnyHost());
  return SynchronizeZRN(prefs, applicationID, /*anyUser=*/false, /*anyHost=*/true);
}

bool AppRemoveKeyZRN(const PreferenceStoreRef& prefs, const String& applicationID,
                     const String& key) {
  NonNil(prefs);
  auto keys = std::make_shared<StoreArray>();
  keys->Append(StoreString::New(key));
  const StoreStringRef cfDomain = StoreString::New(applicationID);
  prefs->SetMultiple(nullptr, keys, cfDomain, PreferenceStore::CurrentUser(),
                     PreferenceStore::AnyHost());
  return SynchronizeZRN(prefs, applicationID, /*anyUser=*/false, /*anyHost=*/true);
}

bool SynchronizeZRN(const PreferenceStoreRef& prefs, const String& applicationID, bool anyUser,
                    bool anyHost) {
  NonNil(prefs);
  const StoreStringRef domain =
      applicationID.IsEmpty() ? PreferenceStore::AnyApplication() : StoreString::New(applicationID);
  const StoreStringRef user = anyUser ? PreferenceStore::AnyUser() : PreferenceStore::CurrentUser();
  const StoreStringRef host = anyHost ? PreferenceStore::AnyHost() : PreferenceStore::CurrentHost();
  if (prefs->Synchronize(domain, user, host)) return true;
  System::DebugLog("CFPreferencesMBS: Failed to synchronize preferences between RAM and disk.");
  return false;
}

void Synchronize() {
  if (SynchronizeZRN(NewStore(), kApplicationDomain, /*anyUser=*/false, /*anyHost=*/true)) return;
  // The application's defaults live in the same store here, so the fallback is a second
  // attempt through a fresh handle; a passing hindrance (a folder made meanwhile, a lock
  // released) may let it through.
  const PreferenceStoreRef defaults = NewStore();
  if (!defaults->Synchronize(StoreString::New(kApplicationDomain), PreferenceStore::CurrentUser(),
                             PreferenceStore::AnyHost())) {
    System::DebugLog("NSUserDefaultsMBS: Failed to synchronize preferences between RAM and disk.");
  }
}

void Load() {
  if (HasInitialized) return;
  dPreferenceDefaults = std::make_shared<Dictionary>();
  SetupGlobalDefaults();
  LocalPreferences::SetupLocalDefaults();
  Synchronize();
  HasInitialized = true;
  LocalPreferences::LoadLocalPreferences();
  SetPrefsValue("NSApplicationShowExceptions", true, /*remove=*/false);
}

void SetupGlobalDefaults() {
  SetPrefsDefaultValue("CheckUpdatesAtStartup", true);
  SetPrefsDefaultValue("ShowUnsupportedWarning", true);
  SetPrefsDefaultValue("ShowDebugMenu", false);
  SetPrefsDefaultValue("EnableLiveSearch", true);
  SetPrefsDefaultValue("ProxyPort", int64_t{80});
  SetPrefsDefaultValue("ResolveFileLocationsExtensively", false);
  SetPrefsDefaultValue("SoftwareUpdateLastMsg", "Not checked.");
}

void SetPrefsDefaultValue(const String& key, const Variant& value) {
  NonNil(dPreferenceDefaults)->SetValue(key, value);
}

bool GetPrefsBoolValue(const String& key, const String& applicationID) {
  // Stored value, then the defaults table, then false. Before Load the store is not read.
  if (HasInitialized) {
    try {
      const String domain = applicationID.IsEmpty() ? String(kApplicationDomain) : applicationID;
      const Variant stored = AppGetKeyZRN(NewStore(), domain, key);
      if (!stored.IsNil()) return stored.BooleanValue();
    } catch (const RuntimeException&) {
      // A value that cannot be read or be a Boolean falls to the defaults.
    }
  }
  if (dPreferenceDefaults && dPreferenceDefaults->HasKey(key)) {
    return dPreferenceDefaults->Value(key).BooleanValue();
  }
  return false;
}

DateRef GetPrefsDateValue(const String& key, const DateRef& defaultValue,
                          const String& applicationID) {
  if (!HasInitialized) return defaultValue;
  try {
    const String domain = applicationID.IsEmpty() ? String(kApplicationDomain) : applicationID;
    const Variant stored = AppGetKeyZRN(NewStore(), domain, key);
    if (!stored.IsNil()) {
      auto date = std::make_shared<Date>();
      date->SetTotalSeconds(stored.DoubleValue());
      return date;
    }
  } catch (const RuntimeException&) {
    // A value that cannot be read or be a number falls to the defaults.
  }
  if (dPreferenceDefaults && dPreferenceDefaults->HasKey(key)) {
    const Variant fallback = dPreferenceDefaults->Value(key);
    if (fallback.IsNil()) return nullptr;
    if (auto date = fallback.ObjectAs<Date>()) return date;
    throw TypeMismatchException("Type mismatch: the default is no Date");
  }
  return defaultValue;
}

void SetPrefsValue(const String& key, bool value, bool remove) {
  const PreferenceStoreRef prefs = NewStore();
  if (remove) {
    AppRemoveKeyZRN(prefs, kApplicationDomain, key);
  } else {
    AppSetKeyZRN(prefs, kApplicationDomain, key, value);
  }
}

void SetPrefsValue(const String& key, const DateRef& value) {
  const PreferenceStoreRef prefs = NewStore();
  if (!value) {
    AppRemoveKeyZRN(prefs, kApplicationDomain, key);
  } else {
    AppSetKeyZRN(prefs, kApplicationDomain, key, value->TotalSeconds());
  }
}

}  // namespace grantwright::CorePreferences
