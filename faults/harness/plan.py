"""What a seed stands for: everything that happens by chance is drawn here."""
import dataclasses
import random

WORKLOADS = ("fresh", "update", "tree", "small", "rename", "two")
FAULTS = ("smbd-killed", "smbd-frozen", "daemon-killed", "daemon-frozen", "keeper-killed", "keeper-frozen",
          "rsync-killed", "rsync-frozen", "program-killed", "program-frozen", "ejected", "connection-delayed",
          "connection-cut", "connection-silent", "share-full", "permission-taken", "share-renamed", "link-down",
          "everything-killed", "power-cut")
RATES = (None, 40_000_000, 10_000_000, 4_000_000)  # bytes a second to the server
LONG_SILENCE = 45  # seconds: the volume gives the server up meanwhile
OUTAGES = ("smbd-killed", "smbd-frozen", "connection-silent", "share-full", "permission-taken", "share-renamed",
           "link-down")


@dataclasses.dataclass(frozen=True)
class Plan:
    seed: int
    workload: str
    fault: str
    variant: int  # which way of several the fault takes
    moment: float  # share of the expected bytes; below 0 while the volume is being mounted
    rename_moment: float  # the same for the workload "rename"
    lasts: float  # seconds until the fault is lifted
    mounted_before: bool
    older_there: bool  # whether older files of the same names and lengths are on the server
    same_second: bool  # whether sources are of the time at which they arrive
    rate: int | None

    def __str__(self):
        return (f"{self.workload}, {self.fault}/{self.variant} at {self.moment:.0%} for {self.lasts:.1f} s"
                f"{', mounted' if self.mounted_before else ''}{', older files there' if self.older_there else ''}"
                f"{', same second' if self.same_second else ''}"
                f"{f', {self.rate // 1_000_000} MB/s' if self.rate else ''}")


def draw(seed, brief):
    """The same plan for the same arguments. Every 20 seeds have each fault, every 120 each pair with a workload.

    `brief` leaves out what takes minutes.
    """
    chance = random.Random(f"plan {seed}")
    block, fault = divmod(seed - 1, len(FAULTS))
    workload = WORKLOADS[(fault + block) % len(WORKLOADS)]
    return Plan(seed, workload, FAULTS[fault], chance.randrange(4), draw_moment(chance), chance.uniform(0.05, 0.95),
                draw_duration(chance, FAULTS[fault], brief), chance.random() < 0.7,
                workload == "update" or chance.random() < 0.5, chance.random() < 0.8, chance.choice(RATES))


def draw_moment(chance):
    """Most in the middle; some during mounting and opening, some at the very end, where times are set."""
    where = chance.random()
    if where < 0.08:
        return chance.uniform(-1, 0)
    if where < 0.75:
        return chance.uniform(0.01, 0.97)
    return chance.uniform(0.97, 1.0)


def draw_duration(chance, fault, brief):
    kind = chance.random()
    if kind < 0.6:
        return chance.uniform(0.1, 2)
    if kind < 0.92 or brief or fault not in OUTAGES:
        return chance.uniform(2, 8)
    return LONG_SILENCE
