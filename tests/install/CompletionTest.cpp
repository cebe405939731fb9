// The installed bash completion, loaded as bash-completion loads it, completing command
// lines of grantwright.

#include <gtest/gtest.h>
#include <unistd.h>

#include "install/Installed.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

constexpr const char* kBashCompletion = "/usr/share/bash-completion/bash_completion";

TEST(Completion, OffersTheCommandsThenFilesAndTheOutputOption) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  if (::access(kBashCompletion, R_OK) != 0) GTEST_SKIP() << "bash-completion is not installed";
  TempDir dir;
  dir.Write("job.xml", "");
  dir.Write("notes.txt", "");
  const struct {
    std::string line;  // the command line up to the cursor
    std::string offered;  // the completions, sorted, one a line
  } cases[] = {
      {"grantwright ", "--help\ncapture\nexplain\ninfo\nreference\nresolve\n"},
      {"grantwright re", "reference\nresolve\n"},
      {"grantwright reference notes.txt ", "-o\n"},
      {"grantwright resolve " + dir / "j", dir / "job.xml\n"},
      {"grantwright ca", "capture\n"},
      {"grantwright capture " + dir / "n", dir / "notes.txt\n"},
      {"grantwright capture notes.txt ", "-o\n"},
      {"grantwright capture notes.txt -o " + dir / "j", dir / "job.xml\n"},
      {"grantwright capture notes.txt -o out.xml ", ""},
      {"grantwright explain " + dir / "j", dir / "job.xml\n"},
      {"grantwright explain job.xml ", ""},
      {"grantwright info --r", "--reference\n--route\n"},
      {"grantwright info notes.txt --icon 16 -o " + dir / "j", dir / "job.xml\n"},
      {"grantwright info --reference " + dir / "j", dir / "job.xml\n"},
      {"grantwright --help ", ""},
  };
  const std::string script =
      std::string("source ") + kBashCompletion + "\nsource " + prefix +
      "/share/bash-completion/completions/grantwright\n"
      "COMP_LINE=$1; COMP_POINT=${#1}\n"
      "read -ra COMP_WORDS <<<\"$1\"; [[ $1 == *' ' ]] && COMP_WORDS+=('')\n"
      "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
      "_grantwright grantwright \"${COMP_WORDS[COMP_CWORD]}\" \"${COMP_WORDS[COMP_CWORD-1]}\"\n"
      "printf '%s\\n' \"${COMPREPLY[@]}\" | sort\n";
  for (const auto& c : cases) {
    const ProcessResult r = ::grantwright::testing::Run({"/bin/bash", "-c", script, "complete", c.line});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out == "\n" ? "" : r.out, c.offered) << c.line;
  }
}

}  // namespace
}  // namespace grantwright::testing
