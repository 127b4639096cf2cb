#!/usr/bin/env bash
# clean_root.sh SOURCE BUILD-FOLDER: on a clean Debian, the packages can be installed, used and
# purged, and a newcomer's first command, as README.md shows it, has a reply. Needs root and the
# network.
set -euo pipefail
source=$1 build=$2

skip() {
  echo "skipped: $1"
  exit 77
}
((EUID == 0)) || skip "only root can make a root folder"
command -v debootstrap >/dev/null || skip "debootstrap is not installed"

root=$(mktemp -d)
chmod 0755 "$root"
trap 'rm -rf --one-file-system "$root"' EXIT
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
debootstrap --variant=minbase "$codename" "$root" >"$root.log" 2>&1 || { tail "$root.log"; skip "no Debian to be had"; }
rm "$root.log"

inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"; }
as_user() { inside su --login newcomer --command "$1"; }
inside useradd --create-home newcomer

cpack --config "$build/CPackConfig.cmake" -B "$root/packages" >/dev/null
before=$(inside dpkg-query --show)
inside sh -c 'apt-get update -qq && apt-get install -y -qq --no-install-recommends /packages/tarnwell_*.deb' >/dev/null
list='{"version":1,"command":"tasks.list"}'
expected='{"ok":true,"result":[],"revision":0,"version":1}'
[[ "$(as_user "printf '%s' '$list' | tarnwellctl")" == "$expected" ]]
for program in $(inside sh -c 'dpkg -L tarnwell | grep ^/usr/bin/.'); do
  inside "$program" --version </dev/null >/dev/null || [[ "$program" == /usr/bin/tarnwellctl ]]
done
inside sh -c 'apt-get purge -y -qq --autoremove tarnwell' >/dev/null
[[ "$(inside dpkg-query --show)" == "$before" ]]
left=$(find "$root/usr" "$root/etc" -iname '*tarnwell*')
[[ -z "$left" ]] || { echo "left after the purge: $left"; exit 1; }
echo "installed, used and purged"

mkdir "$root/tarnwell"
(cd "$source" && git ls-files -co --exclude-standard | tar --create --files-from - | tar --extract --directory "$root/tarnwell")
first=$(sed -n '/^echo /{p;q}' "$source/README.md")
start=$SECONDS
[[ "$(inside HOME=/root sh -c "cd /tarnwell && $first")" == "$expected" ]]
echo "a newcomer's first reply after $((SECONDS - start)) seconds, packages included"
