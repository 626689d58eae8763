#!/usr/bin/env bash
# Builds with coverage in build/coverage, runs the tests of the updater and of the SDK, and those of whole
# programs that alone use some of their code, and prints how many lines of each folder they ran, and the
# lines that they did not run:
#   scripts/coverage.sh [CTEST ARGUMENT…]        e.g. -R Thread
# Exit status: 1 when a folder is below its limit. docs/test-quality.md explains the lines that remain.
set -euo pipefail
cd "$(dirname "$0")/.."
command -v gcovr >/dev/null || {
    # Only this script needs it.
    echo "Please install as root: gcovr" >&2
    exit 2
}
build=build/coverage

mkdir -p "$build"
# Counters are written at exit, which a program that aborts never reaches.
cat >"$build/CountAborted.h" <<'EOF'
#include <csignal>
extern "C" void __gcov_dump(void);
namespace {
[[maybe_unused]] const auto kDefaultAction = std::signal(SIGABRT, [](int) { __gcov_dump(); });
}
EOF
# Atomic counters, since transfers run on threads of their own.
cmake --preset dev -B "$build" -D CMAKE_BUILD_TYPE=None -D MIRSKO_WARNINGS_AS_ERRORS=OFF \
    -D CMAKE_CXX_FLAGS="${CXXFLAGS:-} -O0 -w --coverage -fprofile-update=atomic \
        -include $PWD/$build/CountAborted.h" >/dev/null
log=$build/log
# mirsko-devices alone searches all interfaces and gives addresses; memory is short for the real program.
cmake --build "$build" --target tests/updater/all tests/sdk/all mirsko_devices_test \
    end_to_end_limits_test >"$log" || {
    tail -n 60 "$log"
    exit 1
}
find "$build" -name '*.gcda' -delete
# Tests that measure their own time and memory mean nothing in such a build, and demos have their own.
ctest --test-dir "$build" --parallel 8 --label-regex '^(updater|sdk|end_to_end)$' \
    --exclude-regex '(Hostile|Archived)DescriptionTest|/(Demo|Picture|Examples)Test' "$@" >"$log" || {
    tail -n 20 "$log"
    echo "Tests failed; lines that they would have run count as not run." >&2
}
gcovr --object-directory "$build" --gcov-ignore-parse-errors --json "$build/lines.json" \
    --filter '(app|update|transfer|firmware_file|sdk)/' "$build" >"$log"

python3 - "$build/lines.json" <<'EOF'
import collections, json, sys

limits = {"app": 98, "update": 98, "transfer": 98, "firmware_file": 98, "sdk": 92}
ran, lines, missed = collections.Counter(), collections.Counter(), []
for file in json.load(open(sys.argv[1]))["files"]:
    folder = file["file"].split("/")[0]
    for line in file["lines"]:
        if not line["gcovr/noncode"]:
            lines[folder] += 1
            ran[folder] += line["count"] > 0
            if line["count"] == 0:
                missed.append((file["file"], line["line_number"]))
texts = {}
for file, number in missed:
    texts.setdefault(file, open(file).read().splitlines())
    print(f"{file}:{number}: {texts[file][number - 1].strip()}")
below = False
for folder, limit in limits.items():
    share = 100 * ran[folder] / max(1, lines[folder])
    below |= share < limit
    print(f"{folder:15} {ran[folder]:5} of {lines[folder]:5} lines  {share:6.2f} %  (limit {limit} %)")
sys.exit(below)
EOF
