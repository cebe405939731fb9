#pragma once
// UTF-8 primitives shared by the text code of the platform layer.

#include <cstdint>
#include <string>
#include <string_view>

namespace grantwright::utf8 {

// Decodes the code point that starts at `pos`. On success returns it and advances `pos`
// past it; on a malformed sequence (overlong, surrogate, above U+10FFFF, truncated)
// returns -1 and advances `pos` by one byte.
int32_t Next(std::string_view bytes, size_t& pos);

void Append(std::string& out, char32_t codePoint);

// Where the first malformed sequence starts; npos when there is none.
size_t FirstInvalid(std::string_view bytes);
inline bool IsValid(std::string_view bytes) { return FirstInvalid(bytes) == std::string_view::npos; }

// Every malformed byte replaced by U+FFFD.
std::string Sanitized(std::string_view bytes);

inline bool IsAscii(std::string_view bytes) {
  for (unsigned char c : bytes) {
    if (c >= 0x80) return false;
  }
  return true;
}

}  // namespace grantwright::utf8
