#pragma once
// The bookmark service: security-scoped bookmarks and the sandbox access they grant.
//
// A bookmark is the platform's opaque record of a file that, resolved, gives a URL through
// which a sandboxed program may reach the file between StartAccessing... and
// StopAccessing.... Linux has no such thing: the service the process starts with is
// "unavailable". It makes empty bookmark data without an error, resolves nothing, grants no
// access and reports no error, and callers skip the bookmark step when Available() is
// false (bookmark bytes from elsewhere are kept and written back untouched).
//
// The service is a seam: SetBookmarkService installs another one (tests install a fake
// that records its calls).

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/FolderItem.h"
#include "platform/Object.h"
#include "platform/String.h"

namespace grantwright {

// The location a bookmark resolved to.
class BookmarkURL : public Object {
 public:
  explicit BookmarkURL(String path) : path_(std::move(path)) {}
  const char* ClassName() const override { return "BookmarkURL"; }
  const String& Path() const { return path_; }

 private:
  String path_;
};
using BookmarkURLRef = std::shared_ptr<BookmarkURL>;

// What a failed bookmark call reports.
struct BookmarkError {
  String failureReason;
  String description;
  int64_t code = 0;
};

class BookmarkService {
 public:
  virtual ~BookmarkService() = default;
  // Whether bookmarks exist here.
  virtual bool Available() const = 0;
  // Bookmark data for `file`; "" with LastError set when none can be made. `options` are
  // the platform's flags; `relativeTo` may be nil.
  virtual String CreateBookmarkData(const FolderItemRef& file, uint32_t options,
                                    const FolderItemRef& relativeTo) = 0;
  // The URL the data leads to, or nil (LastError then says why, or is nothing).
  virtual BookmarkURLRef ResolveBookmarkData(const String& data, uint32_t options, bool& isStale) = 0;
  // The error of the last Create or Resolve call; nothing when it succeeded.
  virtual std::optional<BookmarkError> LastError() const = 0;
  virtual bool StartAccessingSecurityScopedResource(const BookmarkURL& url) = 0;
  virtual void StopAccessingSecurityScopedResource(const BookmarkURL& url) = 0;
};

// The service in use.
BookmarkService& Bookmarks();
// Installs `service` (nil restores the unavailable one) and gives back the one before.
std::shared_ptr<BookmarkService> SetBookmarkService(std::shared_ptr<BookmarkService> service);

}  // namespace grantwright
