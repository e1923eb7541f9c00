"""One seed from the beginning to the end."""
import pathlib
import shutil
import subprocess
import time

from harness import bounds, faults, processes
from harness.client import Client
from harness.gate import Gate
from harness.oracle import Oracle
from harness.proxy import Proxy
from harness.server import Server
from harness.workloads import Workload

PROXY = "127.0.0.6"
# Bytes that go to the server beside contents, about: for a mount, for a copy and for each file.
MOUNTING, COPY, PER_FILE = 2000, 2500, 1000


class Scene:
    def __init__(self, plan, binaries, shim):
        self.plan = plan
        self.trace, self.times, self._began = [], {}, time.monotonic()
        self.server = Server()
        if plan.fault == "share-full":
            self.server.give_share_a_disk()
        folder = self.server.pc.directory / "run"
        folder.mkdir()
        self.gate = Gate()
        self.proxy = Proxy((PROXY, self.server.address[1]), self.server.address, self.gate, plan.rate)
        self.client = Client(binaries, folder, self.server, PROXY)
        self.durable = folder / "durable"
        if plan.fault == "power-cut":
            self._prepare_power_cut(pathlib.Path(shim))
        self.workload = Workload(plan, self.server, folder)
        self.oracle = Oracle(self.workload, self.server, self.client)
        self.fault = faults.make(self)
        self.hit = self.during = False
        self._helpers = []

    def _prepare_power_cut(self, shim):
        self.durable.mkdir()
        self.durable.chmod(0o777)
        shutil.copy(shim, self.client.bin)
        self.client.environment.update(LD_PRELOAD=str(self.client.bin / shim.name), FAULTS_STATE=str(self.client.state),
                                       FAULTS_DURABLE=str(self.durable))

    def note(self, words):
        self.trace.append(f"{time.monotonic() - self._began:6.2f} {words}")

    # --- The story

    def play(self):
        if self.plan.mounted_before:
            mounted = self.client.run("mount")
            self.oracle.claim(mounted.status == 0, f"mount: {mounted.errors}")
        self._first_run()
        self._recover()
        self._second_run()
        self._end()

    def _first_run(self):
        self.gate.agree(self._moments())
        self.workload.save_sources()
        since = self.client.log_size()
        runs = [self.client.start("copy", *items) for items in self.workload.copies]
        self.note(f"copy of {self.workload.count()} files, {self.workload.size()} bytes")
        self._go_wrong(lambda: all(run.ended() for run in runs))
        lifted = time.monotonic()
        outcomes = [run.finish(bounds.FIRST_RUN) for run in runs]
        self.times["first run after the fault"] = time.monotonic() - lifted
        self._judge_first(outcomes, self.client.log_entries(since))

    def _moments(self):
        """In bytes, of the fault and of what else happens on the way."""
        opening = COPY + (0 if self.plan.mounted_before else MOUNTING)
        extent = self.workload.size() + self.workload.count() * PER_FILE
        moments = [self.plan.moment] + [self.plan.rename_moment] * (self.plan.workload == "rename")
        return [1 + int((1 + moment) * opening if moment < 0 else opening + moment * extent) for moment in moments]

    def _go_wrong(self, ended):
        renames = [False]
        if self.plan.workload == "rename":
            renames = [False, True] if self.plan.moment < self.plan.rename_moment else [True, False]
        for is_rename in renames:
            if not self.gate.wait(ended):
                self.note(f"the copy ended after {self.gate.passed} bytes, before its moment")
                break
            if is_rename:
                self._rename()
                self.gate.open()
            else:
                self._strike(ended)
        self.gate.agree([])
        self.gate.open()

    def _strike(self, ended):
        self.during = not ended()
        self.hit = self.fault.strike()
        self.note(f"{self.plan.fault} after {self.gate.passed} bytes{'' if self.hit else ', nothing hit'}")
        self.gate.open()
        if self.fault.lasting:
            time.sleep(self.plan.lasts)
            self.fault.lift()
            self.note("lifted")

    def _rename(self):
        command = self.workload.rename(self.client)
        self.note(f"rename to {list(self.workload.renamed.values())} {'on the volume' if command else 'among the sources'}")
        if command:
            self._helpers.append(subprocess.Popen(command, stderr=subprocess.DEVNULL, **self.client.account))

    def _judge_first(self, outcomes, entries):
        copies = range(len(outcomes))
        for copy, outcome in zip(copies, outcomes):
            self.note(f"first run: {outcome.status} after {outcome.took:.1f} s; {outcome.errors.strip()[:300]}")
            self.oracle.claim(outcome.status is not None, f"the first run took more than {outcome.took:.0f} s")
        for entry in entries:
            self.note(f"  {entry}")
        if len(outcomes) == 1:
            counted = self.oracle.check_account(outcomes[0], entries, self.workload.copies[0], "first run")
            self.oracle.check_copied(counted, [0], "first run")
        elif all(outcome.status == 0 for outcome in outcomes):
            # Where only one counts, the other one may have come to the same name after it.
            self.oracle.check_copied({"film"}, copies, "first run")
        self.oracle.check_partial("first run")
        self.oracle.check_neighbours("first run")

    def _recover(self):
        for helper in self._helpers:
            faults.finish(helper, 20)

    def _second_run(self):
        for copy, items in enumerate(self.workload.copies):
            when = f"second run{f' of {copy + 1}' if copy else ''}"
            since = self.client.log_size()
            outcome = self.client.run("copy", *items, seconds=bounds.SECOND_RUN)
            entries = self.client.log_entries(since)
            self.times[when] = outcome.took
            self.note(f"{when}: {outcome.status} after {outcome.took:.1f} s; {outcome.errors.strip()[:300]}")
            for entry in entries:
                self.note(f"  {entry}")
            self.oracle.claim(outcome.status == 0, f"{when} ended with {outcome.status}")
            self.oracle.check_account(outcome, entries, items, when)
            self.oracle.check_copied({item.name for item in items}, [copy], when)
            self.oracle.check_neighbours(when)

    def _end(self):
        # A copy program whose starter was killed goes on, and keeps the volume in use.
        self.oracle.claim(processes.within(bounds.FIRST_RUN, lambda: not processes.named(processes.RSYNC)),
                          "at the end: rsync does not end")
        ejected = self.client.run("eject", seconds=bounds.EJECT)
        self.times["eject"] = ejected.took
        self.note(f"eject: {ejected.status} after {ejected.took:.1f} s {ejected.errors.strip()}")
        self.oracle.claim(ejected.status == 0, f"at the end: eject ended with {ejected.status}: {ejected.errors}")
        self.oracle.check_nothing_left(bounds.LEFTOVERS)
        last = len(self.workload.copies) - 1
        self.oracle.check_copied({item.name for item in self.workload.copies[last]}, [last], "at the end")

    def report(self):
        return {"seed": self.plan.seed, "workload": self.plan.workload, "fault": self.plan.fault,
                "plan": str(self.plan), "hit": self.hit, "during": self.during, "trace": self.trace, "times": self.times,
                "violations": self.oracle.violations, "took": time.monotonic() - self._began}
