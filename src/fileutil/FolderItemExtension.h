#pragma once
// FolderItemExtension: reading whole text files with their encoding found from the first
// bytes.

#include <vector>

#include "platform/BinaryStream.h"
#include "platform/FolderItem.h"
#include "platform/String.h"
#include "platform/TextEncoding.h"

namespace grantwright::FolderItemExtension {

// The encoding the first bytes of `stream` announce, leaving the stream at the first byte
// of content. In this order: FF FE 00 00 UTF-32LE (position 4); 00 00 FE FF UTF-32BE (4);
// FF FE UTF-16LE (2); FE FF UTF-16BE (2); EF BB BF UTF-8 (3); a first byte 00 UTF-16BE
// (0); a second byte 00 UTF-16LE (0). Otherwise null, with the leading bytes that have the
// top bit set skipped (all of them when no byte below 0x80 follows).
// A nil stream raises NilObjectException; read errors raise IOException.
const TextEncoding* ReadEncodingBitsZRN(const BinaryStreamRef& stream);

// The bytes from the position to the end, tagged `encoding` (null: untagged).
// A nil stream raises NilObjectException; read errors raise IOException.
String ReadRemainderZRN(const BinaryStreamRef& stream, const TextEncoding* encoding);

// Reads the whole text of `file` into `contents`: finds the encoding, then tags the text
// with `overrideEncoding` when given (bytes unchanged), replaces line endings with the
// platform's when asked, and brings the text to UTF-8 (EnsureUTF8EncodingZRN) when asked.
//
// Returns false, with `contents` empty, when the file is nil, missing or unreadable, or
// when reading raises IOException; the message "The chosen file cannot be read." followed
// by two line ends and "ReadContentsSmartZRN() failed as the file was not found or
// readable." (first case) or "Please ensure you have adequate permissions to access this
// file." (second case) then goes to the system log, and also to MsgBox when
// `showErrorDialog` is true. Any other exception passes to the caller.
bool ReadContentsSmartZRN(const FolderItemRef& file, String& contents,
                          const TextEncoding* overrideEncoding, bool showErrorDialog,
                          bool replaceLineEndings, bool forceUTF8);
// The same from a stream already open (and at any position: it is read from the start), for
// a caller that looked at its length first. It is closed once read.
bool ReadContentsSmartZRN(const BinaryStreamRef& stream, String& contents,
                          const TextEncoding* overrideEncoding, bool showErrorDialog,
                          bool replaceLineEndings, bool forceUTF8);

// The item's native path; with `abbreviateHome`, a path that begins with the path of the
// user's real home folder (UserHomeActualZRN; compared ignoring case, character by
// character, not by path component) has that beginning replaced by "~". An item without
// a path gives "" and logs "Failed to get native path for file: ". A nil file raises
// NilObjectException.
String PathZRN(const FolderItemRef& file, bool abbreviateHome);

// The item reached from `file` through each name in turn (FolderItem::Child); nil when
// `file` is nil, a name cannot be an item, or the item's parent folder is missing or
// absent. The item itself need not exist.
FolderItemRef GetSubFolderItemZRN(const FolderItemRef& file, const std::vector<String>& names);

}  // namespace grantwright::FolderItemExtension
