// The URL and HTML decoders: any bytes as the text of an encoded configuration value.
//
// Properties: the URL decoder reads any bytes as a plain byte-by-byte reading does;
// decoding what the URL encoder wrote gives back the bytes byte for byte, and the encoder
// writes only unreserved characters and escapes; DecodingFromURLZRN always
// gives valid UTF-8 without NUL; on valid UTF-8 the HTML decoder gives valid UTF-8, never
// lengthens the text, and leaves text without "&" alone.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "convert/UniversalExtension.h"
#include "platform/HtmlCoding.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"
#include "platform/Utf8.h"

// Names the property that failed before stopping, so a reproducer explains itself.
#define Check(condition) \
  ((condition) ? (void)0 : (std::fprintf(stderr, "property failed: %s\n", #condition), std::abort()))

namespace {

// Escapes read one byte at a time: what the word-at-a-time decoder must agree with.
std::string PlainDecoded(const std::string& in) {
  const auto hex = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  std::string out;
  for (size_t i = 0; i < in.size(); ++i) {
    if (in[i] == '%' && i + 2 < in.size() && hex(in[i + 1]) >= 0 && hex(in[i + 2]) >= 0) {
      out.push_back(static_cast<char>(hex(in[i + 1]) << 4 | hex(in[i + 2])));
      i += 2;
    } else {
      out.push_back(in[i]);
    }
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace grantwright;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const String untagged(bytes, nullptr);

  const String encoded = EncodingToURL(untagged);
  Check(encoded.Bytes().find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                          "0123456789-_.~%") == std::string::npos);
  Check(DecodingFromURL(encoded).Bytes() == bytes);

  const String decoded = DecodingFromURL(untagged);
  Check(decoded.Bytes() == PlainDecoded(bytes));
  Check(decoded.Bytes().size() <= bytes.size());
  const String text = UniversalExtension::DecodingFromURLZRN(untagged);
  Check(text.Encoding() == Encodings::UTF8());
  Check(utf8::IsValid(text.Bytes()));
  Check(text.Bytes().find('\0') == std::string::npos);

  const String html = DecodingFromHTML(String(bytes, Encodings::UTF8()));
  Check(html.Encoding() == Encodings::UTF8());
  if (utf8::IsValid(bytes)) {
    Check(utf8::IsValid(html.Bytes()));
    Check(html.Bytes().size() <= bytes.size());
    if (bytes.find('&') == std::string::npos) Check(html.Bytes() == bytes);
  }
  return 0;
}
