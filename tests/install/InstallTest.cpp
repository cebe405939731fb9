// What `cmake --install` puts in place, and a parent program built against it: the
// example under examples/ through find_package, and the same source through pkg-config.

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

TEST(Install, PutsEachPartInItsFolderWithNoWritableOrSetIdFile) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  const std::string lib = std::string(GRANTWRIGHT_INSTALL_LIBDIR) + "/";
  const struct {
    std::string path;
    mode_t mode;
  } expected[] = {
      {"bin/grantwright", 0755},
      {"libexec/grantwright/grantwright-helper", 0755},
      {"share/man/man1/grantwright.1.gz", 0644},
      {"share/man/man8/grantwright-helper.8.gz", 0644},
      {"share/bash-completion/completions/grantwright", 0644},
      {"include/grantwright/permissions/TraditionalPermissionsZRN.h", 0644},
      {"include/grantwright/platform/String.h", 0644},
      {lib + "libgrantwright_core.a", 0644},
      {lib + "libgrantwright_platform.a", 0644},
      {lib + "cmake/Grantwright/GrantwrightConfig.cmake", 0644},
      {lib + "cmake/Grantwright/GrantwrightConfigVersion.cmake", 0644},
      {lib + "cmake/Grantwright/GrantwrightTargets.cmake", 0644},
      {lib + "pkgconfig/grantwright.pc", 0644},
  };
  for (const auto& e : expected) {
    struct stat st;
    ASSERT_EQ(::stat((prefix + "/" + e.path).c_str(), &st), 0) << e.path;
    EXPECT_EQ(st.st_mode & 07777, e.mode) << e.path;
  }
  for (const auto& entry : fs::recursive_directory_iterator(prefix)) {
    const mode_t mode = static_cast<mode_t>(entry.symlink_status().permissions());
    EXPECT_EQ(mode & (S_IWOTH | S_ISUID | S_ISGID | S_ISVTX), 0u) << entry.path();
    // Nothing the parent program cannot link: the helper's own App stays out.
    EXPECT_NE(entry.path().filename(), "App.h");
  }
  // The installed programs run from where they are.
  EXPECT_EQ(::grantwright::testing::Run({prefix + "/bin/grantwright", "--help"}).status, 0);
  EXPECT_EQ(::grantwright::testing::Run({prefix + "/libexec/grantwright/grantwright-helper", "-f", prefix + "/none.xml"}).out,
            "Missing config file!\n");
}

// Every installed header compiles with nothing but the install on the include path: none
// reaches for a header that stayed behind.
TEST(Install, EveryHeaderCompilesFromTheInstall) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  const std::string include = prefix + "/include";
  std::string source;
  for (const auto& entry : fs::recursive_directory_iterator(include)) {
    if (entry.path().extension() == ".h") source += "#include <" + fs::relative(entry.path(), include).string() + ">\n";
  }
  ASSERT_NE(source.find("<grantwright/xml/XMLData.h>"), std::string::npos) << source;
  TempDir dir;
  const ProcessResult r = ::grantwright::testing::Run({GRANTWRIGHT_CXX, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-I" + include,
                                                       "-I" + include + "/grantwright", dir.Write("all.cpp", source)});
  EXPECT_EQ(r.status, 0) << r.err;
}

// The example's way to keep a file's rights across a command that changes them all: the
// owner, the group, the mode and a named entry of its list come back through the helper.
void ExpectKeepsRights(const std::string& keepRights) {
  TempDir dir;
  const std::string file = dir.Write("kept file", "x");
  Setfacl({"-m", "u:daemon:r-x,g:nogroup:rw-", file});
  if (IsRoot()) {
    ASSERT_EQ(::chown(file.c_str(), 1, 65534), 0);
  }
  ASSERT_EQ(::chmod(file.c_str(), 02750), 0);
  const std::string before = ::grantwright::testing::Run({"/usr/bin/stat", "-c", "%u %g %a", file}).out + Getfacl(file);
  const std::string scramble = "chmod 0606 \"$0\" && setfacl -b \"$0\"" + std::string(IsRoot() ? " && chown 0:0 \"$0\"" : "");
  const ProcessResult r = ::grantwright::testing::Run({keepRights, file, "/bin/sh", "-c", scramble, file});
  EXPECT_EQ(r.status, 0) << r.out << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(::grantwright::testing::Run({"/usr/bin/stat", "-c", "%u %g %a", file}).out + Getfacl(file), before);
}

TEST(Install, TheExampleBuildsWithFindPackageAndKeepsAFilesRights) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  TempDir build;
  const ProcessResult configure = ::grantwright::testing::Run({GRANTWRIGHT_CMAKE, "-S", GRANTWRIGHT_SOURCE_DIR "/examples/keep-rights",
                                       "-B", build.path(), "-G", GRANTWRIGHT_CMAKE_GENERATOR,
                                       "-DCMAKE_CXX_COMPILER=" GRANTWRIGHT_CXX, "-DCMAKE_PREFIX_PATH=" + prefix});
  ASSERT_EQ(configure.status, 0) << configure.out << configure.err;
  const ProcessResult compile = ::grantwright::testing::Run({GRANTWRIGHT_CMAKE, "--build", build.path()});
  ASSERT_EQ(compile.status, 0) << compile.out << compile.err;
  ExpectKeepsRights(build / "keep-rights");
}

TEST(Install, TheExampleBuildsWithPkgConfig) {
  const std::string prefix = InstalledPrefix();
  ASSERT_NE(prefix, "");
  // --define-prefix places the package where its .pc file is, as for a DESTDIR install.
  const auto query = [&](const std::vector<std::string>& args) {
    std::vector<std::string> argv{"/usr/bin/pkg-config", "--define-prefix"};
    argv.insert(argv.end(), args.begin(), args.end());
    const ProcessResult r = ::grantwright::testing::Run(argv, {.env = {"PKG_CONFIG_PATH=" + prefix + "/" GRANTWRIGHT_INSTALL_LIBDIR "/pkgconfig"}});
    EXPECT_EQ(r.status, 0) << r.err;
    return r.out.substr(0, r.out.find_last_not_of(" \n") + 1);
  };
  const std::string helper = query({"--variable=helper", "grantwright"});
  EXPECT_EQ(helper, prefix + "/libexec/grantwright/grantwright-helper");
  TempDir build;
  std::vector<std::string> compile{GRANTWRIGHT_CXX, "-std=c++20", "-DGRANTWRIGHT_HELPER=\"" + helper + "\"",
                                   GRANTWRIGHT_SOURCE_DIR "/examples/keep-rights/keep-rights.cpp", "-o", build / "keep-rights"};
  std::istringstream flags(query({"--cflags", "--libs", "grantwright"}));
  for (std::string flag; flags >> flag;) compile.push_back(flag);
  const ProcessResult r = ::grantwright::testing::Run(compile);
  ASSERT_EQ(r.status, 0) << r.err;
  ExpectKeepsRights(build / "keep-rights");
}

}  // namespace
}  // namespace grantwright::testing
