#pragma once
// The two written forms of a native path besides the path itself, and reading them back.
//
// URL form: "file://" followed by the path with every byte outside A-Z a-z 0-9 - . _ ~ and
// "/" written as %XX (upper-case hex); a folder's URL ends in "/". It has no host, so any
// URL reader (a browser, Python's urllib.parse) takes the path back byte for byte.
//
// Shell form: the path with every byte that a POSIX shell treats specially escaped, so
// that `sh -c 'printf %s <shell form>'` prints the path back for any bytes 1 to 255. A
// byte is escaped with a backslash, except the line end, which a backslash would join to
// the next line and which is quoted instead ('<LF>'). Bytes from 0x80 up are no shell
// syntax and stand as they are.
//
// Both readers are linear in their input and allocate no more than it holds.

#include <optional>
#include <string>
#include <string_view>

namespace grantwright {

std::string URLPathOf(std::string_view path, bool folder);
std::string ShellPathOf(std::string_view path);

// The path of a file URL: the scheme "file" (any case), then "//" and a host that is empty
// or "localhost" (any case), then an absolute path whose %XX sequences are decoded; a query
// ("?...") or fragment ("#...") ends the path. Nothing for any other URL, for a host other
// than those two, and for a path segment that would decode to a NUL byte or to a "/" (a
// name holds neither). A path that ends in "/" keeps it.
std::optional<std::string> PathFromURL(std::string_view url);

// The word a shell would make of `text`: a backslash takes the next byte as it is (a
// backslash before a line end removes both, as a shell joins the lines), '...' takes
// everything up to the next quote as it is, and every other byte stands for itself. An
// unterminated quote runs to the end; a backslash at the end stands for itself. No
// expansion of any kind is done.
std::string PathFromShell(std::string_view text);

}  // namespace grantwright
