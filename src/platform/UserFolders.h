#pragma once
// The folders and names the system asks the environment for.
//
// - Documents: the XDG documents folder, XDG_DOCUMENTS_DIR of
//   ${XDG_CONFIG_HOME:-$HOME/.config}/user-dirs.dirs when that file names one, else
//   $HOME/Documents. The folder need not exist.
// - UserHome: $HOME when set and not empty, else the home folder the account database
//   gives for the real user id; nil when neither is known.
// - Home: the folder that holds the users' home folders, /home.
// - ShortUsername: the account name of the real user id, or its decimal id when the
//   account database has no name for it.

#include "platform/FolderItem.h"
#include "platform/String.h"

namespace grantwright {

namespace SpecialFolder {
FolderItemRef Documents();
FolderItemRef UserHome();
FolderItemRef Home();
}  // namespace SpecialFolder

namespace SystemInformation {
String ShortUsername();
}  // namespace SystemInformation

}  // namespace grantwright
