#include "desktop/GioFileIcons.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gio/gio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

namespace grantwright {

namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, Unref>;
struct GFree {
  void operator()(gpointer memory) const { g_free(memory); }
};
using GText = std::unique_ptr<gchar, GFree>;

// The themes looked in, in order: the one installed with the desktop, then the fallback
// every theme inherits.
constexpr const char* kThemes[] = {"Adwaita", "hicolor"};

bool IsFile(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// One directory of a theme, as its index.theme describes it.
struct ThemeDirectory {
  std::string name;
  enum class Type { kFixed, kScalable, kThreshold } type = Type::kThreshold;
  int size = 0, minSize = 0, maxSize = 0, threshold = 2;

  // How far `wanted` lies outside the sizes the directory serves; 0 when it serves it.
  int Distance(int wanted) const {
    const int low = type == Type::kThreshold ? size - threshold : type == Type::kFixed ? size : minSize;
    const int high = type == Type::kThreshold ? size + threshold : type == Type::kFixed ? size : maxSize;
    return wanted < low ? low - wanted : wanted > high ? wanted - high : 0;
  }
};

struct Theme {
  std::vector<std::string> roots;  // every icons/<theme> folder that exists
  std::vector<ThemeDirectory> directories;
};

std::vector<std::string> IconFolders() {
  std::vector<std::string> folders{std::string(g_get_user_data_dir()) + "/icons"};
  for (const gchar* const* dir = g_get_system_data_dirs(); *dir != nullptr; ++dir) {
    folders.push_back(std::string(*dir) + "/icons");
  }
  return folders;
}

// The theme `name` as the first index.theme found describes it; nullopt when none is.
std::optional<Theme> LoadTheme(const char* name) {
  Theme theme;
  for (const std::string& folder : IconFolders()) {
    const std::string root = folder + "/" + name;
    if (::access(root.c_str(), X_OK) == 0) theme.roots.push_back(root);
    if (!theme.directories.empty() || !IsFile(root + "/index.theme")) continue;
    std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> index(g_key_file_new(), &g_key_file_free);
    g_key_file_set_list_separator(index.get(), ',');  // index.theme lists with commas
    if (!g_key_file_load_from_file(index.get(), (root + "/index.theme").c_str(), G_KEY_FILE_NONE, nullptr)) continue;
    gsize count = 0;
    std::unique_ptr<gchar*, decltype(&g_strfreev)> names(
        g_key_file_get_string_list(index.get(), "Icon Theme", "Directories", &count, nullptr), &g_strfreev);
    for (gsize i = 0; names && i < count; ++i) {
      const char* group = names.get()[i];
      const auto integer = [&](const char* key, int otherwise) {
        GError* error = nullptr;
        const int value = g_key_file_get_integer(index.get(), group, key, &error);
        if (error != nullptr) g_error_free(error);
        return error != nullptr ? otherwise : value;
      };
      if (integer("Scale", 1) != 1) continue;
      ThemeDirectory dir;
      dir.name = group;
      dir.size = integer("Size", 0);
      dir.minSize = integer("MinSize", dir.size);
      dir.maxSize = integer("MaxSize", dir.size);
      dir.threshold = integer("Threshold", 2);
      const GText type(g_key_file_get_string(index.get(), group, "Type", nullptr));
      const std::string kind = type ? type.get() : "Threshold";
      dir.type = kind == "Fixed"      ? ThemeDirectory::Type::kFixed
                 : kind == "Scalable" ? ThemeDirectory::Type::kScalable
                                      : ThemeDirectory::Type::kThreshold;
      if (dir.size > 0) theme.directories.push_back(dir);
    }
  }
  if (theme.directories.empty()) return std::nullopt;
  return theme;
}

const std::vector<Theme>& Themes() {
  static const std::vector<Theme> themes = [] {
    std::vector<Theme> loaded;
    for (const char* name : kThemes) {
      if (std::optional<Theme> theme = LoadTheme(name)) loaded.push_back(std::move(*theme));
    }
    return loaded;
  }();
  return themes;
}

// The file of the icon `names` give at `size`: per name, in the first theme that has it,
// a matching directory, else the nearest. With `exactRaster`, only a PNG of a fixed
// directory of exactly `size`.
std::string FindIcon(const std::vector<std::string>& names, int size, bool exactRaster) {
  for (const std::string& name : names) {
    for (const Theme& theme : Themes()) {
      std::string nearest;
      int nearestDistance = INT_MAX;
      for (const ThemeDirectory& dir : theme.directories) {
        if (exactRaster && (dir.type != ThemeDirectory::Type::kFixed || dir.size != size)) continue;
        for (const std::string& root : theme.roots) {
          for (const char* extension : {".png", ".svg"}) {
            if (exactRaster && std::string(extension) != ".png") continue;
            const std::string file = root + "/" + dir.name + "/" + name + extension;
            if (!IsFile(file)) continue;
            if (dir.Distance(size) == 0) return file;
            if (dir.Distance(size) < nearestDistance) {
              nearestDistance = dir.Distance(size);
              nearest = file;
            }
          }
        }
      }
      if (!nearest.empty()) return nearest;
    }
  }
  return {};
}

// `pixbuf` fitted into `size` x `size`: scaled down or up keeping its proportions, centred,
// alpha kept (opaque where the image has none).
PictureRef Fitted(GdkPixbuf* pixbuf, int size) {
  const int width = gdk_pixbuf_get_width(pixbuf), height = gdk_pixbuf_get_height(pixbuf);
  if (width <= 0 || height <= 0) return nullptr;
  GObjectPtr<GdkPixbuf> scaled;
  if (width != size && height != size) {
    const double scale = std::min(double(size) / width, double(size) / height);
    const int w = std::max(1, int(width * scale + 0.5)), h = std::max(1, int(height * scale + 0.5));
    scaled.reset(gdk_pixbuf_scale_simple(pixbuf, std::min(w, size), std::min(h, size), GDK_INTERP_BILINEAR));
    if (!scaled) return nullptr;
    pixbuf = scaled.get();
  }
  const int w = std::min(gdk_pixbuf_get_width(pixbuf), size), h = std::min(gdk_pixbuf_get_height(pixbuf), size);
  const int channels = gdk_pixbuf_get_n_channels(pixbuf), stride = gdk_pixbuf_get_rowstride(pixbuf);
  const guchar* pixels = gdk_pixbuf_read_pixels(pixbuf);
  std::vector<uint8_t> rgba(size_t(size) * size * 4, 0);
  const int left = (size - w) / 2, top = (size - h) / 2;
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const guchar* from = pixels + size_t(y) * stride + size_t(x) * channels;
      uint8_t* to = &rgba[(size_t(top + y) * size + left + x) * 4];
      to[0] = from[0];
      to[1] = from[1];
      to[2] = from[2];
      to[3] = channels == 4 ? from[3] : 255;
    }
  }
  return std::make_shared<Picture>(size, size, std::move(rgba));
}

// The image file at `path`, at most `size` on its longer side; nil for what cannot be read
// and for an image of more than kMaxPicturePixels, refused before decoding.
GObjectPtr<GdkPixbuf> LoadImage(const std::string& path, int size) {
  int width = 0, height = 0;
  if (gdk_pixbuf_get_file_info(path.c_str(), &width, &height) == nullptr) return nullptr;
  if (int64_t(width) * height > kMaxPicturePixels) return nullptr;
  return GObjectPtr<GdkPixbuf>(gdk_pixbuf_new_from_file_at_size(path.c_str(), size, size, nullptr));
}

PictureRef IconFile(const std::string& file, int size) {
  if (file.empty()) return nullptr;
  const GObjectPtr<GdkPixbuf> image = LoadImage(file, size);
  return image ? Fitted(image.get(), size) : nullptr;
}

// The names of a themed icon, or the file of a file icon (as its one "name", absolute).
std::vector<std::string> NamesOf(GIcon* icon) {
  std::vector<std::string> names;
  if (G_IS_THEMED_ICON(icon)) {
    for (const gchar* const* name = g_themed_icon_get_names(G_THEMED_ICON(icon)); *name; ++name) names.push_back(*name);
  } else if (G_IS_FILE_ICON(icon)) {
    if (const GText path{g_file_get_path(g_file_icon_get_file(G_FILE_ICON(icon)))}) names.push_back(path.get());
  }
  return names;
}

std::vector<std::string> WorkspaceNames(const std::string& path) {
  const GObjectPtr<GFile> file(g_file_new_for_path(path.c_str()));
  const GObjectPtr<GFileInfo> info(
      g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_ICON, G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
  GIcon* icon = info ? g_file_info_get_icon(info.get()) : nullptr;
  return icon ? NamesOf(icon) : std::vector<std::string>();
}

PictureRef Named(const std::vector<std::string>& names, int size, bool exactRaster) {
  if (!names.empty() && names[0].starts_with('/')) return exactRaster ? nullptr : IconFile(names[0], size);
  return IconFile(FindIcon(names, size, exactRaster), size);
}

}  // namespace

PictureRef GioFileIcons::WorkspaceIcon(const std::string& path, int size) {
  return Named(WorkspaceNames(path), size, false);
}

PictureRef GioFileIcons::TypeIcon(const std::string& path, int size) {
  const std::string type = kinds_.ContentType(path);
  if (type.empty()) return nullptr;
  const GText generic(g_content_type_get_generic_icon_name(type.c_str()));
  return generic ? Named({generic.get()}, size, false) : nullptr;
}

PictureRef GioFileIcons::FamilyIcon(const std::string& path, int size) {
  return Named(WorkspaceNames(path), size, true);
}

PictureRef GioFileIcons::Preview(const std::string& path, int size) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return nullptr;
  const GObjectPtr<GFile> file(g_file_new_for_path(path.c_str()));
  const GText uri(g_file_get_uri(file.get()));
  const GText digest(g_compute_checksum_for_string(G_CHECKSUM_MD5, uri.get(), -1));
  const std::string folder = std::string(g_get_user_cache_dir()) + "/thumbnails/";
  for (const char* kind : {"xx-large", "x-large", "large", "normal"}) {
    const std::string thumbnail = folder + kind + "/" + digest.get() + ".png";
    if (!IsFile(thumbnail)) continue;
    int width = 0, height = 0;
    if (gdk_pixbuf_get_file_info(thumbnail.c_str(), &width, &height) == nullptr ||
        int64_t(width) * height > kMaxPicturePixels) {
      continue;
    }
    const GObjectPtr<GdkPixbuf> image(gdk_pixbuf_new_from_file(thumbnail.c_str(), nullptr));
    const char* mtime = image ? gdk_pixbuf_get_option(image.get(), "tEXt::Thumb::MTime") : nullptr;
    if (mtime != nullptr && std::strtoll(mtime, nullptr, 10) == st.st_mtime) return Fitted(image.get(), size);
  }
  const std::string type = kinds_.ContentType(path);
  return type.starts_with("image/") ? IconFile(path, size) : nullptr;
}

bool GioFileIcons::WritePng(const Picture& picture, const std::string& path) { return SavePng(picture, path); }

bool SavePng(const Picture& picture, const std::string& path) {
  const GObjectPtr<GdkPixbuf> pixbuf(gdk_pixbuf_new_from_data(picture.RGBA().data(), GDK_COLORSPACE_RGB, TRUE, 8,
                                                              picture.Width(), picture.Height(),
                                                              picture.Width() * 4, nullptr, nullptr));
  return pixbuf && gdk_pixbuf_save(pixbuf.get(), path.c_str(), "png", nullptr, nullptr);
}

}  // namespace grantwright
