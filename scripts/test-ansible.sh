#!/usr/bin/env bash
# Checks the Ansible role with ansible-lint, and updates 40 simulated cameras of 20 simulated hosts with it
# (tests/ansible/run.sh): check mode, two faulty cameras, a second run, batches, and a host that vanishes.
#   scripts/test-ansible.sh
# As root, for the hosts' file systems. PRESET (default dev) names the build, FORKS (default 20) how many hosts
# Ansible works on at a time. Exit status: 1 if anything is not as expected.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh build demo ansible
preset=${PRESET:-dev}
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target mirsko-update mirsko-simulator mirsko-package
(cd packaging/ansible && ansible-lint --offline --strict -q)
export MIRSKO_BIN=$PWD/build/$preset/bin
exec tests/isolated.sh tests/ansible/run.sh
