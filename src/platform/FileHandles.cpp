#include "platform/FileHandles.h"

#include <fcntl.h>
#include <sys/statfs.h>

#include <cerrno>
#include <cstring>

namespace grantwright {

namespace {

// struct file_handle ends in a flexible array; this gives it room for the largest handle.
struct HandleBuffer {
  alignas(struct file_handle) unsigned char storage[sizeof(struct file_handle) + kMaxFileHandleSize] = {};
  struct file_handle* Head() { return reinterpret_cast<struct file_handle*>(storage); }
};

}  // namespace

std::optional<FileHandle> HandleOf(int folder, const std::string& name) {
  HandleBuffer buffer;
  struct file_handle* head = buffer.Head();
  head->handle_bytes = kMaxFileHandleSize;
  int mountId = 0;
  if (::name_to_handle_at(folder, name.c_str(), head, &mountId, name.empty() ? AT_EMPTY_PATH : 0) != 0) return std::nullopt;
  if (head->handle_bytes == 0 || head->handle_bytes > kMaxFileHandleSize) return std::nullopt;
  return FileHandle{head->handle_type,
                    std::string(reinterpret_cast<const char*>(head->f_handle), head->handle_bytes)};
}

int OpenByHandle(int mountItem, const FileHandle& handle) {
  if (handle.bytes.empty() || handle.bytes.size() > kMaxFileHandleSize) return -EINVAL;
  HandleBuffer buffer;
  struct file_handle* head = buffer.Head();
  head->handle_bytes = static_cast<unsigned>(handle.bytes.size());
  head->handle_type = handle.type;
  std::memcpy(head->f_handle, handle.bytes.data(), handle.bytes.size());
  const int fd = ::open_by_handle_at(mountItem, head, O_PATH | O_CLOEXEC);
  return fd >= 0 ? fd : -errno;
}

std::optional<uint64_t> FileSystemIdOf(int item) {
  struct statfs info;
  if (::fstatfs(item, &info) != 0) return std::nullopt;
  uint64_t id = 0;
  static_assert(sizeof id == sizeof info.f_fsid);
  std::memcpy(&id, &info.f_fsid, sizeof id);
  return id;
}

}  // namespace grantwright
