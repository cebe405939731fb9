// What `cmake --install` puts in place, and a parent program built against it: the
// example under examples/ through find_package, and the same source through pkg-config;
// the installed bash completion and manual pages, used as their tools use them.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "install/Installed.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

namespace fs = std::filesystem;

// Run, under a name that a test's own Run() does not hide.
ProcessResult Exec(const std::vector<std::string>& argv, const RunOptions& options = {}) { return Run(argv, options); }

// Each part in its folder, no file writable by others or set-id, the programs running from
// where they are, and every header compiling with nothing but the install on the include
// path: none reaches for a header that stayed behind.
TEST(Install, PutsEachPartInItsFolderWithNoWritableOrSetIdFile) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  const std::string lib = std::string(GRANTWRIGHT_INSTALL_LIBDIR) + "/";
  const std::pair<std::string, mode_t> expected[] = {
      {"bin/grantwright", 0755}, {"libexec/grantwright/grantwright-helper", 0755},
      {"share/man/man1/grantwright.1.gz", 0644}, {"share/man/man8/grantwright-helper.8.gz", 0644},
      {"share/bash-completion/completions/grantwright", 0644}, {"include/grantwright/platform/String.h", 0644},
      {"include/grantwright/permissions/TraditionalPermissionsZRN.h", 0644},
      {lib + "libgrantwright_core.a", 0644}, {lib + "libgrantwright_platform.a", 0644},
      {lib + "grantwright/libgrantwright-desktop.so", 0644},
      {lib + "cmake/Grantwright/GrantwrightConfig.cmake", 0644}, {lib + "cmake/Grantwright/GrantwrightTargets.cmake", 0644},
      {lib + "cmake/Grantwright/GrantwrightConfigVersion.cmake", 0644}, {lib + "pkgconfig/grantwright.pc", 0644},
  };
  for (const auto& [path, mode] : expected) {
    struct stat st;
    ASSERT_EQ(::stat((prefix + "/" + path).c_str(), &st), 0) << path;
    EXPECT_EQ(st.st_mode & 07777, mode) << path;
  }
  const std::string include = prefix + "/include";
  std::string headers;
  for (const auto& entry : fs::recursive_directory_iterator(prefix)) {
    const mode_t mode = static_cast<mode_t>(entry.symlink_status().permissions());
    EXPECT_EQ(mode & (S_IWOTH | S_ISUID | S_ISGID | S_ISVTX), 0u) << entry.path();
    // Nothing the parent program cannot link: the helper's own App stays out.
    EXPECT_NE(entry.path().filename(), "App.h");
    if (entry.path().extension() == ".h") headers += "#include <" + fs::relative(entry.path(), include).string() + ">\n";
  }
  EXPECT_EQ(Exec({prefix + "/bin/grantwright", "--help"}).status, 0);
  // The desktop's services load from the install, wherever its prefix is; a program moved
  // away from them says so for the command that needs them, and runs the others.
  const ProcessResult info = Exec({prefix + "/bin/grantwright", "info", prefix + "/bin/grantwright"});
  EXPECT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("\"contentType\": \"application/"), std::string::npos) << info.out;
  TempDir moved;
  fs::copy_file(prefix + "/bin/grantwright", moved / "grantwright");
  const ProcessResult lost = Exec({moved / "grantwright", "info", prefix + "/bin/grantwright"});
  EXPECT_EQ(lost.status, 1);
  EXPECT_TRUE(lost.err.starts_with("grantwright: the desktop's services cannot be loaded: libgrantwright-desktop.so: "))
      << lost.err;
  EXPECT_EQ(Exec({moved / "grantwright", "--help"}).status, 0);
  EXPECT_EQ(Exec({prefix + "/libexec/grantwright/grantwright-helper", "-f", prefix + "/none.xml"}).out, "Missing config file!\n");
  ASSERT_NE(headers.find("<grantwright/xml/XMLData.h>"), std::string::npos) << headers;
  TempDir dir;
  const ProcessResult r = Exec({GRANTWRIGHT_CXX, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-I" + include,
                               "-I" + include + "/grantwright", dir.Write("all.cpp", headers)});
  EXPECT_EQ(r.status, 0) << r.err;
}

// The example, built through find_package and through pkg-config, keeps a file's rights
// across a command that changes them all: the owner, the group, the mode and a named entry
// of its list come back through the helper.
TEST(Install, TheExampleBuildsWithFindPackageAndPkgConfigAndKeepsAFilesRights) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  TempDir build;
  const ProcessResult configure = Exec({GRANTWRIGHT_CMAKE, "-S", GRANTWRIGHT_SOURCE_DIR "/examples/keep-rights", "-B",
                                        build.path(), "-G", GRANTWRIGHT_CMAKE_GENERATOR,
                                        "-DCMAKE_CXX_COMPILER=" GRANTWRIGHT_CXX, "-DCMAKE_PREFIX_PATH=" + prefix});
  ASSERT_EQ(configure.status, 0) << configure.out << configure.err;
  const ProcessResult cmake = Exec({GRANTWRIGHT_CMAKE, "--build", build.path()});
  ASSERT_EQ(cmake.status, 0) << cmake.out << cmake.err;

  // --define-prefix places the package where its .pc file is, as for a DESTDIR install.
  const auto query = [&](std::vector<std::string> args) {
    args.insert(args.begin(), {"/usr/bin/pkg-config", "--define-prefix"});
    const ProcessResult r = Exec(args, {.env = {"PKG_CONFIG_PATH=" + prefix + "/" GRANTWRIGHT_INSTALL_LIBDIR "/pkgconfig"}});
    EXPECT_EQ(r.status, 0) << r.err;
    return r.out.substr(0, r.out.find_last_not_of(" \n") + 1);
  };
  const std::string helper = query({"--variable=helper", "grantwright"});
  EXPECT_EQ(helper, prefix + "/libexec/grantwright/grantwright-helper");
  std::vector<std::string> compile{GRANTWRIGHT_CXX, "-std=c++20", "-DGRANTWRIGHT_HELPER=\"" + helper + "\"",
                                   GRANTWRIGHT_SOURCE_DIR "/examples/keep-rights/keep-rights.cpp",
                                   "-o", build / "pc-keep-rights"};
  std::istringstream flags(query({"--cflags", "--libs", "grantwright"}));
  for (std::string flag; flags >> flag;) compile.push_back(flag);
  const ProcessResult pc = Exec(compile);
  ASSERT_EQ(pc.status, 0) << pc.err;

  for (const std::string& keepRights : {build / "keep-rights", build / "pc-keep-rights"}) {
    TempDir dir;
    const std::string file = dir.Write("kept file", "x");
    Setfacl({"-m", "u:daemon:r-x,g:nogroup:rw-", file});
    if (IsRoot()) {
      ASSERT_EQ(::chown(file.c_str(), 1, 65534), 0);
    }
    ASSERT_EQ(::chmod(file.c_str(), 02750), 0);
    const std::string before = Exec({"/usr/bin/stat", "-c", "%u %g %a", file}).out + Getfacl(file);
    const std::string scramble = "chmod 0606 \"$0\" && setfacl -b \"$0\"" + std::string(IsRoot() ? " && chown 0:0 \"$0\"" : "");
    const ProcessResult r = Exec({keepRights, file, "/bin/sh", "-c", scramble, file});
    EXPECT_EQ(r.status, 0) << keepRights << r.out << r.err;
    EXPECT_EQ(r.out, "") << keepRights;
    EXPECT_EQ(Exec({"/usr/bin/stat", "-c", "%u %g %a", file}).out + Getfacl(file), before) << keepRights;
  }
}

constexpr const char* kBashCompletion = "/usr/share/bash-completion/bash_completion";

// The completion, loaded as bash-completion loads it, completing command lines.
TEST(Completion, OffersTheCommandsThenFilesAndTheOutputOption) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  if (::access(kBashCompletion, R_OK) != 0) GTEST_SKIP() << "bash-completion is not installed";
  TempDir dir;
  dir.Write("job.xml", "");
  dir.Write("notes.txt", "");
  const std::pair<std::string, std::string> cases[] = {  // the line up to the cursor, the completions, sorted
      {"grantwright ", "--help\ncapture\nexplain\ninfo\nreference\nresolve\n"}, {"grantwright --help ", ""},
      {"grantwright re", "reference\nresolve\n"}, {"grantwright reference notes.txt ", "-o\n"},
      {"grantwright capture " + dir / "n", dir / "notes.txt\n"}, {"grantwright capture notes.txt -o out.xml ", ""},
      {"grantwright capture notes.txt -o " + dir / "j", dir / "job.xml\n"},
      {"grantwright explain " + dir / "j", dir / "job.xml\n"}, {"grantwright explain job.xml ", ""},
      {"grantwright resolve " + dir / "j", dir / "job.xml\n"}, {"grantwright info --r", "--reference\n--route\n"},
      {"grantwright info notes.txt --icon 16 -o " + dir / "j", dir / "job.xml\n"},
      {"grantwright info --reference " + dir / "j", dir / "job.xml\n"},
  };
  const std::string script =
      std::string("source ") + kBashCompletion + "\nsource " + prefix + "/share/bash-completion/completions/grantwright\n"
      "COMP_LINE=$1; COMP_POINT=${#1}\n"
      "read -ra COMP_WORDS <<<\"$1\"; [[ $1 == *' ' ]] && COMP_WORDS+=('')\n"
      "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
      "_grantwright grantwright \"${COMP_WORDS[COMP_CWORD]}\" \"${COMP_WORDS[COMP_CWORD-1]}\"\n"
      "printf '%s\\n' \"${COMPREPLY[@]}\" | sort\n";
  for (const auto& [line, offered] : cases) {
    const ProcessResult r = Exec({"/bin/bash", "-c", script, "complete", line});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out == "\n" ? "" : r.out, offered) << line;
  }
}

// The manual pages as man-db reads them: no warning from groff, a NAME line that lexgrog
// (and so apropos and whatis) understands, and the sections of Debian's own pages in order.
TEST(Manual, EachPageRendersWithoutWarningsAndNamesItself) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  if (::access("/usr/bin/man", X_OK) != 0 || ::access("/usr/bin/lexgrog", X_OK) != 0) GTEST_SKIP() << "man-db is not installed";
  const std::pair<std::string, std::string> pages[] = {  // the page, its whatis line
      {"man1/grantwright.1.gz", "grantwright - capture a file's access rights, explain a configuration, keep references to files"},
      {"man8/grantwright-helper.8.gz",
       "grantwright-helper - restore one file's owner, group and mode, or its access control list"},
  };
  const std::vector<std::string> sections = {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS",
                                             "FILES", "ENVIRONMENT", "EXAMPLES", "SEE ALSO"};
  for (const auto& [page, whatis] : pages) {
    const std::string path = prefix + "/share/man/" + page;
    // As lintian checks a page: every groff warning, at the width of a terminal.
    const ProcessResult shown =
        Exec({"/usr/bin/man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", path}, {.env = {"LC_ALL=C.UTF-8", "MANWIDTH=80"}});
    EXPECT_EQ(shown.status, 0) << page;
    EXPECT_EQ(shown.err, "") << page;
    EXPECT_EQ(Exec({"/usr/bin/lexgrog", path}).out, path + ": \"" + whatis + "\"\n");
    const ProcessResult plain = Exec({"/usr/bin/man", "-l", path}, {.env = {"LC_ALL=C.UTF-8", "MANWIDTH=80", "MANPAGER=cat"}});
    size_t at = 0;
    for (const std::string& section : sections) {
      const size_t found = plain.out.find("\n" + section + "\n", at);
      EXPECT_NE(found, std::string::npos) << page << " has no " << section << " after offset " << at;
      if (found != std::string::npos) at = found;
    }
  }
}

}  // namespace
}  // namespace grantwright::testing
