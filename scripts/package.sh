#!/usr/bin/env bash
# Makes the Debian packages of an architecture, and has lintian look at them.
#   scripts/package.sh [ARCHITECTURE]        default: this computer's
# in build/package/packages. On another computer, those for arm64 are cross-compiled, in
# build/arm64-package/packages. The same commit gives the same files. The packages' version names a commit
# that is not a release, and says if files were modified since.
# Settings: SOURCE_DATE_EPOCH, by default the time of the commit.
set -euo pipefail
cd "$(dirname "$0")/.."
native=$(dpkg --print-architecture)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
case ${1:-$native} in
"$native")
    preset=package
    scripts/install-deps.sh build packaging
    ;;
arm64)
    preset=arm64-package
    scripts/install-deps.sh build packaging arm64
    scripts/arm64-sysroot.sh
    # CPack calls it by its name; it has to look for libraries, and ask for their packages, there.
    sysroot=$PWD/build/arm64-sysroot
    printf '#!/bin/sh\nexec %s --admindir=%q -l%q "$@"\n' "$(command -v dpkg-shlibdeps)" \
        "$sysroot/var/lib/dpkg" "$sysroot/usr/lib/aarch64-linux-gnu" >"$work/dpkg-shlibdeps"
    chmod +x "$work/dpkg-shlibdeps"
    PATH=$work:$PATH
    ;;
*)
    echo "usage: scripts/package.sh [$native|arm64]" >&2
    exit 2
    ;;
esac

umask 022
export LC_ALL=C.UTF-8 SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
modified=$(git diff --quiet HEAD || echo .modified)
if [ -n "$modified" ] || ! git describe --exact-match --match "v$version" >/dev/null 2>&1; then
    version+=+git$(date --utc --date="@$SOURCE_DATE_EPOCH" +%Y%m%d%H%M%S).$(git rev-parse --short=8 HEAD)
fi

folder=build/$preset/packages
rm -rf "$folder"
log=$work/log
echo "Building… (a few minutes the first time)"
{
    cmake --preset "$preset" -D MIRSKO_PACKAGE_VERSION="$version$modified" &&
        cmake --build --preset "$preset" --target all package
} >"$log" 2>&1 || {
    tail -n 60 "$log"
    exit 1
}
rm -rf "$folder/_CPack_Packages"
(cd "$folder" && sha256sum -- *.deb)
# A package is data for lintian, so it may be root who looks at it.
lintian --allow-root --fail-on error --tag-display-limit 0 "$folder"/*.deb
