#!/usr/bin/env python3
"""Plays schedules of faults against a real site, see script/site-faults."""
import argparse, collections, itertools, pathlib, random, shutil, sys, tempfile, time
import checker, engines, log, network
from stations import Seen, Station

LONGEST = 25  # Seconds that a schedule may take once the site is up.
FEW = 20  # Of fewer schedules one that is late says that the machine was busy.
WRITE_EACH = 0.1
Programs = collections.namedtuple("Programs", "host nats haproxy")
Schedule = collections.namedtuple("Schedule", "seed part place kind seconds")

# What may take how long, in seconds.
BACK, CHANGES, KEEPER = {"host": 5, "proxy": 5}, {"broker": 12}, {"host": 5, "proxy": 5, "broker": 17}


def arguments():
    cli = argparse.ArgumentParser(add_help=False)
    cli.add_argument("--schedules", type=int, default=60)
    cli.add_argument("--seed", type=int, default=1)
    cli.add_argument("--keep", type=pathlib.Path)
    for each in Programs._fields:
        cli.add_argument("--" + each, required=True)
    return cli.parse_args()


def schedule(seed):
    """The fault of a seed. Each kind of fault of each part comes once in nine."""
    choice = random.Random(seed)
    part, kind = list(itertools.product(("host", "broker", "proxy"), ("kill", "stop", "link")))[seed % 9]
    return Schedule(seed, part, 0 if part == "proxy" else choice.randrange(3), kind, round(choice.uniform(0.5, 4), 1))


def gap(times, begin, end):
    """The longest time between two of those from `begin` on."""
    points = [begin, *(each for each in times if begin < each < end), end]
    return max(later - earlier for earlier, later in zip(points, points[1:]))


class Run:
    def __init__(self, plan, site):
        self.plan, self.site, self.seen, self.stations, self.counted = plan, site, Seen(), [], None
        self.target = {"host": site.hosts, "broker": site.brokers, "proxy": [site.proxy]}[plan.part][plan.place]

    def log_in(self):
        """When all hosts serve, or all stations would be at the first of them."""
        engines.until(lambda: self.site.proxy.hosts_up() == len(self.site.hosts), "all hosts to serve")
        at = (self.site.proxy.machine.address, 5000)
        self.up = time.monotonic()
        for number in range(6):
            self.stations.append(Station("s%d" % number, at, WRITE_EACH, self.seen))
        for each in self.stations:
            engines.until(lambda each=each: each.served, each.name + " to be served")
            each.may_write.set()

    def play(self):
        self.log_in()
        engines.until(lambda: len(self.seen.keeps) > 2, "the keeper to propose")
        time.sleep(1)
        self.began = time.monotonic()
        self.target.fault(self.plan.kind)
        time.sleep(self.plan.seconds)
        self.target.mend(self.plan.kind)
        self.mended = time.monotonic()
        self.go_on()
        self.settle()

    def go_on(self):
        """Until all is as before, and a second longer."""
        def goes_on():
            return (all(each.is_served for each in self.stations) and self.seen.applied_at[-1] > self.mended
                    and self.seen.keeps[-1][0] > self.mended)
        engines.until(goes_on, "changes, the keeper and all stations after the fault")
        time.sleep(1)
        self.ended = time.monotonic()

    def settle(self):
        """No more writes, the keeper is told to rest, and what is under way comes in."""
        for each in self.stations:
            each.may_write.clear()
        time.sleep(0.3)
        self.stations[0].rest()
        before = None

        def is_still():
            nonlocal before
            entries = log.read(self.site.addresses(), self.site.credentials["SITE_USER"], self.site.credentials["SITE_PASSWORD"],
                               self.site.stream)
            if entries is None:
                return False
            self.counted = log.Counted(entries)
            count, before = before, len(self.counted.changes)
            time.sleep(0.3)
            shown = {self.seen.latest.get(each) for each in self.stations}
            return count == before and shown == {before} and checker.is_resting(self.counted)

        try:
            engines.until(is_still, "all to show the same")
        except TimeoutError:
            if self.counted is None:  # No broker gives the log. Else the checker says what differs.
                raise

    def figures(self):
        back = [min((when for when in each.served if when > lost), default=self.ended) - self.began
                for each in self.stations for lost in each.lost if lost >= self.began]
        return {"took": time.monotonic() - self.up, "lost": sum(1 for each in self.stations for lost in each.lost if lost >= self.began),
                "back": max(back, default=0.0), "changes": gap(self.seen.applied_at, self.began, self.ended),
                "keeper": gap([when for when, _ in self.seen.keeps], self.began, self.ended)}


def line_of(plan, figures, counted, wrong):
    what = "%s %s, %.1f s" % (plan.part if plan.part == "proxy" else "%s %d" % (plan.part, plan.place + 1), plan.kind, plan.seconds)
    return "%6d  %-22s %4d lost, back %5.2f s  changes %5.2f s  keeper %5.2f s  %5d applied, %d dropped  %s" % (
        plan.seed, what, figures["lost"], figures["back"], figures["changes"], figures["keeper"],
        len(counted.changes) if counted else 0, counted.dropped if counted else 0, "WRONG" if wrong else "")


def too_late(plan, figures):
    """What took longer than it may. It is said of each; one in twenty is no failure, since the machine may have been busy."""
    limits = {"back": BACK, "changes": CHANGES, "keeper": KEEPER}
    late = ["%s after %.1f s" % (name, figures[name]) for name, limit in limits.items()
            if figures[name] > limit.get(plan.part, float("inf")) + (plan.seconds if plan.part == "proxy" else 0)]
    if figures["took"] > LONGEST:
        late.append("it took %.0f s in all" % figures["took"])
    if plan.part == "broker" and figures["lost"]:
        late.append("%d stations were disconnected" % figures["lost"])
    return late


def play(plan, machines, programs, folder):
    """Figures, what counted, and what is wrong."""
    with engines.Site(machines, programs, folder, "f%d" % plan.seed) as site:
        run = Run(plan, site)
        try:
            run.play()
            return run.figures(), run.counted, checker.check(run.counted, run.stations, run.seen)
        except TimeoutError as late:
            return {"took": 0.0, "lost": 0, "back": 0.0, "changes": 0.0, "keeper": 0.0}, None, [str(late), *run.seen.wrong]
        finally:
            for each in run.stations:
                each.ends = True
            for each in run.stations:
                each.thread.join()


def summary(results):
    """The worst of each kind of fault."""
    by_fault = collections.defaultdict(list)
    for plan, figures in results:
        by_fault[plan.part, plan.kind].append(figures)
    yield "%-14s %5s %12s %12s %12s" % ("fault", "runs", "back", "changes", "keeper")
    for fault, all_of in sorted(by_fault.items()):
        yield "%-14s %5d %10.2f s %10.2f s %10.2f s" % (" ".join(fault), len(all_of), *(
            max(figures[name] for figures in all_of) for name in ("back", "changes", "keeper")))


def main():
    asked = arguments()
    network.enter()
    programs = Programs(asked.host, asked.nats, asked.haproxy)
    machines = engines.Machines()
    results, failed, late = [], 0, 0
    for seed in range(asked.seed, asked.seed + asked.schedules):
        plan, folder = schedule(seed), pathlib.Path(tempfile.mkdtemp(prefix="site-faults-"))
        figures, counted, wrong = play(plan, machines, programs, folder)
        slow = too_late(plan, figures)
        print(line_of(plan, figures, counted, wrong), flush=True)
        for each in wrong + slow:
            print("        " + each, flush=True)
        failed += bool(wrong)
        late += bool(slow)
        if not wrong:
            results.append((plan, figures))
        if wrong and asked.keep:
            shutil.copytree(folder, asked.keep / ("seed-%d" % seed), dirs_exist_ok=True,
                            ignore=shutil.ignore_patterns("*.socket", "*.store"))
        shutil.rmtree(folder, ignore_errors=True)
    print("\n".join(summary(results)))
    print("%d schedules, %d wrong, %d later than they may" % (asked.schedules, failed, late))
    return 1 if failed or (asked.schedules >= FEW and late * FEW > asked.schedules) else 0


if __name__ == "__main__":
    sys.exit(main())
