#!/usr/bin/env python3
"""faults.py TEST PUMPHOUSE CONFIGURATION HAPROXY: what stations notice when a host behind the proxy dies, stands still, or is
told where they come from. Says what it has measured; how long something takes is no failure, since the machine may be busy."""
import signal, sys, time
from proxied import Site, Station, until

test, *programs = sys.argv[1:]


def settled(site, station):
    """The host at which the one station is."""
    until(lambda: station.served, "the station to be served")
    return until(lambda: site.proxy.where(), "the proxy to say where")[0]


def comes_back(site, station, fault, what):
    gone = settled(site, station)
    before = len(station.served)
    began = time.monotonic()
    site.hosts[gone].process.send_signal(fault)
    until(lambda: len(station.served) > before, "the station to be served again after " + what)
    print("%s: served again after %.2f s" % (what, station.served[before] - began))
    # A busy machine may have it moved once more; it ends up somewhere else, and the fault is seen.
    until(lambda: site.proxy.hosts()[gone][0].startswith("DOWN"), "the proxy to see the fault")
    until(lambda: site.proxy.where() not in ([], [gone]), "the station to be at another host")
    return gone


def killed():
    with Site(*programs) as site:
        comes_back(site, Station(site.proxy.port), signal.SIGKILL, "kill -9")


def stopped():
    with Site(*programs) as site:
        station = Station(site.proxy.port)
        gone = comes_back(site, station, signal.SIGSTOP, "SIGSTOP")
        began = time.monotonic()
        site.hosts[gone].process.send_signal(signal.SIGCONT)
        until(lambda: site.proxy.hosts()[gone][0].startswith("UP"), "the host to be taken back")
        print("SIGCONT: taken back after %.2f s" % (time.monotonic() - began))


def addresses():
    """The hosts know where a station comes from."""
    with Site(*programs) as site:
        station = Station(site.proxy.port, "127.9.8.7")
        until(lambda: station.served, "the station to be served")
        until(lambda: any("相手は 127.9.8.7\n" in host.log() for host in site.hosts.values()), "a host to say its address")


{"killed": killed, "stopped": stopped, "addresses": addresses}[test]()
