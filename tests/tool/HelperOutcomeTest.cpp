// The helper's outcome for every step that can fail, in process and without root: App runs
// against a FileChanges that records each change and refuses the one a row names. What the
// kernel does with the changes is the process-level tests' part (HelperTest, HelperAttackTest).

#include <fcntl.h>
#include <gtest/gtest.h>
#include <acl/libacl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "permissions/TraditionalPermissionsZRN.h"
#include "platform/Exceptions.h"
#include "platform/FileChanges.h"
#include "support/TestSupport.h"
#include "tool/App.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

// Records every change as a line ("owner 1", "group 2", "mode 750", "lists <access>|<default>")
// and refuses the kind of change named in `refuse`.
class RecordingChanges final : public FileChanges {
 public:
  explicit RecordingChanges(std::string refuse) : refuse_(std::move(refuse)), before_(InstallFileChanges(this)) {}
  ~RecordingChanges() override { InstallFileChanges(before_); }
  const std::vector<std::string>& calls() const { return calls_; }

  int ChangeOwner(int, uid_t owner, gid_t group) override {
    return Record(owner != static_cast<uid_t>(-1) ? "owner " + std::to_string(owner)
                                                  : "group " + std::to_string(group));
  }
  int ChangeMode(int, mode_t mode) override {
    char octal[8];
    std::snprintf(octal, sizeof octal, "%o", static_cast<unsigned>(mode));
    return Record(std::string("mode ") + octal);
  }
  int ChangeLists(int, acl_t access, acl_t defaults, bool) override {
    return Record("lists " + Text(access) + "|" + Text(defaults));
  }

 private:
  static std::string Text(acl_t acl) {
    if (acl == nullptr) return "";
    char* text = acl_to_any_text(acl, nullptr, ',', 0);
    std::string out = text ? text : "?";
    acl_free(text);
    return out;
  }
  int Record(const std::string& call) {
    calls_.push_back(call);
    return call.rfind(refuse_ + " ", 0) == 0 ? EPERM : 0;
  }

  std::string refuse_;
  FileChanges* before_;
  std::vector<std::string> calls_;
};

std::string Job(const std::string& owner, const std::string& group, const std::string& path, uint32_t mode,
                const std::string& acl = "") {
  TraditionalPermissionsZRN record;
  record.Owner = String(owner, nullptr);
  record.Group = String(group, nullptr);
  record.UnixFilePath = String(path, nullptr);
  record.xPermissions = std::make_shared<Permissions>(mode);
  const DictionaryRef dict = record.GetDictionary();
  if (!acl.empty()) dict->SetValue("RawACLRights", String(acl));
  return XMLExtension::AsXMLStringFromDictionaryZRN(dict, "r").Bytes();
}

// Runs App on `args` with standard output going to a memory file; gives what it wrote.
std::string RunApp(const std::vector<String>& args, int64_t& result) {
  const int memory = ::memfd_create("stdout", MFD_CLOEXEC);
  const int saved = ::dup(STDOUT_FILENO);
  ::dup2(memory, STDOUT_FILENO);
  try {
    App app;
    result = app.Event_Run(args);
  } catch (const std::exception& e) {
    result = -3;
  }
  ::dup2(saved, STDOUT_FILENO);
  ::close(saved);
  std::string out(static_cast<size_t>(::lseek(memory, 0, SEEK_END)), '\0');
  ::pread(memory, out.data(), out.size(), 0);
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
  const std::string lists = "user::rwx\ngroup::r-x\nother::---\ndefault:user::rwx\ndefault:group:bin:r-x\n"
                            "default:group::r-x\ndefault:other::---\n";
  const std::string accessOf = "user::rw-,user:daemon:r--,group::r--,mask::r--,other::---|";
  const std::string failedOwner = "Failed to set file owner to \"daemon\" on: ";
  struct Row {
    bool acl;
    std::string config;
    std::string refuse;  // the change FileChanges refuses
    int64_t result;
    std::string out;
    std::vector<std::string> calls;
  };
  const Row rows[] = {
      {false, Job("daemon", "bin", file, 0750), "", 0, "", {"owner 1", "group 2", "mode 750"}},
      {false, Job("daemon", "bin", file, 0750), "owner", -2, failedOwner + file + "\n", {"owner 1"}},
      {false, Job("daemon", "bin", file, 0750), "group", -2,
       "Failed to set file group to \"bin\" on: " + file + "\n", {"owner 1", "group 2"}},
      {false, Job("daemon", "bin", file, 04750), "mode", -2,
       "Failed to set file permissions on: " + file + "\n", {"owner 1", "group 2", "mode 4750"}},
      {false, Job("gw-nobody-has-this", "bin", file, 0), "", -2,
       "Failed to set file owner to \"gw-nobody-has-this\" on: " + file + "\n", {}},
      {false, Job("daemon", "gw-nobody-has-this", file, 0), "", -2,
       "Failed to set file group to \"gw-nobody-has-this\" on: " + file + "\n", {"owner 1"}},
      // A NUL byte or a line end stays in the value and is shown percent-encoded; a NUL
      // stops the job before its first change, whichever name holds it.
      {false, Job(std::string("daemon\0x", 8), "bin", file, 0), "", -2,
       "Failed to set file owner to \"daemon%00x\" on: " + file + "\n", {}},
      {false, Job("daemon", std::string("bin\0", 4), file, 0), "", -2,
       "Failed to set file group to \"bin%00\" on: " + file + "\n", {}},
      {false, Job("dae\nmon\r", "bin", file, 0), "", -2,
       "Failed to set file owner to \"dae%0Amon%0D\" on: " + file + "\n", {}},
      {false, Job("daemon", "bin", file + std::string("\0x", 2), 0), "", -2,
       "File not found: " + file + "%00x\n", {}},
      {false, Job("daemon", "bin", missing + "\n\x7f", 0), "", -2, "File not found: " + missing + "%0A%7F\n", {}},
      {false, Job("daemon", "bin", dir / "dl/.", 0), "", -2, failedOwner + dir / "dl/.\n", {}},
      {true, Job("daemon", "bin", file, 0, list), "", 0, "", {"lists " + accessOf}},
      {true, Job("daemon", "bin", file, 0, list), "lists", -2, "Failed to set ACL on: " + file + "\n",
       {"lists " + accessOf}},
      {true, Job("", "", folder, 0, lists), "", 0, "",
       {"lists user::rwx,group::r-x,other::---|user::rwx,group::r-x,group:bin:r-x,mask::r-x,other::---"}},
      {true, Job("", "", file, 0, lists), "", -2, "Failed to set ACL on: " + file + "\n", {}},  // no folder
      {true, Job("", "", dir / "dl//", 0, list), "", -2, "Failed to set ACL on: " + dir / "dl//\n", {}},
      {true, Job("", "", missing, 0, list), "", -2, "File not found: " + missing + "\n", {}},
      // No usable list: the helper ends unhandled, having changed nothing.
      {true, Job("", "", file, 0, "user:0x1:rwx\n"), "", -3, "", {}},
      {true, Job("", "", file, 0), "", -3, "", {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.out + row.config);
    dir.Write("job.xml", row.config);
    const RecordingChanges changes(row.refuse);
    std::vector<String> args{"grantwright-helper"};
    if (row.acl) args.emplace_back("-a");
    args.insert(args.end(), {"-f", dir / "job.xml"});
    int64_t result = 0;
    EXPECT_EQ(RunApp(args, result), row.out);
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(changes.calls(), row.calls);
  }
}

}  // namespace
}  // namespace grantwright::testing
