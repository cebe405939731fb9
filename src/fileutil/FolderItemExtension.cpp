#include "fileutil/FolderItemExtension.h"

#include <cerrno>

#include "convert/UniversalExtension.h"
#include "global/GlobalMethods.h"
#include "platform/Exceptions.h"
#include "platform/Log.h"

namespace grantwright::FolderItemExtension {

const TextEncoding* ReadEncodingBitsZRN(const BinaryStreamRef& stream) {
  NonNil(stream);
  int sig[4] = {-1, -1, -1, -1};
  stream->SetPosition(0);
  const uint64_t count = stream->Length() < 4 ? stream->Length() : 4;
  for (uint64_t i = 0; i < count; ++i) sig[i] = stream->ReadUInt8();
  stream->SetPosition(0);

  const auto at = [&](uint64_t position, const TextEncoding* encoding) {
    stream->SetPosition(position);
    return encoding;
  };
  if (sig[0] == 0xFF && sig[1] == 0xFE && sig[2] == 0x00 && sig[3] == 0x00) return at(4, Encodings::UTF32LE());
  if (sig[0] == 0x00 && sig[1] == 0x00 && sig[2] == 0xFE && sig[3] == 0xFF) return at(4, Encodings::UTF32BE());
  if (sig[0] == 0xFF && sig[1] == 0xFE) return at(2, Encodings::UTF16LE());
  if (sig[0] == 0xFE && sig[1] == 0xFF) return at(2, Encodings::UTF16BE());
  if (sig[0] == 0xEF && sig[1] == 0xBB && sig[2] == 0xBF) return at(3, Encodings::UTF8());
  if (sig[0] == 0x00) return at(0, Encodings::UTF16BE());
  if (sig[1] == 0x00) return at(0, Encodings::UTF16LE());

  // No mark: skip leading bytes with the top bit set, which cannot start text by themselves.
  while (!stream->EndOfFile()) {
    if (stream->ReadUInt8() < 0x80) {
      stream->SetPosition(stream->Position() - 1);
      break;
    }
  }
  return nullptr;
}

String ReadRemainderZRN(const BinaryStreamRef& stream, const TextEncoding* encoding) {
  NonNil(stream);
  const uint64_t count = stream->Length() > stream->Position() ? stream->Length() - stream->Position() : 0;
  String text = stream->Read(count, nullptr);
  if (encoding != nullptr) text = DefineEncoding(text, encoding);
  return text;
}

namespace {

constexpr const char* kCannotRead = "Please ensure you have adequate permissions to access this file.";

bool Fail(const char* secondSentence, bool showErrorDialog) {
  const String message = String("The chosen file cannot be read.") + EndOfLine + EndOfLine + secondSentence;
  System::DebugLog(message);
  if (showErrorDialog) MsgBox(message);
  return false;
}

}  // namespace

bool ReadContentsSmartZRN(const FolderItemRef& file, String& contents,
                          const TextEncoding* overrideEncoding, bool showErrorDialog,
                          bool replaceLineEndings, bool forceUTF8) {
  contents = String();
  constexpr const char* kNotFound = "ReadContentsSmartZRN() failed as the file was not found or readable.";
  if (!file) return Fail(kNotFound, showErrorDialog);
  // The open itself tells a file that is not there, or that this process may not read,
  // from one that cannot be read: one system call where a look and a check took two more.
  BinaryStreamRef stream;
  try {
    stream = BinaryStream::Open(file, /*readWrite=*/false);
  } catch (const IOException& e) {
    switch (e.ErrorNumber()) {
      case ENOENT: case ENOTDIR: case ELOOP: case ENAMETOOLONG: case EACCES: case EPERM:
        return Fail(kNotFound, showErrorDialog);
    }
    return Fail(kCannotRead, showErrorDialog);
  }
  return ReadContentsSmartZRN(stream, contents, overrideEncoding, showErrorDialog, replaceLineEndings,
                              forceUTF8);
}

bool ReadContentsSmartZRN(const BinaryStreamRef& stream, String& contents,
                          const TextEncoding* overrideEncoding, bool showErrorDialog,
                          bool replaceLineEndings, bool forceUTF8) {
  contents = String();
  try {
    const TextEncoding* found = ReadEncodingBitsZRN(NonNil(stream));
    contents = ReadRemainderZRN(stream, found);
    stream->Close();
  } catch (const IOException&) {
    contents = String();
    return Fail(kCannotRead, showErrorDialog);
  }
  if (overrideEncoding != nullptr && contents.Encoding() != overrideEncoding) {
    contents = DefineEncoding(contents, overrideEncoding);
  }
  if (replaceLineEndings) contents = ReplaceLineEndings(contents, EndOfLine);
  if (forceUTF8) contents = UniversalExtension::EnsureUTF8EncodingZRN(contents);
  return true;
}

String PathZRN(const FolderItemRef& file, bool abbreviateHome) {
  const String path(NonNil(file)->NativePath());
  if (path.IsEmpty()) {
    System::DebugLog(String("Failed to get native path for file: ") + path);
    return String();
  }
  if (!abbreviateHome) return path;
  const FolderItemRef home = GlobalMethods::UserHomeActualZRN();
  if (!home || !home->Exists()) return path;
  const String homePath = PathZRN(home, /*abbreviateHome=*/false);
  const int64_t length = Len(homePath);
  if (Left(path, length) == homePath) return String("~") + Mid(path, length + 1);
  return path;
}

FolderItemRef GetSubFolderItemZRN(const FolderItemRef& file, const std::vector<String>& names) {
  if (!file) return nullptr;
  FolderItemRef item = file;
  for (const String& name : names) {
    item = item->Child(name);
    if (!item) return nullptr;
  }
  const FolderItemRef parent = item->Parent();
  if (!parent || !parent->Exists()) return nullptr;
  return item;
}

}  // namespace grantwright::FolderItemExtension
