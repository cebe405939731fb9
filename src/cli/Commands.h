#pragma once
// The commands of `grantwright`, the user's command beside the helper. Each writes its
// result on standard output, a failure as one line on standard error, and gives the
// process's exit status: 0, or 1 after a failure.

#include <optional>
#include <string>

namespace grantwright::Commands {

// Captures the record of the file at `file` and writes its typed configuration (owner,
// group, mode and, when the file has one, its access control list) on standard output, or,
// when an `output` is given, into that file (replaced atomically, mode 0600). An output
// that would destroy the input or cannot be a file is refused before anything is written,
// with "cannot write <output>: " and the reason: an empty path, a folder (or a link to
// one), and the captured file itself by any path, hard link or symbolic link.
int Capture(const std::string& file, const std::optional<std::string>& output);

// Reads the configuration at `configPath` as the helper does and prints, as JSON, the
// decoded values with their types and the record the helper would apply. Changes nothing.
int Explain(const std::string& configPath);

// Writes the stored form of a reference to the file at `file` (which must exist) on
// standard output, followed by a line end, or into `output` (replaced atomically, mode
// 0600).
int Reference(const std::string& file, const std::string& output);

// Reads the file `storedPath`, whose whole content less one trailing line end is a stored
// reference (the XML form, or a plain path), resolves it and prints as JSON the file found
// (path, exists), the way it was found, its display name and the updated stored form.
// Status 0 when an existing file was found, 1 otherwise.
int Resolve(const std::string& storedPath);

// What `grantwright info` is asked.
struct InfoRequest {
  std::string target;          // the item's path, or with `reference` the stored reference's
  bool reference = false;
  int64_t iconSize = 0;        // with an icon: its size, and the PNG file to write it to
  std::string iconOutput;
  int64_t route = -1;          // the icon's route (IconZRN); a reference takes its own
};

// Prints as JSON what the desktop shows of the item: whether it exists, its display name,
// its kind and its content type (null when none is known); a missing item's kind and type
// are guessed from its name. For a stored reference, the item is the file it finds, shown
// through the reference's own queries. With an icon size, the icon is written as a PNG
// file (a failure to find or write one is a line on standard error). Status 0 when the item
// exists and a wanted icon was written, 1 otherwise.
int Info(const InfoRequest& request);

}  // namespace grantwright::Commands
