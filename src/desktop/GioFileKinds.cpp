#include "desktop/GioFileKinds.h"

#include <gio/gio.h>

#include "desktop/GioFileIcons.h"

#include <memory>

namespace grantwright {

namespace {

template <class T>
struct Unref {
  void operator()(T* object) const { g_object_unref(object); }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, Unref<T>>;

struct GFree {
  void operator()(gchar* text) const { g_free(text); }
};
using GText = std::unique_ptr<gchar, GFree>;

}  // namespace

std::string GioFileKinds::ContentType(const std::string& path) {
  const GObjectPtr<GFile> file(g_file_new_for_path(path.c_str()));
  // Links are followed, as a file manager shows what a link points to.
  const GObjectPtr<GFileInfo> info(g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                                     G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
  if (info) {
    const char* type = g_file_info_get_content_type(info.get());
    return type ? type : "";
  }
  gboolean uncertain = FALSE;
  const GText guessed(g_content_type_guess(path.c_str(), nullptr, 0, &uncertain));
  return guessed ? guessed.get() : "";
}

std::string GioFileKinds::Description(const std::string& contentType) {
  const GText description(g_content_type_get_description(contentType.c_str()));
  return description ? description.get() : "";
}

}  // namespace grantwright

extern "C" void grantwright_install_desktop_services() {
  static grantwright::GioFileKinds kinds;
  static grantwright::GioFileIcons icons;
  grantwright::InstallFileKinds(&kinds);
  grantwright::InstallFileIcons(&icons);
}
