#pragma once
// Base64 (the standard alphabet, with "=" padding), as binary data is written in text.

#include <string>
#include <string_view>

namespace grantwright {

// Appends the base64 text of `bytes` to `out`.
void AppendBase64(std::string_view bytes, std::string& out);

// Appends the bytes the base64 `text` stands for to `out`. Blanks and line ends anywhere
// are skipped; padding is optional. False for any other character outside the alphabet,
// for text after padding, and for a lone last character (which holds no whole byte).
bool DecodeBase64(std::string_view text, std::string& out);

}  // namespace grantwright
