#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Tries a command as a new user would: makes a minimal Debian with the updates of its security suite,
# clones the committed tree into it, runs the command there, and takes the system away again.
#
#   scripts/bare_system.sh SUITE [COMMAND [ARGUMENT]...]    SUITE: bookworm, trixie
#
# The command is `./run --help` when none is named. It ends with the command's exit status. Needs
# root, debootstrap and about 5 GiB below $BARE_SYSTEMS (/var/tmp/quillmarsh-bare when unset).
# Packages come from where this machine's own apt gets them; BARE_MIRROR and BARE_SECURITY_MIRROR
# name other places.
set -euo pipefail

if [ $# -eq 0 ]; then
  sed -n '2,/^set/{/^set/d;s/^# \?//p}' "$0" >&2
  exit 2
fi
suite=$1
shift
[ $# -gt 0 ] || set -- ./run --help
tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

if [ "$(id -u)" -ne 0 ]; then
  echo "A bare system can be made by root only." >&2
  exit 1
fi
command -v debootstrap >/dev/null || {
  echo "debootstrap is missing: apt-get install debootstrap" >&2
  exit 1
}

# In a mount namespace of its own, so that nothing stays mounted however this ends.
if [ "${BARE_INSIDE:-}" != yes ]; then
  BARE_INSIDE=yes exec unshare --mount --propagation private "$0" "$suite" "$@"
fi

# sites PATTERN: where this machine's apt finds an archive whose codename fits.
sites() {
  apt-get indextargets --format '$(CODENAME) $(REPO_URI)' | awk -v fits="$1" '$1 ~ fits {print $2; exit}'
}
mirror=${BARE_MIRROR:-$(sites '^[a-z]+$')}
security=${BARE_SECURITY_MIRROR:-$(sites '^[a-z]+-security$')}
if [ -z "$mirror" ] || [ -z "$security" ]; then
  echo "apt does not tell where packages and security updates come from:" >&2
  echo "set BARE_MIRROR and BARE_SECURITY_MIRROR." >&2
  exit 1
fi

systems=${BARE_SYSTEMS:-/var/tmp/quillmarsh-bare}
mkdir -p "$systems"
root=$(mktemp -d "$systems/$suite.XXXXXX")
take_away() {
  # Nothing below may be mounted any more: the machine's own devices are among it.
  umount -R "$root/proc" "$root/sys" "$root/dev" 2>/dev/null || true
  rm -rf --one-file-system "$root"
}
trap take_away EXIT
chmod 755 "$root"

echo "== a bare $suite in $root" >&2
debootstrap --variant=minbase "$suite" "$root" "$mirror" >"$root.log" 2>&1 || {
  tail -n 20 "$root.log" >&2
  exit 1
}
rm -f "$root.log"
cat >"$root/etc/apt/sources.list" <<END
deb $mirror $suite main
deb $mirror $suite-updates main
deb $security $suite-security main
END
cp /etc/resolv.conf "$root/etc/resolv.conf"
mount -t proc proc "$root/proc"
mount -t sysfs -o ro sysfs "$root/sys"
mount --rbind /dev "$root/dev"
mount --make-rslave "$root/dev"

inside() {
  env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM="${TERM:-dumb}" chroot "$root" "$@"
}
echo "== updates" >&2
inside apt-get update -qq >&2
inside env DEBIAN_FRONTEND=noninteractive apt-get upgrade -y -qq >/dev/null

echo "== $(git -C "$tree" log -1 --format='%h %s')" >&2
git clone --quiet --no-hardlinks "$tree" "$root/srv/quillmarsh"

echo "== $*" >&2
status=0
inside sh -c 'cd /srv/quillmarsh && exec "$@"' sh "$@" </dev/null || status=$?
echo "== $suite: $* ended with status $status" >&2
exit "$status"
