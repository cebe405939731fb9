#include "platform/BookmarkService.h"

#include <utility>

namespace grantwright {

namespace {

class UnavailableBookmarkService final : public BookmarkService {
 public:
  bool Available() const override { return false; }
  String CreateBookmarkData(const FolderItemRef&, uint32_t, const FolderItemRef&) override { return {}; }
  BookmarkURLRef ResolveBookmarkData(const String&, uint32_t, bool& isStale) override {
    isStale = false;
    return nullptr;
  }
  std::optional<BookmarkError> LastError() const override { return std::nullopt; }
  bool StartAccessingSecurityScopedResource(const BookmarkURL&) override { return false; }
  void StopAccessingSecurityScopedResource(const BookmarkURL&) override {}
};

std::shared_ptr<BookmarkService>& Installed() {
  static std::shared_ptr<BookmarkService> service = std::make_shared<UnavailableBookmarkService>();
  return service;
}

}  // namespace

BookmarkService& Bookmarks() { return *Installed(); }

std::shared_ptr<BookmarkService> SetBookmarkService(std::shared_ptr<BookmarkService> service) {
  if (!service) service = std::make_shared<UnavailableBookmarkService>();
  return std::exchange(Installed(), std::move(service));
}

}  // namespace grantwright
