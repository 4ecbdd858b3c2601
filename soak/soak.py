#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""soak.py KWWAND KWWANCTL SECONDS SEED CSV: everything at once through a host, in script/sandbox --carrier.

A warm-up, rest, the play itself, rest again. Ends with 1 when the host has not held out: a request that was not
answered, descriptors or threads that differ between the two rests, memory that has grown, names that do not resolve
with a call up, a secret in the log or in an argument list.
"""
import os
import re
import signal
import subprocess
import sys
import threading
import time
from collections import Counter

import actors
from client import SOCKET, Client, Tally
from watch import Log, Watch, flat_kb, growth_kb, names_of_descriptors, names_of_threads, read

WAITING = 32  # Requests that wait, at most.
SERVICE = os.path.join(os.path.dirname(__file__), "../packaging/systemd/kwwand.service.in")
UNKNOWN_METHOD = -32601
SETTLE_S = 20  # Within which what was done is over.
PORTAL = ("portal.carrier.example", "10.255.0.80")  # Known to the carrier's name server alone.
PLAYED = ("calls connected", "dnsmasq killed", "typed", "monitors", "events", "slow readers", "malformed",
          "programs killed", "clients gone", "log lines", "at", "call", "dns", "lan",
          "modem", "passthrough", "pin", "policy", "profile", "radio", "sim", "sms", "vlan")
# The forwarder that is to be stopped was killed before; what docs/reliability.md says of dnsmasq under "Limits".
EXPECTED = re.compile("kill: No such process|failed to find list of interfaces: No such device|"
                      "failed to create listening socket for 127.0.0.1: Address already in use")
# The modem as it was, but for the far ends of its calls.
CALM = ("connect-delay 20", "disconnect-delay 20", "not-ready 0", "fail-connects 0", "fail-disconnects 0", "ignore 0",
        "lose 0", "links on", "roaming off", "sim on", "technology lte", "registration registered", "signal 80 0",
        "fail-answers 0", "radio-delay 0", "refuse-names 0", "dns 4 10.255.0.53 -", "dns 6 fd64:ffff::53 -",
        *(f"fail {operation} 0" for operation in actors.OPERATIONS),
        *(f"call-dns {100 + i} 6 fd64:ffff::53 -" for i in range(actors.POLICIES)))


def within(seconds, holds):
    """Whether it comes to hold by then."""
    end = time.monotonic() + seconds
    while not holds():
        if time.monotonic() > end:
            return False
        time.sleep(0.05)
    return True


def service_environment():
    """The service's own: what malloc keeps when it is not told would look like growth, and hide some."""
    settings = re.findall("^Environment=(.+?)=(.+)$", read(SERVICE), re.MULTILINE)
    assert settings, f"{SERVICE} sets nothing"
    return dict(settings)


def start_host(kwwand, said):
    environment = {**os.environ, **service_environment()}
    command = [kwwand, "--log-level", "debug", "--backoff-ms", "100", "2000"]
    with open(said, "wb") as file:
        host = subprocess.Popen(command, stderr=file, env=environment)
    if not within(SETTLE_S, lambda: os.path.exists(SOCKET)):
        sys.exit("soak: the host does not start")
    return host


def prepare(client):
    for line in ("carrier /run/netns/carrier", "answer-limit 2000"):
        client.modem(line)
    for _ in range(1, actors.POLICIES):
        client.ask("policy.create", technology="any", family="ipv4v6", profile=2, profile6=2)
    # As many requests wait at once as may: the host keeps the threads that it has once needed.
    client.modem("connect-delay 1000")
    client.ask("call.up", index=0, family="ipv4", wait=False)
    wanted = {client.request("modem.run", line="wait-idle 5000") for _ in range(WAITING)}
    while wanted:  # In any order.
        wanted.discard(client.line().get("id"))
    client.ask("call.down", index=0, family="ipv4")
    # The router's thread stays from the first policy on that is to connect by itself.
    for on in (True, False):
        client.ask("policy.autoconnect", index=0, on=on)


def play(cast, seconds, host):
    """All actors at once, each on its thread, for so long, or as long as the host lives."""
    stop = threading.Event()

    def perform(actor):
        while not stop.is_set():
            try:
                actor.step()
            except Exception as error:  # One who cannot go on is no reason to wait an hour for the verdict.
                actor.tally.fault(f"{type(actor).__name__}: {error!r}")
                stop.wait(1)
            stop.wait(actor.pause_s)

    threads = [threading.Thread(target=perform, args=(actor,)) for actor in cast]
    for thread in threads:
        thread.start()
    end = time.monotonic() + seconds
    while time.monotonic() < end and host.poll() is None:
        time.sleep(0.1)
    stop.set()
    for thread in threads:
        thread.join()
    if host.poll() is not None:
        sys.exit(f"soak: the host has ended with {host.returncode}; its words are in the .stderr beside the samples")


def resolves():
    found = subprocess.run(["getent", "ahostsv4", PORTAL[0]], capture_output=True, text=True, check=False, timeout=60)
    return PORTAL[1] in found.stdout


def calls_are_down(client):
    down = True
    for policy in (client.ask("call.list") or {"policies": ()})["policies"]:
        for family, call in policy["calls"].items():
            if call["state"] not in ("waiting", "disconnected"):
                client.ask("call.down", index=policy["index"], family=family)
                down = False
    return down


def come_to_rest(client, cast):
    """Nothing is refused, late or locked any more, no call up; on the way there a name is resolved through one."""
    fault = client.tally.fault
    for actor in cast:
        actor.pause()
    for line in CALM:
        client.modem(line)
    client.ask("sim.on", slot=1)
    client.modem(f"puk 1 {actors.PUK} {actors.PINS[0]}")
    client.ask("pin.unlock", pin=actors.PINS[0])
    client.ask("lan.confirm")
    for vlan in (client.ask("vlan.list") or {"vlans": ()})["vlans"]:
        client.ask("vlan.remove", id=vlan["id"])
    client.ask("dns.start")
    if not within(SETTLE_S, lambda: calls_are_down(client)):
        fault("calls do not come down")
    actors.forget_more_policies(client)
    if (client.ask("call.up", index=0, family="ipv4") or {}).get("state") != "connected":
        fault("a call does not come up")
    if not within(SETTLE_S, resolves):
        fault("names do not resolve with a call up")
    client.ask("call.down", index=0, family="ipv4")
    client.modem("wait-idle 20000")


class Standing:
    """The host at rest."""

    def __init__(self, watch):
        self.sample = watch.sample()
        self.descriptors = names_of_descriptors(watch.pid)
        self.threads = names_of_threads(watch.pid)

    def same(self, other):
        return self.descriptors == other.descriptors and self.threads == other.threads

    def more_than(self, other):
        return list((Counter(self.descriptors + self.threads) - Counter(other.descriptors + other.threads)).elements())

    def text(self):
        return ", ".join(f"{self.sample[name]} {name}" for name in ("descriptors", "threads", "processes", "anon_kb"))


def settled(watch):
    """The standing that lasts for a second."""
    standing = Standing(watch)
    for _ in range(SETTLE_S):
        time.sleep(1)
        before, standing = standing, Standing(watch)
        if standing.same(before):
            break
    return standing


def judge(tally, watch, seconds, before, after):
    """What is printed of a run; faults go into the tally. Returns what the last line says of the memory."""
    growth, limit = growth_kb(watch.rows), flat_kb(seconds)
    print(f"at the first rest: {before.text()}\nat the last rest:  {after.text()}")
    print(f"memory, last quarter above second, medians: {growth} kB of {limit}")
    if not after.same(before):
        tally.fault(f"left over: {after.more_than(before)}; gone: {before.more_than(after)}")
    if os.environ.get("KWWAN_SOAK_MEMORY") != "unjudged" and growth > limit:
        tally.fault("the memory grows")
    if not all(row["anon_kb"] for row in watch.rows):
        tally.fault("the memory was not seen")
    for sample in (before.sample, after.sample):
        if sample["forwarders"] != 1 or sample["zombies"] != 0:
            tally.fault(f"at rest there are {sample['forwarders']} forwarders and {sample['zombies']} zombies")
    for kind in PLAYED:
        if not tally.done[kind]:
            tally.fault(f"none were played: {kind}")
    if tally.errors[UNKNOWN_METHOD]:
        tally.fault("a method that does not exist was asked for")
    print("errors answered, by code: " + ", ".join(f"{code}: {n}" for code, n in sorted(tally.errors.items())))
    counts = ", ".join(f"{after.sample[name]} {name}" for name in ("descriptors", "threads"))
    return f"memory {growth} kB of {limit}, {counts}"


def end(host, said, tally):
    """The host is told to end; what it has said on standard error is a sanitizer's report, or worth to be seen."""
    host.send_signal(signal.SIGTERM)
    try:
        if host.wait(SETTLE_S) != 0:
            tally.fault(f"the host ends with {host.returncode}")
    except subprocess.TimeoutExpired:
        tally.fault("the host does not end")
    words = [line for line in read(said).splitlines() if line and not EXPECTED.search(line)]
    if words:
        tally.fault(f"the host has said, in {said}: {words[0]}")


def run(kwwand, kwwanctl, seconds, seed, path):
    tally = Tally()
    Log(tally)
    said = path + ".stderr"
    host = start_host(kwwand, said)
    client = Client(tally)
    prepare(client)
    cast = actors.cast(tally, seed, kwwanctl)
    warm_up = min(60, max(2, seconds // 5))
    watch = Watch(host.pid, tally)
    play(cast, warm_up, host)
    come_to_rest(client, cast)
    before = settled(watch)
    with watch.recording(min(1.0, seconds / 100), path):
        play(cast, seconds, host)
    come_to_rest(client, cast)
    within(SETTLE_S, lambda: Standing(watch).same(before))
    standing = judge(tally, watch, seconds, before, Standing(watch))
    end(host, said, tally)
    for fault in tally.faults[:20]:
        print(f"FAULT: {fault}")
    done = ", ".join(f"{kind} {n}" for kind, n in sorted(tally.done.items()))
    print(f"soak, {seconds} s, seed {seed}: {'FAILED' if tally.faults else 'ok'}: {standing}: {done}")
    return 1 if tally.faults else 0


if __name__ == "__main__":
    sys.exit(run(sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4]), sys.argv[5]))
