#include "platform/RelativeData.h"

namespace grantwright {

namespace {

constexpr std::string_view kMarker = "GWrd";
constexpr char kVersion = 1;

enum Tag : unsigned char {
  kRelativePath = 1, kAbsolutePath = 2, kFileSystemId = 3, kInode = 4, kItemHandle = 5,
  kFolderHandle = 6,
};

void AppendLittleEndian(std::string& out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

uint64_t ReadLittleEndian(std::string_view bytes) {
  uint64_t value = 0;
  for (size_t i = bytes.size(); i-- > 0;) value = (value << 8) | static_cast<unsigned char>(bytes[i]);
  return value;
}

void AppendField(std::string& out, Tag tag, std::string_view value) {
  out += static_cast<char>(tag);
  AppendLittleEndian(out, value.size(), 2);
  out.append(value);
}

void AppendPath(std::string& out, Tag tag, const std::string& path) {
  if (!path.empty() && path.size() <= kMaxDataPath) AppendField(out, tag, path);
}

void AppendNumber(std::string& out, Tag tag, const std::optional<uint64_t>& number) {
  if (!number) return;
  std::string value;
  AppendLittleEndian(value, *number, 8);
  AppendField(out, tag, value);
}

void AppendHandle(std::string& out, Tag tag, const std::optional<FileHandle>& handle) {
  if (!handle || handle->bytes.empty() || handle->bytes.size() > kMaxFileHandleSize) return;
  std::string value;
  AppendLittleEndian(value, static_cast<uint32_t>(handle->type), 4);
  value += handle->bytes;
  AppendField(out, tag, value);
}

bool ReadPath(std::string_view value, std::string& path) {
  if (value.empty() || value.find('\0') != std::string_view::npos) return false;
  if (path.empty()) path = value;
  return true;
}

bool ReadNumber(std::string_view value, std::optional<uint64_t>& number) {
  if (value.size() != 8) return false;
  if (!number) number = ReadLittleEndian(value);
  return true;
}

bool ReadHandle(std::string_view value, std::optional<FileHandle>& handle) {
  if (value.size() < 5 || value.size() > 4 + kMaxFileHandleSize) return false;
  if (!handle) {
    handle = FileHandle{static_cast<int32_t>(static_cast<uint32_t>(ReadLittleEndian(value.substr(0, 4)))),
                        std::string(value.substr(4))};
  }
  return true;
}

bool ReadField(unsigned char tag, std::string_view value, RelativeData& data) {
  switch (tag) {
    case kRelativePath: return ReadPath(value, data.relativePath);
    case kAbsolutePath: return ReadPath(value, data.absolutePath);
    case kFileSystemId: return ReadNumber(value, data.fileSystemId);
    case kInode: return ReadNumber(value, data.inode);
    case kItemHandle: return ReadHandle(value, data.itemHandle);
    case kFolderHandle: return ReadHandle(value, data.folderHandle);
    default: return true;
  }
}

}  // namespace

std::string EncodeRelativeData(const RelativeData& data) {
  std::string out(kMarker);
  out += kVersion;
  AppendPath(out, kRelativePath, data.relativePath);
  AppendPath(out, kAbsolutePath, data.absolutePath);
  AppendNumber(out, kFileSystemId, data.fileSystemId);
  AppendNumber(out, kInode, data.inode);
  AppendHandle(out, kItemHandle, data.itemHandle);
  AppendHandle(out, kFolderHandle, data.folderHandle);
  return out;
}

std::optional<RelativeData> DecodeRelativeData(std::string_view bytes) {
  if (bytes.size() > kMaxRelativeDataSize || !bytes.starts_with(kMarker) ||
      bytes.size() < kMarker.size() + 1 || bytes[kMarker.size()] != kVersion) {
    return std::nullopt;
  }
  bytes.remove_prefix(kMarker.size() + 1);
  RelativeData data;
  while (!bytes.empty()) {
    if (bytes.size() < 3) return std::nullopt;
    const auto tag = static_cast<unsigned char>(bytes[0]);
    const size_t length = ReadLittleEndian(bytes.substr(1, 2));
    bytes.remove_prefix(3);
    if (length > bytes.size() || !ReadField(tag, bytes.substr(0, length), data)) return std::nullopt;
    bytes.remove_prefix(length);
  }
  return data;
}

}  // namespace grantwright
