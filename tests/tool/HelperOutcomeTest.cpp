// The helper's outcome when a change is refused or a value names nothing, in process and
// without root: App runs against a FileChanges that records each change and refuses the
// kind a row names. What the kernel makes of the changes, and the lists' outcomes, are for
// the process-level tests (HelperTest, HelperAttackTest).

#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>

#include "platform/FileChanges.h"
#include "support/TestSupport.h"
#include "tool/App.h"
#include "tool/Jobs.h"

namespace grantwright::testing {
namespace {

// Records each change as "owner 1", "group 2", "mode 750" or "lists", and refuses those
// that start with `refuse`.
class RecordingChanges final : public FileChanges {
 public:
  explicit RecordingChanges(std::string refuse) : refuse_(std::move(refuse)), before_(InstallFileChanges(this)) {}
  ~RecordingChanges() override { InstallFileChanges(before_); }
  std::vector<std::string> calls;

  int ChangeOwner(int, uid_t owner, gid_t group) override {
    return Record(owner != static_cast<uid_t>(-1) ? "owner " + std::to_string(owner) : "group " + std::to_string(group));
  }
  int ChangeMode(int, mode_t mode) override { return Record((std::ostringstream() << "mode " << std::oct << mode).str()); }
  int ChangeLists(int, const struct stat&, acl_t, acl_t) override { return Record("lists"); }

 private:
  int Record(const std::string& call) {
    calls.push_back(call);
    return !refuse_.empty() && call.rfind(refuse_, 0) == 0 ? EPERM : 0;
  }
  std::string refuse_;
  FileChanges* before_;
};

TEST(HelperOutcome, EachStepsRefusalEndsTheJobWithItsLineAndNothingAfter) {
  TempDir dir;
  const std::string file = dir.Write("target", "x");
  const struct {
    bool acl;
    std::string config, refuse;  // refuse: the change FileChanges refuses
    int64_t result;
    std::string out;
    std::vector<std::string> calls;
  } rows[] = {
      {false, Job("daemon", "bin", file, 0750), "owner", -2, "Failed to set file owner to \"daemon\" on: " + file + "\n",
       {"owner 1"}},
      {false, Job("daemon", "bin", file, 0750), "group", -2, "Failed to set file group to \"bin\" on: " + file + "\n",
       {"owner 1", "group 2"}},
      {false, Job("daemon", "bin", file, 04750), "mode", -2, "Failed to set file permissions on: " + file + "\n",
       {"owner 1", "group 2", "mode 4750"}},
      // A NUL byte stops the job before its first change, whichever name holds it, though
      // what comes before it names an account or the file; control characters are shown
      // percent-encoded.
      {false, Job(std::string("daemon\0\nx\r", 10), "bin", file, 0), "", -2,
       "Failed to set file owner to \"daemon%00%0Ax%0D\" on: " + file + "\n", {}},
      {false, Job("daemon", std::string("bin\0", 4), file, 0), "", -2,
       "Failed to set file group to \"bin%00\" on: " + file + "\n", {}},
      {false, Job("daemon", "bin", file + std::string("\0\n\x7f", 3), 0), "", -2,
       "File not found: " + file + "%00%0A%7F\n", {}},
      // No usable list: the helper ends unhandled, having changed nothing.
      {true, Job("", "", file, 0, "user:0x1:rwx\n"), "", -3, "", {}},
      {true, Job("", "", file, 0), "", -3, "", {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.out + row.config);
    dir.Write("job.xml", row.config);
    const RecordingChanges changes(row.refuse);
    std::vector<String> args{"grantwright-helper", "-f", dir / "job.xml"};
    if (row.acl) args.insert(args.begin() + 1, "-a");
    int64_t result = 0;
    ::testing::internal::CaptureStdout();
    try {
      result = App().Event_Run(args);
    } catch (const std::exception&) {
      result = -3;  // an exception that reaches the top
    }
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), row.out);
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(changes.calls, row.calls);
  }
}

}  // namespace
}  // namespace grantwright::testing
