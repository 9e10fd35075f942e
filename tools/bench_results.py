"""What the benchmark programs measured, as tools/bench_table and tools/bench_plot read it: the JSON that Google Benchmark
writes, or several such files merged by tools/bench_run."""

import json
from collections import defaultdict

OURS = ("floor", "db2")
# The workloads that go through the whole chain of layers, and that peers carry out, too.
EDITING = ("unit_of_work", "commit_each", "compute_tree", "compute_chain", "find_path", "subtree", "chain", "copy")
# Files, which peers write and read, too.
FILES = ("text_file",)
CRASH = "crash"
OVER_THE_LIMIT = "over the limit"
FINDINGS = (CRASH, OVER_THE_LIMIT)  # what a peer may do without the run being a failure


class Results:
    """The samples of every benchmark, by workload ("create/tree"), side and size."""

    def __init__(self):
        self.samples = defaultdict(lambda: defaultdict(list))  # (workload, side, size) -> counter -> values
        self.failures = {}  # (workload, side, size) -> message
        self.workloads = []  # in the order of the programs
        self.sides = []  # the floor, the library, then the peers
        self.context = {}

    @staticmethod
    def read(paths):
        results = Results()
        for path in paths:
            with open(path, encoding="utf-8") as file:
                results.add(json.load(file))
        return results

    def add(self, document):
        self.context = document["context"] or {}
        for entry in document["benchmarks"]:
            if entry.get("run_type") == "aggregate":
                continue
            name, variant, side, size = entry["name"].split("/")[:4]
            key = (f"{name}/{variant}", side, int(size))
            if key[0] not in self.workloads:
                self.workloads.append(key[0])
            if side not in self.sides:
                self.sides.append(side)
            if entry.get("error_occurred"):
                self.failures[key] = entry.get("error_message", "failed")
                continue
            for counter, value in entry.items():
                if counter.startswith("bytes_per_") or counter in (
                    "ns_per_op",
                    "renamed",
                    "node_block_bytes",
                    "stopped_after",
                    "file_bytes_per_node",
                    "peak_bytes",
                    "extra_bytes",
                ):
                    self.samples[key][counter].append(float(value))
        self.sides.sort(key=lambda side: (OURS.index(side) if side in OURS else len(OURS), side))

    def peers(self):
        return [side for side in self.sides if side not in OURS]

    def sizes(self, workload=None):
        found = {size for other, _, size in [*self.samples, *self.failures] if workload in (None, other)}
        return sorted(found)

    def values(self, workload, side, size, counter="ns_per_op"):
        return self.samples.get((workload, side, size), {}).get(counter, [])

    def least(self, workload, side, size, counter="ns_per_op"):
        """The smallest sample, or None. A benchmark that failed at any time has none."""
        if (workload, side, size) in self.failures:
            return None
        return min(self.values(workload, side, size, counter), default=None)

    def most(self, workload, side, size, counter):
        """The largest sample, or None. For what is to stay small: a later pass can use what earlier ones left."""
        if (workload, side, size) in self.failures:
            return None
        return max(self.values(workload, side, size, counter), default=None)

    def errors(self):
        """What did not do its work, as texts."""
        return [
            f"{workload}/{side}/{size}: {message}"
            for (workload, side, size), message in self.failures.items()
            if side in OURS or message not in FINDINGS
        ]



def shown_cost(value):
    if value is None:
        return ""
    if value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.0f}" if value >= 100 else f"{value:.1f}"


def shown_size(size):
    exponent = len(str(size)) - 1
    return f"10^{exponent}" if size == 10**exponent else str(size)
