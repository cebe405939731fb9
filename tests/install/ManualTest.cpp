// The installed manual pages as man-db reads them: no warning from groff, a NAME line
// that lexgrog (and so apropos and whatis) understands, and the sections of Debian's own
// pages in their order.

#include <gtest/gtest.h>

#include "install/Installed.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

TEST(Manual, EachPageRendersWithoutWarningsAndNamesItself) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  if (::access("/usr/bin/man", X_OK) != 0 || ::access("/usr/bin/lexgrog", X_OK) != 0) GTEST_SKIP() << "man-db is not installed";
  const struct {
    const char* page;
    const char* whatis;
  } pages[] = {
      {"man1/grantwright.1.gz", "grantwright - capture a file's access rights, explain a configuration, keep references to files"},
      {"man8/grantwright-helper.8.gz",
       "grantwright-helper - restore one file's owner, group and mode, or its access control list"},
  };
  const std::vector<std::string> sections = {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS",
                                             "FILES", "ENVIRONMENT", "EXAMPLES", "SEE ALSO"};
  for (const auto& p : pages) {
    const std::string path = prefix + "/share/man/" + p.page;
    // As lintian checks a page: every groff warning, at the width of a terminal.
    const ProcessResult shown = ::grantwright::testing::Run({"/usr/bin/man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", path},
                                    {.env = {"LC_ALL=C.UTF-8", "MANWIDTH=80"}});
    EXPECT_EQ(shown.status, 0) << p.page;
    EXPECT_EQ(shown.err, "") << p.page;
    EXPECT_EQ(::grantwright::testing::Run({"/usr/bin/lexgrog", path}).out, path + ": \"" + p.whatis + "\"\n");
    const ProcessResult plain = ::grantwright::testing::Run({"/usr/bin/man", "-l", path}, {.env = {"LC_ALL=C.UTF-8", "MANWIDTH=80", "MANPAGER=cat"}});
    size_t at = 0;
    for (const std::string& section : sections) {
      const size_t found = plain.out.find("\n" + section + "\n", at);
      EXPECT_NE(found, std::string::npos) << p.page << " has no " << section << " after offset " << at;
      if (found != std::string::npos) at = found;
    }
  }
}

}  // namespace
}  // namespace grantwright::testing
