# The job both whole-process scripts time, sourced by them: a scratch folder $work (removed
# on exit) with its own preference store, the file $file, and $work/job.xml naming it with
# the caller's $owner and $group, a mode, and the list $acl; and `installed <program>`,
# which copies a program into $work/bin as an installation would and prints the copy's path.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/config
file=$work/target
echo x >"$file"
owner=$(id -un)
group=$(id -gn)
acl="user::rw-,user:daemon:r--,group::r--,mask::r--,other::---"
encode() { python3 -c 'import sys, urllib.parse; print(urllib.parse.quote(sys.argv[1], safe=""))' "$1"; }
cat >"$work/job.xml" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<Config>
  <Owner datatype="String">$owner</Owner>
  <Group datatype="String">$group</Group>
  <UnixFilePath datatype="String">$(encode "$file")</UnixFilePath>
  <PermsOwner datatype="Array"><array_0 datatype="String">read</array_0><array_1 datatype="String">write</array_1><array_2 datatype="String">execute</array_2></PermsOwner>
  <PermsGroup datatype="Array"><array_0 datatype="String">read</array_0><array_1 datatype="String">execute</array_1></PermsGroup>
  <RawACLRights datatype="String">$(encode "$acl")</RawACLRights>
</Config>
XML

# Programs are timed as installed copies. How a program's pages came into the page cache
# changes what mapping them costs at every start: the helper, whose start maps its whole
# image, ran up to 1.07x slower from a file the linker had written (over and over, in a
# build folder) than from a copy of it written once, as install or a package writes it (the
# static C programs up to 1.02x). A copy is what a user runs.
installed() {
  mkdir -p "$work/bin"
  install -m 0755 "$1" "$work/bin/"
  echo "$work/bin/$(basename "$1")"
}
