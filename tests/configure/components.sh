#!/usr/bin/env bash
# Succeeds when each component of the installation holds exactly the files of installed_files.txt and the
# public headers.
#   components.sh REPOSITORY BUILD CMAKE LIBRARY_FOLDER VERSION BUILD_TYPE
set -euo pipefail
export LC_ALL=C
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
for component in updater development tools simulator; do
    "$3" --install "$2" --component "$component" --prefix "$prefix/$component" >/dev/null
done

expected() {
    sed "/^#/d; s|@LIB@|$4|; s|@VERSION@|$5|; s|@MAJOR@|${5%%.*}|; s|@config@|${6,,}|" \
        "$1/tests/configure/installed_files.txt"
    cd "$1/sdk"
    find include -name '*.h' -printf 'development/%p\n'
}
diff <(expected "$@" | sort) <(cd "$prefix" && find . -not -type d -printf '%P\n' | sort) || {
    echo "(< is missing, > is not in tests/configure/installed_files.txt)" >&2
    exit 1
}
