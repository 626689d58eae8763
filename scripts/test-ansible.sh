#!/usr/bin/env bash
# Checks the Ansible role with ansible-lint, and updates 40 simulated cameras of 20 simulated hosts with it
# (tests/ansible/run.sh): check mode, two faulty cameras, a second run, batches, hosts that vanish.
#   scripts/test-ansible.sh
# As root or as a user with sudo, for the hosts' file systems; takes five to ten minutes on two cores. PRESET
# (default dev) names the build, FORKS (default 20) how many hosts Ansible works on at a time. Exit status: 1 if
# anything is not as expected.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh build demo ansible
preset=${PRESET:-dev}
as_root=()
[ "$(id -u)" = 0 ] || as_root=(sudo)
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target mirsko-update mirsko-simulator mirsko-package
(cd packaging/ansible && ansible-lint --offline --strict -q)
exec "${as_root[@]}" env MIRSKO_BIN="$PWD/build/$preset/bin" FORKS="${FORKS:-20}" \
    tests/isolated.sh tests/ansible/run.sh
