#include "platform/String.h"

#include <utf8proc.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cmath>
#include <cstring>

#include "platform/TextEncoding.h"
#include "platform/Utf8.h"

namespace grantwright {

const char* const EndOfLine = "\n";

String::String(const char* utf8) : bytes_(utf8 ? utf8 : ""), encoding_(Encodings::UTF8()) {}
String::String(std::string utf8) : bytes_(std::move(utf8)), encoding_(Encodings::UTF8()) {}
String::String(std::string_view utf8) : bytes_(utf8), encoding_(Encodings::UTF8()) {}
String::String(std::string bytes, const TextEncoding* encoding)
    : bytes_(std::move(bytes)), encoding_(encoding) {}

namespace {

// Tagged text is read as Unicode characters (a windows-1252 byte is one character either
// way); untagged bytes are characters one by one.
bool ReadsAsUnicode(const String& s) { return s.Encoding() != nullptr; }

// The bytes that stand for the text in UTF-8 form, without copying when they already are.
struct Utf8View {
  Utf8View(const Utf8View&) = delete;
  Utf8View& operator=(const Utf8View&) = delete;
  explicit Utf8View(const String& s) {
    const TextEncoding* e = s.Encoding();
    if (e == nullptr || e == Encodings::UTF8() || e == Encodings::ASCII()) {
      view = s.Bytes();
    } else {
      owned = ConvertEncoding(s, Encodings::UTF8()).Bytes();
      view = owned;
    }
  }
  std::string owned;
  std::string_view view;
};

// Simple case folding: the lower case of the upper case maps every member of a case class
// (k, K, KELVIN SIGN; s, S, LONG S; sigma and final sigma) to one code point.
int32_t Fold(int32_t cp) {
  if (cp < 0x80) return (cp >= 'A' && cp <= 'Z') ? cp + 32 : cp;
  return utf8proc_tolower(utf8proc_toupper(cp));
}

// The text as a sequence of folded characters with the byte offset where each starts.
// Characters are code points for Unicode text and bytes otherwise; a malformed UTF-8 byte
// is a character of its own that matches only itself.
struct FoldedText {
  FoldedText(std::string_view bytes, bool unicode) : bytes(bytes) {
    size_t pos = 0;
    while (pos < bytes.size()) {
      offsets.push_back(pos);
      const auto c = static_cast<unsigned char>(bytes[pos]);
      if (!unicode || c < 0x80) {
        chars.push_back(Fold(c));
        ++pos;
        continue;
      }
      const int32_t cp = utf8::Next(bytes, pos);
      chars.push_back(cp < 0 ? -1 - static_cast<int32_t>(c) : Fold(cp));
    }
    offsets.push_back(bytes.size());
  }
  std::string_view bytes;
  std::vector<int32_t> chars;
  std::vector<size_t> offsets;  // one more than chars: the end
};

// Index (in characters) of the first match of `find` at or after character `from`, or -1.
int64_t FindFolded(const FoldedText& text, const FoldedText& find, size_t from) {
  const size_t n = text.chars.size();
  const size_t m = find.chars.size();
  if (m == 0 || m > n) return -1;
  for (size_t i = from; i + m <= n; ++i) {
    if (std::memcmp(&text.chars[i], find.chars.data(), m * sizeof(int32_t)) == 0) {
      return static_cast<int64_t>(i);
    }
  }
  return -1;
}

struct Prepared {
  Prepared(const String& s, bool unicode) : view(s), folded(view.view, unicode) {}
  Utf8View view;
  FoldedText folded;
};

// Result tag of operations that cut pieces out of a text read as UTF-8.
const TextEncoding* PieceEncoding(const String& s) {
  return ReadsAsUnicode(s) ? Encodings::UTF8() : s.Encoding();
}

}  // namespace

std::string String::Utf8() const { return std::string(Utf8View(*this).view); }

bool operator==(const String& a, const String& b) {
  const Utf8View va(a);
  const Utf8View vb(b);
  std::string_view x = va.view;
  std::string_view y = vb.view;
  size_t i = 0;
  size_t j = 0;
  while (i < x.size() && j < y.size()) {
    const auto cx = static_cast<unsigned char>(x[i]);
    const auto cy = static_cast<unsigned char>(y[j]);
    if (cx < 0x80 && cy < 0x80) {
      if (Fold(cx) != Fold(cy)) return false;
      ++i, ++j;
      continue;
    }
    const size_t si = i;
    const size_t sj = j;
    const int32_t px = utf8::Next(x, i);
    const int32_t py = utf8::Next(y, j);
    if (px < 0 || py < 0) {
      if (px != py || x[si] != y[sj]) return false;
    } else if (Fold(px) != Fold(py)) {
      return false;
    }
  }
  return i == x.size() && j == y.size();
}

std::string CaseFolded(const String& text) {
  const Utf8View view(text);
  std::string out;
  out.reserve(view.view.size());
  size_t pos = 0;
  while (pos < view.view.size()) {
    const auto c = static_cast<unsigned char>(view.view[pos]);
    if (c < 0x80) {
      out.push_back(static_cast<char>(Fold(c)));
      ++pos;
      continue;
    }
    const size_t start = pos;
    const int32_t cp = utf8::Next(view.view, pos);
    if (cp < 0) {
      out.push_back(view.view[start]);
    } else {
      utf8::Append(out, static_cast<char32_t>(Fold(cp)));
    }
  }
  return out;
}

bool Identical(const String& a, const String& b) { return a.Bytes() == b.Bytes(); }

int64_t Len(const String& text) {
  const TextEncoding* e = text.Encoding();
  if (e == nullptr || !e->IsUnicode()) return static_cast<int64_t>(text.LenB());
  const Utf8View view(text);
  int64_t count = 0;
  size_t pos = 0;
  while (pos < view.view.size()) {
    utf8::Next(view.view, pos);
    ++count;
  }
  return count;
}

namespace {

// The characters from index `first` (from 0) up to `last` (exclusive), clamped.
String Characters(const String& text, int64_t first, int64_t last) {
  const bool unicode = ReadsAsUnicode(text);
  const Utf8View view(text);
  const FoldedText chars(view.view, unicode);
  const int64_t n = static_cast<int64_t>(chars.chars.size());
  first = std::clamp<int64_t>(first, 0, n);
  last = std::clamp<int64_t>(last, first, n);
  const size_t b0 = chars.offsets[static_cast<size_t>(first)];
  const size_t b1 = chars.offsets[static_cast<size_t>(last)];
  return String(std::string(view.view.substr(b0, b1 - b0)), PieceEncoding(text));
}

}  // namespace

String Left(const String& text, int64_t count) { return Characters(text, 0, count); }

String Mid(const String& text, int64_t start) {
  return Characters(text, start - 1, INT64_MAX);
}

int64_t InStr(int64_t start, const String& source, const String& find) {
  const bool unicode = ReadsAsUnicode(source);
  const Prepared s(source, unicode);
  const Prepared f(find, unicode);
  const size_t from = start > 1 ? static_cast<size_t>(start - 1) : 0;
  const int64_t at = FindFolded(s.folded, f.folded, from);
  return at < 0 ? 0 : at + 1;
}

int64_t InStrB(int64_t start, const String& source, const String& find) {
  if (find.IsEmpty()) return 0;
  const size_t from = start > 1 ? static_cast<size_t>(start - 1) : 0;
  if (from >= source.LenB()) return 0;
  const size_t at = source.Bytes().find(find.Bytes(), from);
  return at == std::string::npos ? 0 : static_cast<int64_t>(at) + 1;
}

String NthField(const String& text, const String& separator, int64_t index) {
  if (index < 1) return String(std::string(), PieceEncoding(text));
  const bool unicode = ReadsAsUnicode(text);
  const Prepared t(text, unicode);
  if (separator.IsEmpty()) {
    return index == 1 ? String(std::string(t.view.view), PieceEncoding(text))
                      : String(std::string(), PieceEncoding(text));
  }
  const Prepared sep(separator, unicode);
  size_t fieldStart = 0;  // in characters
  for (int64_t field = 1;; ++field) {
    const int64_t at = FindFolded(t.folded, sep.folded, fieldStart);
    const size_t fieldEnd = at < 0 ? t.folded.chars.size() : static_cast<size_t>(at);
    if (field == index) {
      const size_t b0 = t.folded.offsets[fieldStart];
      const size_t b1 = t.folded.offsets[fieldEnd];
      return String(std::string(t.view.view.substr(b0, b1 - b0)), PieceEncoding(text));
    }
    if (at < 0) return String(std::string(), PieceEncoding(text));
    fieldStart = fieldEnd + sep.folded.chars.size();
  }
}

String ReplaceAll(const String& source, const String& find, const String& replacement) {
  if (find.IsEmpty() || source.IsEmpty()) return source;
  const bool unicode = ReadsAsUnicode(source);
  const Prepared s(source, unicode);
  const Prepared f(find, unicode);
  int64_t at = FindFolded(s.folded, f.folded, 0);
  if (at < 0) return source;
  const Utf8View replacementView(replacement);
  const std::string_view with = unicode ? replacementView.view : std::string_view(replacement.Bytes());
  std::string out;
  size_t copied = 0;  // in characters
  while (at >= 0) {
    const size_t b0 = s.folded.offsets[copied];
    const size_t b1 = s.folded.offsets[static_cast<size_t>(at)];
    out.append(s.view.view.substr(b0, b1 - b0));
    out.append(with);
    copied = static_cast<size_t>(at) + f.folded.chars.size();
    at = FindFolded(s.folded, f.folded, copied);
  }
  out.append(s.view.view.substr(s.folded.offsets[copied]));
  return String(std::move(out), PieceEncoding(source));
}

namespace {

// Length of the decimal number at the start of `s` (sign, digits, fraction, exponent);
// 0 when no digit is there.
size_t DecimalPrefix(std::string_view s) {
  size_t i = 0;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
  size_t digits = 0;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i, ++digits;
  if (i < s.size() && s[i] == '.') {
    ++i;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i, ++digits;
  }
  if (digits == 0) return 0;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    size_t j = i + 1;
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
    const size_t expStart = j;
    while (j < s.size() && s[j] >= '0' && s[j] <= '9') ++j;
    if (j > expStart) i = j;
  }
  return i;
}

std::string_view SkipBlanks(std::string_view s) {
  size_t i = 0;
  while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
  return s.substr(i);
}

double ParseDecimal(std::string_view number) {
  if (!number.empty() && number[0] == '+') number.remove_prefix(1);
  double value = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    // from_chars leaves the value alone when the number overflows or underflows.
    const bool negative = number[0] == '-';
    const size_t e = number.find_first_of("eE");
    const bool tiny = e != std::string_view::npos && e + 1 < number.size() && number[e + 1] == '-';
    if (tiny) return negative ? -0.0 : 0.0;
    return negative ? -HUGE_VAL : HUGE_VAL;
  }
  return value;
}

// "&h1F", "&o17", "&b101": an unsigned integer in that base, 0 when no digit follows.
double ParsePrefixed(std::string_view s) {
  const char kind = static_cast<char>(s[1] | 0x20);
  const int base = kind == 'h' ? 16 : kind == 'o' ? 8 : 2;
  double value = 0;
  for (size_t i = 2; i < s.size(); ++i) {
    int digit;
    const char c = s[i];
    if (c >= '0' && c <= '9') {
      digit = c - '0';
    } else if (base == 16 && (c | 0x20) >= 'a' && (c | 0x20) <= 'f') {
      digit = (c | 0x20) - 'a' + 10;
    } else {
      break;
    }
    if (digit >= base) break;
    value = value * base + digit;
  }
  return value;
}

bool IsPrefixed(std::string_view s) {
  if (s.size() < 2 || s[0] != '&') return false;
  const char kind = static_cast<char>(s[1] | 0x20);
  return kind == 'h' || kind == 'o' || kind == 'b';
}

}  // namespace

double Val(const String& text) {
  const std::string_view s = SkipBlanks(text.Bytes());
  if (IsPrefixed(s)) return ParsePrefixed(s);
  const size_t length = DecimalPrefix(s);
  return length == 0 ? 0.0 : ParseDecimal(s.substr(0, length));
}

int64_t TruncateToInt64(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 9223372036854775807.0) return INT64_MAX;
  if (value <= -9223372036854775808.0) return INT64_MIN;
  return static_cast<int64_t>(value);
}

bool IsNumeric(const String& text) {
  std::string_view s = SkipBlanks(text.Bytes());
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  if (s.empty()) return false;
  if (IsPrefixed(s)) return s.size() > 2;
  return DecimalPrefix(s) == s.size();
}

String Str(int64_t value) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return String(std::string(buffer, result.ptr));
}

String Str(double value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return String(std::string(buffer, result.ptr));
}

String Join(const std::vector<String>& items, const String& separator) {
  std::string out;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += separator.Bytes();
    out += items[i].Bytes();
  }
  const TextEncoding* tag = items.empty() ? Encodings::UTF8() : items[0].Encoding();
  return String(std::move(out), tag);
}

String operator+(const String& a, const String& b) {
  if (a.Encoding() == b.Encoding()) return String(a.Bytes() + b.Bytes(), a.Encoding());
  return String(a.Utf8() + b.Utf8(), Encodings::UTF8());
}

}  // namespace grantwright
