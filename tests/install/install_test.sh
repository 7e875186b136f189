#!/bin/bash
# Installs into temporary DESTDIRs and builds the Debian package through the
# Makefile targets, then checks what lands where.
#   install_test.sh <source dir> <work dir>
set -u
# Run from inside "make test": the outer make's job server and flags are not ours.
unset MAKEFLAGS MFLAGS MAKELEVEL
src=$1
work=$2
release=$work/release
failures=0

fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# Every file and link the installation must produce, and nothing else.
expected_files() {
    printf '%s\n' \
        etc/ardovane/conduvia/commands \
        etc/ardovane/conduvia/env \
        etc/ardovane/conduvia/ipaddr \
        usr/lib/ardovane/conduvia/config \
        usr/lib/ardovane/conduvia/doc \
        usr/lib/ardovane/termdef \
        usr/sbin/avconfig \
        usr/share/doc/avconfig/changelog.gz \
        usr/share/doc/avconfig/copyright \
        usr/share/lintian/overrides/avconfig \
        usr/share/man/man8/avconfig.8.gz
}

mkdir -p "$work"
rm -rf "$work/dest" "$work/saved"

# ---- manual page renders cleanly ------------------------------------------
warnings=$(groff -man -ww -z "$src/data/avconfig.8" 2>&1)
[ -z "$warnings" ] || fail "groff warnings in avconfig.8: $warnings"

# ---- the documentation fits the viewer ----------------------------------------
# The viewer shows 80 columns and draws every byte as one cell: a longer line
# is cut, and a tab or other control character would show as garbage.
bad=$(LC_ALL=C awk 'length > 80 || /[\001-\037\177]/ {print FILENAME ":" FNR}' "$src/data/doc")
[ -z "$bad" ] || fail "data/doc lines too long or with control characters: $bad"

# ---- fresh install ----------------------------------------------------------
if ! make -s -C "$src" install RELEASE_BUILD="$release" DESTDIR="$work/dest" >"$work/install1.log" 2>&1; then
    cat "$work/install1.log"
    fail "make install failed"
    exit 1
fi
dest=$work/dest

got=$(cd "$dest" && find . -type f -o -type l | sed 's|^\./||' | sort)
if [ "$got" != "$(expected_files)" ]; then
    fail "installed files differ:"
    diff <(expected_files) <(echo "$got")
fi

[ "$(stat -c %a "$dest/usr/sbin/avconfig")" = 755 ] || fail "avconfig mode is not 0755"
link=$(readlink "$dest/usr/lib/ardovane/conduvia/config")
[ "$link" = /etc/ardovane/conduvia ] || fail "config links to '$link'"
for f in ipaddr commands env; do
    [ -f "$dest/etc/ardovane/conduvia/$f" ] && [ ! -s "$dest/etc/ardovane/conduvia/$f" ] ||
        fail "config/$f is not an empty file"
done
[ "$(stat -c %a "$dest/etc/ardovane/conduvia/ipaddr")" = 666 ] || fail "ipaddr mode is not 0666"
cmp -s "$src/data/doc" "$dest/usr/lib/ardovane/conduvia/doc" || fail "doc differs from data/doc"
cmp -s "$src/data/termdef" "$dest/usr/lib/ardovane/termdef" || fail "termdef differs from data/termdef"
gzip -dc "$dest/usr/share/man/man8/avconfig.8.gz" | cmp -s - "$src/data/avconfig.8" ||
    fail "installed manual page differs from data/avconfig.8"

# The binary answers its version option without a terminal, as any user.
version=$("$dest/usr/sbin/avconfig" -qv 2>&1)
[ "$version" = "Program Version: 03.00.00" ] || fail "installed avconfig -qv printed '$version'"

# ---- reinstall over an administrator's configuration ---------------------------
cfg=$dest/etc/ardovane/conduvia
printf '%-15s %-15s  %-25s %d\n' sales 192.168.1.20 "" 0 >"$cfg/ipaddr"
printf 'ls -l\n' >"$cfg/commands"
printf 'TZ=UTC\nLANG=C' >"$cfg/env" # no final newline: must survive as is
chmod 600 "$cfg/env"
mkdir -p "$work/saved"
cp -p "$cfg"/* "$work/saved/"
echo "stale" >"$dest/usr/lib/ardovane/conduvia/doc"

if ! make -s -C "$src" install RELEASE_BUILD="$release" DESTDIR="$work/dest" >"$work/install2.log" 2>&1; then
    cat "$work/install2.log"
    fail "second make install failed"
fi
for f in ipaddr commands env; do
    cmp -s "$work/saved/$f" "$cfg/$f" || fail "reinstall changed config/$f"
done
[ "$(stat -c %a "$cfg/env")" = 600 ] || fail "reinstall changed the mode of config/env"
cmp -s "$src/data/doc" "$dest/usr/lib/ardovane/conduvia/doc" || fail "reinstall did not update doc"

# ---- install over one that predates the link: its directory stays in use --------
old=$work/old
rm -rf "$old"
mkdir -p "$old/usr/lib/ardovane/conduvia/config"
printf 'ls -l\n' >"$old/usr/lib/ardovane/conduvia/config/commands"
if ! make -s -C "$src" install RELEASE_BUILD="$release" DESTDIR="$old" >"$work/install3.log" 2>&1; then
    cat "$work/install3.log"
    fail "make install over an old layout failed"
fi
[ ! -L "$old/usr/lib/ardovane/conduvia/config" ] &&
    [ "$(cat "$old/usr/lib/ardovane/conduvia/config/commands")" = "ls -l" ] ||
    fail "install over an old layout replaced its configuration directory"

# ---- Debian package ------------------------------------------------------------
rm -f "$release"/*.deb
# make package fails on any lintian error or warning that is not overridden.
if ! make -s -C "$src" package RELEASE_BUILD="$release" >"$work/package.log" 2>&1; then
    cat "$work/package.log"
    fail "make package failed"
    exit 1
fi
debs=("$release"/avconfig_*.deb)
if [ ${#debs[@]} -ne 1 ] || [ ! -f "${debs[0]}" ]; then
    fail "expected one avconfig_*.deb in $release"
    exit 1
fi
deb=${debs[0]}

listing=$(dpkg-deb -c "$deb") || fail "dpkg-deb -c failed"
packaged=$(echo "$listing" | awk '$1 !~ /^d/ {print $6}' | sed 's|^\./||' | sort)
[ "$(echo "$listing" | awk '$6 == "./usr/lib/ardovane/conduvia/config" {print $1, $8}')" = \
    "lrwxrwxrwx /etc/ardovane/conduvia" ] || fail "packaged config is not a link to /etc/ardovane/conduvia"
if [ "$packaged" != "$(expected_files)" ]; then
    fail "packaged files differ:"
    diff <(expected_files) <(echo "$packaged")
fi
# Only the directories that lead to those files (no stray prefix such as usr/local).
dirs=$(echo "$listing" | awk '$1 ~ /^d/ {print $6}' | sed 's|^\./||; s|/$||' | sort)
want_dirs=$(expected_files | while read -r f; do
    d=$(dirname "$f")
    while [ "$d" != . ]; do
        echo "$d"
        d=$(dirname "$d")
    done
done | sort -u)
[ "$dirs" = "$want_dirs" ] || fail "packaged directories differ: $(diff <(echo "$want_dirs") <(echo "$dirs"))"
for f in ipaddr commands env; do
    size=$(echo "$listing" | awk -v p="./etc/ardovane/conduvia/$f" '$6 == p {print $3}')
    [ "$size" = 0 ] || fail "packaged config/$f is not empty (size '$size')"
done
mode=$(echo "$listing" | awk '$6 == "./etc/ardovane/conduvia/ipaddr" {print $1}')
[ "$mode" = "-rw-rw-rw-" ] || fail "packaged ipaddr has mode $mode"
mode=$(echo "$listing" | awk '$6 == "./usr/sbin/avconfig" {print $1}')
[ "$mode" = "-rwxr-xr-x" ] || fail "packaged avconfig has mode $mode"

conffiles=$(dpkg-deb -I "$deb" conffiles 2>&1)
want_conffiles=$(printf '%s\n' /etc/ardovane/conduvia/ipaddr \
    /etc/ardovane/conduvia/commands /etc/ardovane/conduvia/env)
[ "$(echo "$conffiles" | sort)" = "$(echo "$want_conffiles" | sort)" ] ||
    fail "conffiles are '$conffiles'"

[ "$(dpkg-deb -f "$deb" Package)" = avconfig ] || fail "package name is not avconfig"
# Depends as computed from the binary: the C library, nothing else.
depends=$(dpkg-deb -f "$deb" Depends)
[[ "$depends" =~ ^libc6\ \(\>=\ [0-9.]+\)$ ]] || fail "Depends is '$depends'"
[ "$(dpkg-deb -f "$deb" Maintainer)" = "Ardovane PC Conduvia team <conduvia@ardovane.com>" ] ||
    fail "Maintainer is '$(dpkg-deb -f "$deb" Maintainer)'"
# Every continuation line of the description must start with exactly one blank.
dpkg-deb -f "$deb" Description >/dev/null || fail "control file does not parse"
bad=$(dpkg-deb -I "$deb" control | awk '/^Description:/ {d = 1; next} d && /^[^ ]/ {d = 0} d && /^   / {print}')
[ -z "$bad" ] || fail "description lines indented twice: $bad"

# ---- reproducible: every date is the last commit's, a second build is identical ----
epoch=$(git -C "$src" log -1 --format=%ct 2>/dev/null)
if [ -n "$epoch" ] && [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
    # The ar headers' dates, exactly (ar tv prints them to the minute).
    bad=$(python3 - "$deb" "$epoch" <<'PY'
import sys
data = open(sys.argv[1], "rb").read()
pos = 8  # after "!<arch>\n"
while pos + 60 <= len(data):
    header = data[pos:pos + 60]
    if int(header[16:28]) != int(sys.argv[2]):
        print(header[:16].decode().strip(), int(header[16:28]))
    pos += 60 + int(header[48:58])
    pos += pos % 2
PY
    )
    [ -z "$bad" ] || fail "archive members not dated $epoch: $bad"
    newer=$(dpkg-deb --fsys-tarfile "$deb" | TZ=UTC tar -tv --full-time --numeric-owner -f - |
        awk -v e="$(date -u -d "@$epoch" '+%Y-%m-%d %H:%M:%S')" '$4 " " $5 > e {print $6}')
    [ -z "$newer" ] || fail "files dated after the last commit: $newer"
fi
# gzip keeps a time stamp in bytes 4 to 7 of its header: all zero here.
members=$(ar t "$deb" | grep '\.gz$')
for m in $members; do
    [ "$(ar p "$deb" "$m" | od -An -tx1 -j4 -N4 | tr -d ' ')" = 00000000 ] ||
        fail "$m carries a time stamp"
done
# A second build of the same sources, in another folder, is byte for byte the same.
src2=$work/source-copy
rm -rf "$src2"
mkdir -p "$src2"
(cd "$src" && git ls-files -z --cached --others --exclude-standard 2>/dev/null |
    tar --null --ignore-failed-read -T - -cf -) | tar -xf - -C "$src2"
if [ ! -f "$src2/Makefile" ]; then
    fail "could not copy the sources (not a git checkout?)"
elif ! SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$epoch} make -s -C "$src2" package \
    >"$work/package2.log" 2>&1; then
    cat "$work/package2.log"
    fail "make package in a second folder failed"
else
    cmp "$deb" "$src2"/build-release/avconfig_*.deb ||
        fail "two builds of the same sources differ: $deb, $(echo "$src2"/build-release/*.deb)"
fi

# ---- the 32-bit x86 package, where the compiler can build it ----
if echo 'int main() { return 0; }' | g++ -m32 -x c++ -o "$work/m32-probe" - 2>/dev/null; then
    if ! make -s -C "$src2" package ARCH=i386 >"$work/package-i386.log" 2>&1; then
        cat "$work/package-i386.log"
        fail "make package ARCH=i386 failed"
    else
        deb386=$(echo "$src2"/build-release-i386/avconfig_*_i386.deb)
        [ "$(dpkg-deb -f "$deb386" Architecture)" = i386 ] || fail "i386 package has another architecture"
        depends=$(dpkg-deb -f "$deb386" Depends)
        [[ "$depends" =~ ^libc6\ \(\>=\ [0-9.]+\)$ ]] || fail "i386 Depends is '$depends'"
        # The ELF header itself: class 1 (32-bit), data 1 (little-endian),
        # machine 3 (i386). file(1) words it differently from release to release.
        header=$(od -An -tx1 -N20 "$src2/build-release-i386/app/avconfig" | tr -d ' \n')
        [ "${header:0:12}${header:36:4}" = 7f454c4601010300 ] ||
            fail "i386 package's program is not a 32-bit x86 program (ELF header $header)"
    fi
fi
rm -rf "$src2"

# ---- dpkg into a root of its own: edits survive a reinstall, purge removes them ----
# No maintainer scripts, so dpkg needs no chroot; the libc dependency is not
# in that root.
droot=$work/dpkg-root
rm -rf "$droot"
mkdir -p "$droot/var/lib/dpkg/info" "$droot/var/lib/dpkg/updates"
touch "$droot/var/lib/dpkg/status"
dpkg_root() {
    dpkg --root="$droot" --log="$work/dpkg.log" --force-depends --force-not-root "$@" \
        >>"$work/dpkg.out" 2>&1 || fail "dpkg $* failed: $(tail -n 5 "$work/dpkg.out")"
}
dpkg_root -i "$deb"
[ "$(readlink "$droot/usr/lib/ardovane/conduvia/config")" = /etc/ardovane/conduvia ] ||
    fail "dpkg did not make the config link"
echo "ls -l" >"$droot/etc/ardovane/conduvia/commands"
dpkg_root --force-confold -i "$deb"
[ "$(cat "$droot/etc/ardovane/conduvia/commands" 2>&1)" = "ls -l" ] || fail "reinstall lost an edit"
dpkg_root --purge avconfig
[ ! -e "$droot/etc/ardovane" ] && [ ! -e "$droot/usr/lib/ardovane" ] ||
    fail "purge left: $(cd "$droot" && find etc usr 2>/dev/null)"

if [ "$failures" -ne 0 ]; then
    echo "$failures check(s) failed"
    exit 1
fi
echo "install and package checks passed"
