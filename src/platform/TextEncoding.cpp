#include "platform/TextEncoding.h"

#include <utf8proc.h>

#include "platform/Utf8.h"

namespace grantwright {

namespace {

constexpr TextEncoding kUTF8(TextEncoding::Kind::UTF8, "UTF-8");
constexpr TextEncoding kUTF16(TextEncoding::Kind::UTF16, "UTF-16");
constexpr TextEncoding kUTF16LE(TextEncoding::Kind::UTF16LE, "UTF-16LE");
constexpr TextEncoding kUTF16BE(TextEncoding::Kind::UTF16BE, "UTF-16BE");
constexpr TextEncoding kUTF32LE(TextEncoding::Kind::UTF32LE, "UTF-32LE");
constexpr TextEncoding kUTF32BE(TextEncoding::Kind::UTF32BE, "UTF-32BE");
constexpr TextEncoding kASCII(TextEncoding::Kind::ASCII, "US-ASCII");
constexpr TextEncoding kWindows1252(TextEncoding::Kind::Windows1252, "windows-1252");

// windows-1252 bytes 0x80 to 0x9F. The five bytes the code page leaves undefined keep
// their C1 control value, so every byte has a character.
constexpr char16_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char32_t Windows1252ToUnicode(unsigned char byte) {
  return (byte >= 0x80 && byte <= 0x9F) ? kWindows1252High[byte - 0x80] : byte;
}

// The code point is one that real text holds: assigned, not a noncharacter, not
// private-use, and no C0 control but TAB, LF and CR.
bool IsTextCodePoint(uint32_t cp) {
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
  if (cp < 0x20) return cp == '\t' || cp == '\n' || cp == '\r';
  if ((cp >= 0xFDD0 && cp <= 0xFDEF) || (cp & 0xFFFE) == 0xFFFE) return false;
  const utf8proc_category_t category = utf8proc_category(static_cast<utf8proc_int32_t>(cp));
  return category != UTF8PROC_CATEGORY_CN && category != UTF8PROC_CATEGORY_CO;
}

bool IsValidUtf16(std::string_view bytes, bool littleEndian) {
  if (bytes.size() % 2 != 0) return false;
  bool holdsLatin1 = bytes.empty();
  const auto unit = [&](size_t i) -> uint32_t {
    const auto b0 = static_cast<unsigned char>(bytes[i]);
    const auto b1 = static_cast<unsigned char>(bytes[i + 1]);
    return littleEndian ? (b1 << 8 | b0) : (b0 << 8 | b1);
  };
  for (size_t i = 0; i < bytes.size(); i += 2) {
    uint32_t cp = unit(i);
    if (cp >= 0xDC00 && cp <= 0xDFFF) return false;
    if (cp >= 0xD800 && cp <= 0xDBFF) {
      if (i + 2 >= bytes.size()) return false;
      const uint32_t low = unit(i + 2);
      if (low < 0xDC00 || low > 0xDFFF) return false;
      cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
      i += 2;
    }
    if (!IsTextCodePoint(cp)) return false;
    holdsLatin1 |= cp < 0x100;
  }
  return holdsLatin1;
}

bool IsValidUtf32(std::string_view bytes, bool littleEndian) {
  if (bytes.size() % 4 != 0) return false;
  for (size_t i = 0; i < bytes.size(); i += 4) {
    uint32_t cp = 0;
    for (int k = 0; k < 4; ++k) {
      const auto b = static_cast<unsigned char>(bytes[i + (littleEndian ? 3 - k : k)]);
      cp = cp << 8 | b;
    }
    if (!IsTextCodePoint(cp)) return false;
  }
  return true;
}

size_t CodeUnitSize(const TextEncoding* encoding) {
  switch (encoding->kind()) {
    case TextEncoding::Kind::UTF16:
    case TextEncoding::Kind::UTF16LE:
    case TextEncoding::Kind::UTF16BE:
      return 2;
    case TextEncoding::Kind::UTF32LE:
    case TextEncoding::Kind::UTF32BE:
      return 4;
    default:
      return 1;
  }
}

// UTF-16 and UTF-32 are decoded and encoded here rather than through iconv: the helper is
// linked statically, and glibc's iconv loads these converters as shared modules at run time.
// That load costs page faults on every run that reads such a configuration, and when memory
// runs short it fails with an error that cannot be told from "no such conversion", which
// would blame the file for what is an out-of-memory condition.

struct WideForm {
  size_t unit;  // 2 or 4
  bool littleEndian;
};

WideForm FormOf(const TextEncoding* encoding) {
  switch (encoding->kind()) {
    case TextEncoding::Kind::UTF16LE:
      return {2, true};
    case TextEncoding::Kind::UTF32LE:
      return {4, true};
    case TextEncoding::Kind::UTF32BE:
      return {4, false};
    default:  // UTF-16 without a mark, and UTF-16BE
      return {2, false};
  }
}

uint32_t ReadUnit(std::string_view bytes, size_t at, WideForm form) {
  uint32_t value = 0;
  for (size_t k = 0; k < form.unit; ++k) {
    const auto b = static_cast<unsigned char>(bytes[at + (form.littleEndian ? form.unit - 1 - k : k)]);
    value = value << 8 | b;
  }
  return value;
}

void AppendUnit(std::string& out, uint32_t value, WideForm form) {
  for (size_t k = 0; k < form.unit; ++k) {
    const size_t shift = 8 * (form.littleEndian ? k : form.unit - 1 - k);
    out.push_back(static_cast<char>(value >> shift & 0xFF));
  }
}

// UTF-16/32 to UTF-8. "UTF-16" takes its order from a leading mark, which is not text.
// A unit that is no character (an unpaired surrogate, a value above U+10FFFF, a cut unit at
// the end) becomes U+FFFD and is passed over one unit at a time.
std::string DecodeWide(std::string_view bytes, const TextEncoding* from) {
  WideForm form = FormOf(from);
  size_t pos = 0;
  if (from->kind() == TextEncoding::Kind::UTF16 && bytes.size() >= 2) {
    const auto b0 = static_cast<unsigned char>(bytes[0]);
    const auto b1 = static_cast<unsigned char>(bytes[1]);
    if ((b0 == 0xFF && b1 == 0xFE) || (b0 == 0xFE && b1 == 0xFF)) {
      form.littleEndian = b0 == 0xFF;
      pos = 2;
    }
  }
  std::string out;
  out.reserve(bytes.size());
  while (pos < bytes.size()) {
    if (bytes.size() - pos < form.unit) {
      utf8::Append(out, 0xFFFD);
      break;
    }
    uint32_t cp = ReadUnit(bytes, pos, form);
    pos += form.unit;
    if (form.unit == 2 && cp >= 0xD800 && cp <= 0xDBFF && bytes.size() - pos >= 2) {
      const uint32_t low = ReadUnit(bytes, pos, form);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
        pos += 2;
      }
    }
    const bool character = cp <= 0x10FFFF && (cp < 0xD800 || cp > 0xDFFF);
    utf8::Append(out, character ? cp : 0xFFFD);
  }
  return out;
}

// Valid UTF-8 to UTF-16/32; "UTF-16" is written with a mark, little-endian.
std::string EncodeWide(std::string_view utf8Text, const TextEncoding* to) {
  WideForm form = FormOf(to);
  std::string out;
  out.reserve(utf8Text.size() * form.unit + 2);
  if (to->kind() == TextEncoding::Kind::UTF16 && !utf8Text.empty()) {
    form.littleEndian = true;
    AppendUnit(out, 0xFEFF, form);
  }
  size_t pos = 0;
  while (pos < utf8Text.size()) {
    int32_t cp = utf8::Next(utf8Text, pos);
    if (cp < 0) cp = '?';  // the text comes from ToUtf8, so this guards the impossible
    const auto value = static_cast<uint32_t>(cp);
    if (form.unit == 2 && value >= 0x10000) {
      AppendUnit(out, 0xD800 + ((value - 0x10000) >> 10), form);
      AppendUnit(out, 0xDC00 + ((value - 0x10000) & 0x3FF), form);
    } else {
      AppendUnit(out, value, form);
    }
  }
  return out;
}

std::string ToUtf8(const String& text) {
  const std::string& bytes = text.Bytes();
  const TextEncoding* from = text.Encoding();
  switch (from->kind()) {
    case TextEncoding::Kind::UTF8:
      return utf8::Sanitized(bytes);
    case TextEncoding::Kind::ASCII: {
      std::string out;
      out.reserve(bytes.size());
      for (unsigned char c : bytes) {
        if (c < 0x80) {
          out.push_back(static_cast<char>(c));
        } else {
          utf8::Append(out, 0xFFFD);
        }
      }
      return out;
    }
    case TextEncoding::Kind::Windows1252: {
      std::string out;
      out.reserve(bytes.size());
      for (unsigned char c : bytes) utf8::Append(out, Windows1252ToUnicode(c));
      return out;
    }
    default:
      return DecodeWide(bytes, from);
  }
}

std::string FromUtf8(const std::string& utf8Text, const TextEncoding* to) {
  switch (to->kind()) {
    case TextEncoding::Kind::UTF8:
      return utf8Text;
    case TextEncoding::Kind::ASCII:
    case TextEncoding::Kind::Windows1252: {
      std::string out;
      out.reserve(utf8Text.size());
      size_t pos = 0;
      while (pos < utf8Text.size()) {
        const int32_t cp = utf8::Next(utf8Text, pos);
        char byte = '?';
        if (cp >= 0 && cp < 0x80) {
          byte = static_cast<char>(cp);
        } else if (cp >= 0 && to->kind() == TextEncoding::Kind::Windows1252) {
          for (int b = 0x80; b <= 0xFF; ++b) {
            if (Windows1252ToUnicode(static_cast<unsigned char>(b)) == static_cast<char32_t>(cp)) {
              byte = static_cast<char>(b);
              break;
            }
          }
        }
        out.push_back(byte);
      }
      return out;
    }
    default:
      return EncodeWide(utf8Text, to);
  }
}

}  // namespace

bool TextEncoding::IsUnicode() const {
  return kind_ != Kind::ASCII && kind_ != Kind::Windows1252;
}

bool TextEncoding::IsValidData(std::string_view bytes) const {
  switch (kind_) {
    case Kind::UTF8:
      return utf8::IsValid(bytes);
    case Kind::ASCII:
      return utf8::IsAscii(bytes);
    case Kind::Windows1252:
      return true;
    case Kind::UTF16LE:
      return IsValidUtf16(bytes, /*littleEndian=*/true);
    case Kind::UTF16BE:
      return IsValidUtf16(bytes, /*littleEndian=*/false);
    case Kind::UTF16:
      if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
          static_cast<unsigned char>(bytes[1]) == 0xFE) {
        return IsValidUtf16(bytes.substr(2), /*littleEndian=*/true);
      }
      if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFE &&
          static_cast<unsigned char>(bytes[1]) == 0xFF) {
        return IsValidUtf16(bytes.substr(2), /*littleEndian=*/false);
      }
      return IsValidUtf16(bytes, /*littleEndian=*/false);
    case Kind::UTF32LE:
      return IsValidUtf32(bytes, /*littleEndian=*/true);
    case Kind::UTF32BE:
      return IsValidUtf32(bytes, /*littleEndian=*/false);
  }
  return false;
}

namespace Encodings {
const TextEncoding* UTF8() { return &kUTF8; }
const TextEncoding* UTF16() { return &kUTF16; }
const TextEncoding* UTF16LE() { return &kUTF16LE; }
const TextEncoding* UTF16BE() { return &kUTF16BE; }
const TextEncoding* UTF32LE() { return &kUTF32LE; }
const TextEncoding* UTF32BE() { return &kUTF32BE; }
const TextEncoding* ASCII() { return &kASCII; }
const TextEncoding* SystemDefault() { return &kWindows1252; }
}  // namespace Encodings

String DefineEncoding(const String& text, const TextEncoding* encoding) {
  return String(text.Bytes(), encoding);
}

String ConvertEncoding(const String& text, const TextEncoding* encoding) {
  if (text.Encoding() == nullptr || encoding == nullptr) return text;
  if (text.Encoding() == encoding && encoding->kind() != TextEncoding::Kind::UTF8) return text;
  return String(FromUtf8(ToUtf8(text), encoding), encoding);
}

String ReplaceLineEndings(const String& text, const String& lineEnding) {
  const TextEncoding* tag = text.Encoding();
  const bool wide = tag != nullptr && CodeUnitSize(tag) > 1;
  const std::string bytes = wide ? ToUtf8(text) : text.Bytes();
  const std::string ending = wide ? lineEnding.Utf8() : lineEnding.Bytes();
  std::string out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\r') {
      if (i + 1 < bytes.size() && bytes[i + 1] == '\n') ++i;
      out += ending;
    } else if (bytes[i] == '\n') {
      out += ending;
    } else {
      out.push_back(bytes[i]);
    }
  }
  return wide ? String(FromUtf8(out, tag), tag) : String(std::move(out), tag);
}

}  // namespace grantwright
