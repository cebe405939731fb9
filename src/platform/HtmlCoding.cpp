#include "platform/HtmlCoding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "platform/TextEncoding.h"
#include "platform/Utf8.h"

namespace grantwright {

namespace {

// The Latin-1 entity names in the order of their code points, from U+00A0.
constexpr std::array<std::string_view, 96> kLatin1Names = {
    "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",
    "uml",    "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",
    "deg",    "plusmn", "sup2",   "sup3",   "acute",  "micro",  "para",   "middot",
    "cedil",  "sup1",   "ordm",   "raquo",  "frac14", "frac12", "frac34", "iquest",
    "Agrave", "Aacute", "Acirc",  "Atilde", "Auml",   "Aring",  "AElig",  "Ccedil",
    "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave", "Iacute", "Icirc",  "Iuml",
    "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde", "Ouml",   "times",
    "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",  "szlig",
    "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
    "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",
    "eth",    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide",
    "oslash", "ugrave", "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml",
};

constexpr char32_t kReplacement = 0xFFFD;

// The code point a named reference stands for; -1 for an unknown name.
int32_t Named(std::string_view name) {
  if (name == "amp") return '&';
  if (name == "lt") return '<';
  if (name == "gt") return '>';
  if (name == "quot") return '"';
  if (name == "apos") return '\'';
  for (size_t i = 0; i < kLatin1Names.size(); ++i) {
    if (kLatin1Names[i] == name) return static_cast<int32_t>(0xA0 + i);
  }
  return -1;
}

// The code point of "#233" or "#xE9"; -1 when the text is no such number.
int32_t Numeric(std::string_view body) {
  const int32_t number = NumericReference(body);
  if (number < 0) return -1;
  return NamesCharacter(number) ? number : static_cast<int32_t>(kReplacement);
}

// References longer than this are no references ("&#x0000000041;" still is one).
constexpr size_t kLongestReference = 32;

}  // namespace

int32_t NumericReference(std::string_view body) {
  const bool hex = body.size() > 1 && (body[1] == 'x' || body[1] == 'X');
  const size_t start = hex ? 2 : 1;
  if (body.size() <= start || body[0] != '#') return -1;
  uint32_t value = 0;
  for (size_t i = start; i < body.size(); ++i) {
    const char c = body[i];
    uint32_t digit;
    if (c >= '0' && c <= '9') {
      digit = static_cast<uint32_t>(c - '0');
    } else if (hex && (c | 0x20) >= 'a' && (c | 0x20) <= 'f') {
      digit = static_cast<uint32_t>((c | 0x20) - 'a' + 10);
    } else {
      return -1;
    }
    // Anything past the Unicode range is out of range however long it goes on.
    value = std::min<uint32_t>(value * (hex ? 16 : 10) + digit, 0x110000);
  }
  return static_cast<int32_t>(value);
}

bool NamesCharacter(int32_t number) {
  return number > 0 && number <= 0x10FFFF && (number < 0xD800 || number > 0xDFFF);
}

String DecodingFromHTML(const String& text) {
  const String utf8 = ConvertEncoding(text, Encodings::UTF8());
  const std::string& source = utf8.Bytes();
  std::string out;
  out.reserve(source.size());
  size_t pos = 0;
  while (pos < source.size()) {
    const size_t amp = source.find('&', pos);
    if (amp == std::string::npos) break;
    out.append(source, pos, amp - pos);
    const size_t semi = source.find(';', amp + 1);
    int32_t cp = -1;
    if (semi != std::string::npos && semi - amp - 1 <= kLongestReference) {
      const std::string_view body(source.data() + amp + 1, semi - amp - 1);
      cp = !body.empty() && body[0] == '#' ? Numeric(body) : Named(body);
    }
    if (cp < 0) {
      out.push_back('&');
      pos = amp + 1;
      continue;
    }
    utf8::Append(out, static_cast<char32_t>(cp));
    pos = semi + 1;
  }
  out.append(source, pos, std::string::npos);
  return String(std::move(out));
}

}  // namespace grantwright
