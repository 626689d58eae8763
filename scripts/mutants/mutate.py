"""Builds every mutant of the given sources in one tree and lets the tests look for each of them."""
import argparse
import collections
import concurrent.futures
import contextlib
import glob
import json
import os
import pickle
import random
import re
import resource
import signal
import subprocess
import sys
import tempfile
import time

import schemata

# Each part has to reach the limit by itself.
PARTS = {"updater": ["app", "update", "transfer", "firmware_file"],
         "node map": ["sdk/NxGenICam/node_map"]}
FOLDERS = sum(PARTS.values(), [])
LIMIT = 95  # % of those that are not equivalent
# The fast ones first: what they notice is not asked again.
PROGRAMS = ["updater_test", "firmware_file_faults_test", "sdk_node_map_room_test", "sdk_node_map_test",
            "sdk_gen_file_test"]
EQUIVALENT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "equivalent.txt")
FAST = 0.3  # seconds
Test = collections.namedtuple("Test", "name program command seconds reached alone")


def run(command, log, **options):
    environment = dict(os.environ, CPATH=os.path.dirname(os.path.abspath(__file__)))  # for Mutant.h
    with open(log, "a") as file:
        return subprocess.run(command, stdout=file, stderr=subprocess.STDOUT, env=environment,
                              check=False, **options)


def copy_tree(root, tree):
    listed = subprocess.check_output(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=root)
    os.makedirs(tree, exist_ok=True)
    subprocess.run(["xargs", "-0", "cp", "--parents", "--preserve", "--update", "-t", tree],
                   input=listed, cwd=root, check=True)


def lines_of(path):
    with contextlib.suppress(FileNotFoundError), open(path) as file:
        return set(file.read().splitlines())
    return set()


def build(root, tree, log, paths):
    """Builds all mutants; those that no compiler can switch at run time are left out."""
    binary = os.path.join(tree, "build", "dev")
    configure = ["cmake", "--preset", "dev", "-D", "MIRSKO_WARNINGS_AS_ERRORS=OFF"]
    if run(configure, log, cwd=tree).returncode != 0:
        sys.exit(f"cannot configure {tree}, see {log}")
    with open(os.path.join(binary, "compile_commands.json")) as file:
        commands = {entry["file"].replace(tree, root): entry["command"].replace(tree, root)
                    for entry in json.load(file)}
    sources, mutants = schemata.find(root, commands, paths)
    left_out = lines_of(f"{binary}.left-out")
    mutants = [mutant for mutant in mutants if mutant.key not in left_out]
    while True:
        schemata.write(tree, sources, mutants)
        begin = os.path.getsize(log)
        command = ["cmake", "--build", binary, "-j2", "--target", *PROGRAMS, "--", "-k", "0"]
        if run(command, log).returncode == 0:
            return mutants, len(left_out)
        with open(log) as file:
            file.seek(begin)
            said = file.read()
        errors = collections.defaultdict(set)
        for name, line in re.findall(r"^([^\s:]+):(\d+):\d+: error", said, re.M):
            errors[os.path.relpath(os.path.join(binary, name), tree)].add(int(line))
        kept = [m for m in mutants
                if errors[m.file].isdisjoint(range(*sources[m.file].lines(m)))]
        if len(kept) == len(mutants):
            sys.exit(f"the mutated tree does not build, see {log}")
        left_out |= {mutant.key for mutant in mutants} - {mutant.key for mutant in kept}
        with open(f"{binary}.left-out", "w") as file:
            print(*sorted(left_out), sep="\n", file=file)
        mutants = kept


def tests_of(binary):
    listed = json.loads(subprocess.check_output(["ctest", "--show-only=json-v1"], cwd=binary))
    found = []
    for test in listed["tests"]:
        command = test.get("command", [])
        program = next((p for p in PROGRAMS if any(os.path.basename(w) == p for w in command)), None)
        if program:
            name = next(w.split("=", 1)[1] for w in command if w.startswith("--gtest_filter="))
            command = [w for w in command if not w.startswith("--gtest")]
            found.append(Test(name, program, command, 0, frozenset(), False))
    return found


def limits():
    # A mutant may ask for any memory.
    resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def attempt(command, names, environment, seconds):
    """True when these tests pass, False when one fails, None when they do not end."""
    process = subprocess.Popen([*command, "--gtest_fail_fast", "--gtest_filter=" + ":".join(names)],
                               env=dict(os.environ, **environment), start_new_session=True,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               preexec_fn=limits)
    try:
        return process.wait(seconds) == 0
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        return None


def watch(test):
    """Runs a test without any mutant: which ones it reaches, and how long it takes."""
    with tempfile.NamedTemporaryFile(dir=os.path.dirname(test.command[-1])) as file:
        file.truncate(1 << 16)
        begin = time.monotonic()
        if not attempt(test.command, [test.name], {"MUTANTS_REACHED": file.name}, 120):
            sys.exit(f"{test.name} fails without any mutant")
        seconds = time.monotonic() - begin
        reached = frozenset(i for i, byte in enumerate(file.read()) if byte)
    return test._replace(seconds=seconds, reached=reached)


def suites_apart(tests):
    """Tests run together in one process where they bear it; these suites do not."""
    apart = set()
    for program in PROGRAMS:
        names = [test.name for test in tests if test.program == program]
        if names:
            command = next(test.command for test in tests if test.program == program)
            said = subprocess.run([*command, "--gtest_filter=" + ":".join(names)], text=True,
                                  capture_output=True, check=False).stdout
            apart.update(re.findall(r"^\[  FAILED  \] (\w+)\.", said, re.M))
    return apart


def watch_all(binary, remembered, jobs):
    """All tests with the mutants that they reach; asked again when a program was built again."""
    tests = tests_of(binary)
    built = {test.command[-1] for test in tests} | set(glob.glob(os.path.join(binary, "lib", "*.so")))
    stamp = [os.stat(path).st_mtime_ns for path in sorted(built)]
    with contextlib.suppress(FileNotFoundError), open(remembered, "rb") as file:
        known_stamp, known = pickle.load(file)
        if known_stamp == stamp:
            return [Test(*test) for test in known]
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        tests = list(pool.map(watch, tests))
    apart = suites_apart(tests)
    tests = [test._replace(alone=test.name.split(".")[0] in apart) for test in tests]
    with open(remembered, "wb") as file:
        pickle.dump((stamp, [tuple(test) for test in tests]), file)
    return tests


def hunt(mutant, tests):
    """What became of it: "killed", "killed by the time limit", "survived" or "not reached"."""
    batches = collections.defaultdict(list)
    for test in tests:
        if mutant.id in test.reached:
            place = (test.seconds > FAST, PROGRAMS.index(test.program), test.name if test.alone else "")
            batches[place].append(test)
    for _, batch in sorted(batches.items()):
        batch.sort(key=lambda test: test.seconds)
        seconds = 10 + 3 * sum(test.seconds for test in batch)
        passed = attempt(batch[0].command, [test.name for test in batch],
                         {"MUTANT": str(mutant.id)}, seconds)
        if not passed:
            return "killed" if passed is False else "killed by the time limit"
    return "survived" if batches else "not reached"


def equivalents():
    """Mutant -> why it changes nothing that anybody could see."""
    found = {}
    reason = []
    with open(EQUIVALENT) as file:
        for line in file.read().splitlines():
            if line.startswith("# "):
                reason.append(line[2:])
            elif line:
                found[line] = " ".join(reason)
            else:
                reason = []
    return found


def is_in(mutant, folders):
    return any(os.path.commonpath([mutant.file, f.rstrip("/")]) == f.rstrip("/") for f in folders)


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate.sh", description=__doc__)
    parser.add_argument("--sample", type=int, metavar="N", help="only N mutants, chosen at random")
    parser.add_argument("--seed", type=int, default=1, help="of the choice")
    parser.add_argument("--list", action="store_true", help="only print the mutants")
    parser.add_argument("--survivors", action="store_true", help="only those of the run before")
    parser.add_argument("--jobs", type=int, default=2, metavar="N", help="tests side by side")
    parser.add_argument("path", nargs="*", default=FOLDERS, help="files or folders")
    options = parser.parse_args()
    root = os.getcwd()
    work = os.path.join(root, "build", "mutants")
    tree = os.path.join(work, "tree")
    log = os.path.join(work, "log")
    os.makedirs(work, exist_ok=True)
    copy_tree(root, tree)
    paths = subprocess.check_output(["git", "ls-files", "--", *FOLDERS], text=True).split()
    paths = [path for path in paths if path.endswith((".cpp", ".h"))]
    mutants, dropped = build(root, tree, log, paths)
    print(f"{len(mutants)} mutants built, {dropped} left out: in constant expressions")

    tests = watch_all(os.path.join(tree, "build", "dev"), os.path.join(work, "tests"), options.jobs)
    print(f"{len(tests)} tests, {sum(test.seconds for test in tests):.0f} s", flush=True)

    known = equivalents()
    for key in sorted(known.keys() - {mutant.key for mutant in mutants}):
        print(f"not a mutant any more: {key}")
    chosen = [mutant for mutant in mutants if is_in(mutant, options.path)]
    equivalent = [mutant for mutant in chosen if mutant.key in known]
    chosen = [mutant for mutant in chosen if mutant.key not in known]
    remembered = os.path.join(work, "survivors")
    if options.survivors:
        before = lines_of(remembered)
        chosen = [mutant for mutant in chosen if mutant.key in before]
    if options.sample is not None and options.sample < len(chosen):
        chosen = random.Random(options.seed).sample(chosen, options.sample)
    if options.list:
        print(*(mutant.key for mutant in chosen), sep="\n")
        return 0

    counts = {part: collections.Counter() for part in PARTS}
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool, open(remembered, "w") as file:
        for mutant, outcome in zip(chosen, pool.map(lambda mutant: hunt(mutant, tests), chosen)):
            part = next(part for part, folders in PARTS.items() if is_in(mutant, folders))
            counts[part][outcome] += 1
            if not outcome.startswith("killed"):
                print(f"\n{outcome}: {mutant.key}\n{schemata.diff(root, mutant)}", flush=True)
                print(mutant.key, file=file)
    print()
    is_enough = True
    for part, outcomes in counts.items():
        if not outcomes:
            continue
        killed = outcomes["killed"] + outcomes["killed by the time limit"]
        total = outcomes.total()
        known_here = sum(is_in(mutant, PARTS[part]) for mutant in equivalent)
        print(f"{part}: {killed} of {total} mutants killed, {100 * killed / total:.1f} % ({LIMIT} % "
              f"are required); {outcomes['killed by the time limit']} by the time limit, "
              f"{outcomes['survived']} survived, {outcomes['not reached']} not reached by a test; "
              f"{known_here} more are known to be equivalent")
        is_enough = is_enough and 100 * killed >= LIMIT * total
    return 0 if is_enough else 1


if __name__ == "__main__":
    sys.exit(main())
