// The helper's outcome for every step that can fail, in process and without root: App runs
// against a FileChanges that records each change and refuses the kind a row names. What the
// kernel makes of the changes is for the process-level tests (HelperTest, HelperAttackTest).

#include <acl/libacl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/FileChanges.h"
#include "support/TestSupport.h"
#include "tool/App.h"
#include "tool/Jobs.h"

namespace grantwright::testing {
namespace {

// Records each change as "owner 1", "group 2", "mode 750" or "lists <access>|<default>",
// and refuses those that start with `refuse`.
class RecordingChanges final : public FileChanges {
 public:
  explicit RecordingChanges(std::string refuse) : refuse_(std::move(refuse)), before_(InstallFileChanges(this)) {}
  ~RecordingChanges() override { InstallFileChanges(before_); }
  std::vector<std::string> calls;

  int ChangeOwner(int, uid_t owner, gid_t group) override {
    return Record(owner != static_cast<uid_t>(-1) ? "owner " + std::to_string(owner) : "group " + std::to_string(group));
  }
  int ChangeMode(int, mode_t mode) override {
    char octal[16];
    std::snprintf(octal, sizeof octal, "mode %o", static_cast<unsigned>(mode));
    return Record(octal);
  }
  int ChangeLists(int, acl_t access, acl_t defaults, bool) override { return Record("lists " + Text(access) + "|" + Text(defaults)); }

 private:
  static std::string Text(acl_t acl) {
    char* text = acl ? acl_to_any_text(acl, nullptr, ',', 0) : nullptr;
    const std::string out = text ? text : "";
    acl_free(text);
    return out;
  }
  int Record(const std::string& call) {
    calls.push_back(call);
    return !refuse_.empty() && call.rfind(refuse_, 0) == 0 ? EPERM : 0;
  }
  std::string refuse_;
  FileChanges* before_;
};

// App's result for `args` (-3 for an exception that reaches the top), with what it wrote on
// standard output, which goes to a memory file meanwhile.
std::string RunApp(const std::vector<String>& args, int64_t& result) {
  const int memory = ::memfd_create("stdout", MFD_CLOEXEC);
  const int saved = ::dup(STDOUT_FILENO);
  ::dup2(memory, STDOUT_FILENO);
  try {
    result = App().Event_Run(args);
  } catch (const std::exception&) {
    result = -3;
  }
  ::dup2(saved, STDOUT_FILENO);
  ::close(saved);
  std::string out(static_cast<size_t>(::lseek(memory, 0, SEEK_END)), '\0');
  EXPECT_EQ(::pread(memory, out.data(), out.size(), 0), static_cast<ssize_t>(out.size()));
  ::close(memory);
  return out;
}

TEST(HelperOutcome, EachStepsRefusalEndsTheJobWithItsLineAndNothingAfter) {
  TempDir dir;
  const std::string file = dir.Write("target", "x");
  const std::string folder = dir / "folder";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  ASSERT_EQ(::symlink(folder.c_str(), (dir / "dl").c_str()), 0);
  const std::string missing = dir / "missing";
  const std::string list = "user::rw-\nuser:daemon:r--\ngroup::r--\nother::---\n";
  const std::string listCall = "lists user::rw-,user:daemon:r--,group::r--,mask::r--,other::---|";
  const std::string owner = "Failed to set file owner to \"daemon\" on: ";
  const struct {
    bool acl;
    std::string config;
    std::string refuse;  // the change FileChanges refuses
    int64_t result;
    std::string out;
    std::vector<std::string> calls;
  } rows[] = {
      {false, Job("daemon", "bin", file, 0750), "", 0, "", {"owner 1", "group 2", "mode 750"}},
      {false, Job("daemon", "bin", file, 0750), "owner", -2, owner + file + "\n", {"owner 1"}},
      {false, Job("daemon", "bin", file, 0750), "group", -2, "Failed to set file group to \"bin\" on: " + file + "\n",
       {"owner 1", "group 2"}},
      {false, Job("daemon", "bin", file, 04750), "mode", -2, "Failed to set file permissions on: " + file + "\n",
       {"owner 1", "group 2", "mode 4750"}},
      {false, Job("daemon", "gw-no-such", file, 0), "", -2, "Failed to set file group to \"gw-no-such\" on: " + file + "\n",
       {"owner 1"}},
      // A NUL byte stops the job before its first change, whichever name holds it; control
      // characters are shown percent-encoded.
      {false, Job(std::string("daemon\0x", 8), "bin", file, 0), "", -2,
       "Failed to set file owner to \"daemon%00x\" on: " + file + "\n", {}},
      {false, Job("daemon", std::string("bin\0", 4), file, 0), "", -2,
       "Failed to set file group to \"bin%00\" on: " + file + "\n", {}},
      {false, Job("dae\nmon\r", "bin", file, 0), "", -2, "Failed to set file owner to \"dae%0Amon%0D\" on: " + file + "\n", {}},
      {false, Job("daemon", "bin", file + std::string("\0x", 2), 0), "", -2, "File not found: " + file + "%00x\n", {}},
      {false, Job("daemon", "bin", missing + "\n\x7f", 0), "", -2, "File not found: " + missing + "%0A%7F\n", {}},
      {false, Job("daemon", "bin", dir / "dl/.", 0), "", -2, owner + dir / "dl/.\n", {}},
      {true, Job("daemon", "bin", file, 0, list), "", 0, "", {listCall}},
      {true, Job("daemon", "bin", file, 0, list), "lists", -2, "Failed to set ACL on: " + file + "\n", {listCall}},
      {true, Job("", "", folder, 0, "u::rwx\ng::r-x\no::-\nd:u::rwx\nd:g:bin:r-x\nd:g::r-x\nd:o::-\n"), "", 0, "",
       {"lists user::rwx,group::r-x,other::---|user::rwx,group::r-x,group:bin:r-x,mask::r-x,other::---"}},
      {true, Job("", "", file, 0, "d:u:bin:r\n"), "", -2, "Failed to set ACL on: " + file + "\n", {}},  // no folder
      {true, Job("", "", dir / "dl//", 0, list), "", -2, "Failed to set ACL on: " + dir / "dl//\n", {}},
      // No usable list: the helper ends unhandled, having changed nothing.
      {true, Job("", "", file, 0, "user:0x1:rwx\n"), "", -3, "", {}},
      {true, Job("", "", file, 0), "", -3, "", {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.out + row.config);
    dir.Write("job.xml", row.config);
    const RecordingChanges changes(row.refuse);
    std::vector<String> args{"grantwright-helper"};
    if (row.acl) args.emplace_back("-a");
    args.insert(args.end(), {"-f", dir / "job.xml"});
    int64_t result = 0;
    EXPECT_EQ(RunApp(args, result), row.out);
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(changes.calls, row.calls);
  }
}

}  // namespace
}  // namespace grantwright::testing
