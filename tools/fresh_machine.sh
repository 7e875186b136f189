#!/usr/bin/env bash
# Runs one of the README's two commands the way a newcomer would: on a
# freshly bootstrapped minimal Debian that has only make and git, with the
# project cloned into it.
#
#   tools/fresh_machine.sh RELEASE COMMAND    RELEASE: bookworm | trixie
#                                             COMMAND: run | test
#
# Prints one line: release, command, passed or failed, seconds, commit.
# Needs root, debootstrap, git, python3 and the package mirror; takes minutes,
# so it is not part of "make test".
#
# Environment:
#   AV_FRESH_DIR   where the systems live (default /var/tmp/avconfig-fresh)
#   AV_FRESH_REF   the commit to clone (default HEAD of this repository)
#
# The pristine base of each release is made once and kept; every run works
# on an overlay over it, so a later run costs only the build. Downloaded
# packages are kept beside the base for the same reason.
set -euo pipefail

usage() {
    echo "usage: $0 bookworm|trixie run|test" >&2
    exit 2
}

[ $# -eq 2 ] || usage
release=$1
command=$2
case $release in bookworm | trixie) ;; *) usage ;; esac
case $command in run | test) ;; *) usage ;; esac
[ "$(id -u)" = 0 ] || { echo "$0: needs root (debootstrap, chroot, mounts)" >&2; exit 2; }
for tool in debootstrap git python3 unshare; do
    command -v $tool >/dev/null || { echo "$0: $tool is missing" >&2; exit 2; }
done

here=$(cd "$(dirname "$0")" && pwd)
src=$(git -C "$here" rev-parse --show-toplevel)
commit=$(git -C "$src" rev-parse --verify "${AV_FRESH_REF:-HEAD}^{commit}")
top=${AV_FRESH_DIR:-/var/tmp/avconfig-fresh}/$release
base=$top/base
run=$top/$command
log=$top/$command.log

# The mirror this machine's own apt uses: the first plain "deb" source that
# is not the security archive, from deb822 .sources files or one-line lists.
apt_mirror() {
    local f
    for f in /etc/apt/sources.list.d/*.sources; do
        [ -e "$f" ] || continue
        awk 'BEGIN { RS = ""; FS = "\n" }
             {
                 uri = ""; types = ""; suites = ""; off = 0
                 for (i = 1; i <= NF; i++) {
                     line = $i
                     if (line ~ /^[ \t]*#/) continue
                     if (line ~ /^URIs:/) { sub(/^URIs:[ \t]*/, "", line); split(line, u, /[ \t]+/); uri = u[1] }
                     else if (line ~ /^Types:/) types = line
                     else if (line ~ /^Suites:/) suites = line
                     else if (line ~ /^Enabled:[ \t]*[Nn]o/) off = 1
                 }
                 if (!off && uri != "" && types ~ /[ \t]deb([ \t]|$)/ && suites !~ /-security/ && uri !~ /security/) {
                     print uri; exit
                 }
             }' "$f"
    done
    for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -e "$f" ] || continue
        # deb [options] URI suite components
        sed -n 's/^[[:space:]]*deb[[:space:]]\+\(\[[^]]*\][[:space:]]\+\)\?\([^[:space:]]\+\)[[:space:]]\+\([^[:space:]]\+\).*/\2 \3/p' "$f" |
            awk '$2 !~ /-security/ && $1 !~ /security/ { print $1 }'
    done
}

# Keep the pristine base: bootstrapped into a scratch tree that only becomes
# the base once complete, so an interrupted bootstrap is never taken for one.
if [ ! -e "$base/.complete" ]; then
    mirror=$(apt_mirror | head -n 1)
    [ -n "$mirror" ] || { echo "$0: no Debian mirror found in /etc/apt sources" >&2; exit 2; }
    mkdir -p "$top"
    rm -rf "$base" "$base.new"
    echo "bootstrapping $release from $mirror into $base" >&2
    if ! debootstrap --variant=minbase --include=make,git "$release" "$base.new" "$mirror" \
        >"$top/debootstrap.log" 2>&1; then
        tail -n 20 "$top/debootstrap.log" >&2
        echo "$release $command failed 0s (debootstrap; see $top/debootstrap.log)"
        exit 1
    fi
    touch "$base.new/.complete"
    mv "$base.new" "$base"
fi

# A fresh overlay per run; the previous run's tree is kept until this one.
rm -rf "$run"
mkdir -p "$run/upper" "$run/work" "$run/root" "$top/archives/partial"
git clone -q --no-checkout "$src" "$run/clone"
git -C "$run/clone" checkout -q --detach "$commit"

start=$(date +%s)
status=0
# A private mount namespace: whatever happens, the mounts go with the process.
AV_ROOT=$run/root AV_BASE=$base AV_RUN=$run AV_ARCHIVES=$top/archives AV_COMMAND=$command \
    unshare --mount --propagation private -- bash -euo pipefail -c '
    mount -t overlay overlay -o "lowerdir=$AV_BASE,upperdir=$AV_RUN/upper,workdir=$AV_RUN/work" "$AV_ROOT"
    mount --bind /dev "$AV_ROOT/dev"
    mount --bind /dev/pts "$AV_ROOT/dev/pts"
    mount -t proc proc "$AV_ROOT/proc"
    mount --bind "$AV_ARCHIVES" "$AV_ROOT/var/cache/apt/archives"
    cp -L /etc/resolv.conf "$AV_ROOT/etc/resolv.conf"
    mkdir -p "$AV_ROOT/root/avconfig"
    cp -a "$AV_RUN/clone/." "$AV_ROOT/root/avconfig/"
    cmd=(chroot "$AV_ROOT" /usr/bin/env -i HOME=/root TERM=xterm LANG=C.UTF-8
         PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
         make -C /root/avconfig "$AV_COMMAND")
    if [ "$AV_COMMAND" = test ]; then
        "${cmd[@]}" </dev/null
    else
        python3 "'"$here"'/fresh_machine_run.py" "${cmd[@]}"
    fi
' >"$log" 2>&1 || status=$?
seconds=$(($(date +%s) - start))

result=passed
[ $status -eq 0 ] || result=failed
echo "$release $command $result ${seconds}s (commit ${commit:0:10}, log $log)"
[ $status -eq 0 ]
