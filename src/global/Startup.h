#pragma once
// Startup: the state a program sets up when it starts.

namespace grantwright::Startup {

// The debug switch. Nothing in the helper sets it, so there it is always false; a program
// that uses the library may set it before doing its work.
inline bool CachedDebugMode = false;

}  // namespace grantwright::Startup
