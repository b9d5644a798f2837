"""Counts the instructions of one call of the library, by callgrind.

    instructions.py PROGRAM [ARGUMENT...]

PROGRAM is store_benchmark, the arguments are passed on to it. Everything below the entry point is
counted, but of a system call only what enters it. The numbers hardly depend on what else the
machine does.
"""
import re
import subprocess
import sys
import tempfile

# The measurement, a name that its calls come from, the entry point that is called, and whether a
# call goes through every policy.
CALLS = [
    ("replace", "RegisterReplacement", "AddPolicyInfo", True),
    ("by_name", "RegisterLookupsByName", "GetRilkPolicyBlobByName", False),
    ("by_id_last", "RegisterLookupsById", "GetRilkPolicyBlobById", True),
    ("list", "RegisterListings", "ListPolicyInfo", True),
    ("cold", "RegisterColdReads", "GetRilkPolicyBlobByName", False),
    ("on_datastore", "RegisterLookupsByDatastore", "GetPolicyBlobById", False),
    ("default_blob", "RegisterLookupsByDatastore", "GetDefaultPolicyBlob", False),
    ("digest", "RegisterListings", "GetDbHash", True),
]


def run(program, arguments):
    """The profile of all measurements of the library, without the preparations."""
    with tempfile.NamedTemporaryFile(mode="r", suffix=".callgrind", errors="replace") as profile:
        finished = subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile.name}",
             "--collect-atstart=no", "--toggle-collect=*::Repeat*<*", program,
             "--benchmark_filter=/library", "--benchmark_min_time=0.05", *arguments],
            capture_output=True, text=True, check=False)
        if finished.returncode != 0:
            sys.exit(f"instructions.py: the run failed:\n{finished.stderr}")
        return profile.read().splitlines()


def calls_in(profile):
    """The calls of a profile: caller, callee, how many, and their instructions together."""
    names, caller, callee = {}, "", ""
    for line, following in zip(profile, profile[1:]):
        if named := re.match(r"(c?)fn=\((\d+)\)(?: (.+))?", line):
            called, number, name = named.groups()
            names.setdefault(number, name)
            if called:
                callee = names[number]
            else:
                caller = names[number]
        elif counted := re.match(r"calls=(\d+)", line):
            yield caller, callee, int(counted.group(1)), int(following.split()[1])


def cost_of(profile, source, entry_point):
    """How often the entry point was called from there, and the instructions of these calls."""
    calls = instructions = 0
    for caller, callee, count, cost in calls_in(profile):
        if source in caller and f"QuorLib::{entry_point}" in callee:
            calls += count
            instructions += cost
    return calls, instructions


def policies_in(arguments):
    for argument in reversed(arguments):
        if argument.startswith("--policies="):
            return int(argument.partition("=")[2])
    return 1000


def main():
    if len(sys.argv) < 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    program, *arguments = sys.argv[1:]
    policies = policies_in(arguments)
    profile = run(program, arguments)
    print(f"{'case':14}{'entry point':26}{'calls':>8}{'per call':>14}{'per policy':>12}")
    for case, source, entry_point, through_all in CALLS:
        calls, instructions = cost_of(profile, source, entry_point)
        if calls == 0:
            sys.exit(f"instructions.py: {case} made no call of {entry_point}")
        per_call = instructions / calls
        per_policy = f"{per_call / policies:.0f}" if through_all else "-"
        print(f"{case:14}{entry_point:26}{calls:8}{per_call:14.0f}{per_policy:>12}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
