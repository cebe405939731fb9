#include "platform/UrlCoding.h"

#include "platform/TextEncoding.h"

namespace grantwright {

namespace {

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         c == '-' || c == '_' || c == '.' || c == '~';
}

}  // namespace

String EncodingToURL(const String& text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.LenB() * 3);
  for (unsigned char c : text.Bytes()) {
    if (IsUnreserved(c)) {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back('%');
      out.push_back(kHex[c >> 4]);
      out.push_back(kHex[c & 0xF]);
    }
  }
  return String(std::move(out), Encodings::UTF8());
}

String DecodingFromURL(const String& text) { return String(DecodedURLBytes(text.Bytes()), nullptr); }

}  // namespace grantwright
