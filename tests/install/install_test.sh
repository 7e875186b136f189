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

# Every file the installation must produce, and nothing else.
expected_files() {
    printf '%s\n' \
        usr/lib/ardovane/conduvia/config/commands \
        usr/lib/ardovane/conduvia/config/env \
        usr/lib/ardovane/conduvia/config/ipaddr \
        usr/lib/ardovane/conduvia/doc \
        usr/lib/ardovane/termdef \
        usr/sbin/avconfig \
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
[ -d "$dest/usr/lib/ardovane/conduvia/config" ] || fail "config directory missing"
for f in ipaddr commands env; do
    [ -f "$dest/usr/lib/ardovane/conduvia/config/$f" ] && [ ! -s "$dest/usr/lib/ardovane/conduvia/config/$f" ] ||
        fail "config/$f is not an empty file"
done
cmp -s "$src/data/doc" "$dest/usr/lib/ardovane/conduvia/doc" || fail "doc differs from data/doc"
cmp -s "$src/data/termdef" "$dest/usr/lib/ardovane/termdef" || fail "termdef differs from data/termdef"
gzip -dc "$dest/usr/share/man/man8/avconfig.8.gz" | cmp -s - "$src/data/avconfig.8" ||
    fail "installed manual page differs from data/avconfig.8"

# The binary answers its version option without a terminal, as any user.
version=$("$dest/usr/sbin/avconfig" -qv 2>&1)
[ "$version" = "Program Version: 03.00.00" ] || fail "installed avconfig -qv printed '$version'"

# ---- reinstall over an administrator's configuration ---------------------------
cfg=$dest/usr/lib/ardovane/conduvia/config
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

# ---- Debian package ------------------------------------------------------------
rm -f "$release"/*.deb
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
    size=$(echo "$listing" | awk -v p="./usr/lib/ardovane/conduvia/config/$f" '$6 == p {print $3}')
    [ "$size" = 0 ] || fail "packaged config/$f is not empty (size '$size')"
done
mode=$(echo "$listing" | awk '$6 == "./usr/sbin/avconfig" {print $1}')
[ "$mode" = "-rwxr-xr-x" ] || fail "packaged avconfig has mode $mode"

conffiles=$(dpkg-deb -I "$deb" conffiles 2>&1)
want_conffiles=$(printf '%s\n' /usr/lib/ardovane/conduvia/config/ipaddr \
    /usr/lib/ardovane/conduvia/config/commands /usr/lib/ardovane/conduvia/config/env)
[ "$(echo "$conffiles" | sort)" = "$(echo "$want_conffiles" | sort)" ] ||
    fail "conffiles are '$conffiles'"

[ "$(dpkg-deb -f "$deb" Package)" = avconfig ] || fail "package name is not avconfig"
depends=$(dpkg-deb -f "$deb" Depends)
case "$depends" in
*libc6*libstdc++6* | *libstdc++6*libc6*) ;;
*) fail "Depends is '$depends'" ;;
esac
[ -n "$(dpkg-deb -f "$deb" Maintainer)" ] || fail "no Maintainer"
# Every continuation line of the description must start with exactly one blank.
dpkg-deb -f "$deb" Description >/dev/null || fail "control file does not parse"
bad=$(dpkg-deb -I "$deb" control | awk '/^Description:/ {d = 1; next} d && /^[^ ]/ {d = 0} d && /^   / {print}')
[ -z "$bad" ] || fail "description lines indented twice: $bad"

if [ "$failures" -ne 0 ]; then
    echo "$failures check(s) failed"
    exit 1
fi
echo "install and package checks passed"
