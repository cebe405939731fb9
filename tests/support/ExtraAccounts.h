#pragma once
// An account and a group that /etc/passwd and /etc/group don't hold, served by a second
// source of the account database: libnss-extrausers, which reads /var/lib/extrausers/.
//
// The constructor adds the source to the passwd and group lines of /etc/nsswitch.conf and
// the two entries to the module's files; the destructor puts both back as they were (also
// when the test fails). Only one such scope exists at a time on the machine: the scopes
// of concurrent test processes wait for each other on a lock under /run. Other processes
// see the extra source meanwhile, which changes nothing for them: it holds only these two
// entries.

#include <sys/types.h>

#include <string>
#include <vector>

namespace grantwright::testing {

class ExtraAccounts {
 public:
  // `name` is the account's and the group's name (the caller's test prefix plus something
  // unique); `id` their uid and gid.
  ExtraAccounts(const std::string& name, uint32_t id);
  ~ExtraAccounts();
  ExtraAccounts(const ExtraAccounts&) = delete;
  ExtraAccounts& operator=(const ExtraAccounts&) = delete;

  // Empty when the accounts are in place and a dynamically linked getent finds them;
  // otherwise why not (no root, no module, a file that could not be changed), for a skip.
  const std::string& unavailable() const { return unavailable_; }

 private:
  struct Saved {
    std::string path;
    bool existed;
    std::string bytes;
  };
  std::string SetUp(const std::string& name, uint32_t id);
  // Gives `path` the text `change` makes of its current one (empty when it is absent),
  // atomically, keeping what was there for the destructor.
  bool Change(const std::string& path, std::string (*change)(std::string, const std::string&),
              const std::string& argument);

  int lock_ = -1;
  bool madeFolder_ = false;
  std::vector<Saved> saved_;  // put back in reverse order
  std::string unavailable_;
};

}  // namespace grantwright::testing
