# SPDX-License-Identifier: Apache-2.0
"""Who plays: each actor has a thread, clients and dice of its own, and does one step of its part after the other."""
import os
import random
import select
import signal
import subprocess
import termios
import time
import tty

from client import Client

POLICIES = 4
FAMILIES = ("ipv4", "ipv6")
PERMANENT = "/data/permanent-dns.conf"
DNSMASQ_PID = "/var/run/netctld-dnsmasq/dnsmasq.pid"
# Figures that nothing else has, for the log and the argument lists are searched for them. The modem's own PUK is one.
PUK = "12345678"
PINS = ("40317295", "86620413")
SECRETS = (PUK, *PINS)
# Counted faults of calls; soak.py takes all back when the play comes to rest.
OPERATIONS = ("StartCall", "StopCall", "GetCallConfig", "GetSignalInfo", "GetProfiles")


def forget_more_policies(client):
    """All but the callers' go, those too that were in use the last time."""
    for policy in (client.ask("policy.list") or {"policies": ()})["policies"][:POLICIES - 1:-1]:
        for family in FAMILIES:
            client.ask("call.down", index=policy["index"], family=family)
        client.ask("policy.delete", index=policy["index"])


class Actor:
    """Requires: step() ends within the patience of a client or two."""

    pause_s = 0.01

    def __init__(self, tally, seed):
        self.tally = tally
        self.dice = random.Random(seed)
        self.client = Client(tally)

    def pause(self):
        """Between two plays."""

    def chance(self, share):
        return self.dice.random() < share

    def nap(self, longest_s):
        time.sleep(self.dice.uniform(0, longest_s))


class Caller(Actor):
    """One policy's call of one family, up and down."""

    def __init__(self, tally, seed, index, family):
        super().__init__(tally, seed)
        self.call = {"index": index, "family": family}

    def step(self):
        up = self.client.ask("call.up", **self.call, wait=self.chance(0.8), progress=self.chance(0.3))
        if up and up["state"] == "connected":
            self.tally.count("calls connected")
        self.client.ask("call.show", index=self.call["index"])
        self.nap(0.1)
        self.client.ask("call.down", **self.call, wait=self.chance(0.8))


class Network(Actor):
    """Drops, refuses, is late, is silent; other name servers; the radio changes."""

    pause_s = 0.05

    def step(self):
        dice = self.dice
        handle, family = 100 + dice.randrange(POLICIES), dice.choice("46")
        frequent = (
            f"drop {handle} {family}",
            f"connect-delay {dice.choice((0, 5, 50, 200))}",
            f"disconnect-delay {dice.choice((0, 5, 20, 100))}",
            f"fail-connects {dice.randrange(3)}",
            f"fail-disconnects {dice.randrange(2)}",
            f"not-ready {dice.randrange(3)}",
            f"fail {dice.choice(OPERATIONS)} 1 77 {dice.randrange(4)}",
            f"dns 4 10.255.0.{dice.randrange(50, 60)} {dice.choice(('-', '192.0.2.9'))}",
            f"call-dns {handle} 6 fd64:ffff::{dice.randrange(50, 60)} -",
            f"roaming {dice.choice(('on', 'off', 'off'))}",
            f"signal {dice.randrange(101)} {dice.choice((0, 100))}",
            f"technology {dice.choice(('gsm', 'umts', 'lte', 'lte+nr5g', 'nr5g'))}",
            f"fail-answers {dice.randrange(2)}",
            f"radio-delay {dice.choice((0, 20, 300))}",
            "record on",
            "record",
        )
        self.client.modem(dice.choice(frequent))
        if self.chance(0.01):  # These cost a connect its 10 seconds.
            self.client.modem(dice.choice(("ignore 1", "lose 1")))
        if self.chance(0.02):
            self.outage()

    def outage(self):
        bad, good = self.dice.choice((("registration searching", "registration registered"),
                                      ("technology none", "technology lte"), ("sim off", "sim on"),
                                      ("links off", "links on"), ("fail-connects 20", "fail-connects 0")))
        self.client.modem(bad)
        self.nap(0.5)
        self.client.modem(good)


class Dns(Actor):
    """The service stopped and started, an operator's list, a resolv.conf that others write, a forwarder that dies."""

    pause_s = 0.1

    def step(self):
        self.dice.choice((self.restart, self.permanent, self.scribble, self.kill, self.kill))()
        self.client.ask("dns.show")

    def restart(self):
        self.client.ask("dns.stop")
        self.nap(0.05)
        self.client.ask("dns.start")

    def permanent(self):
        with open(PERMANENT, "w", encoding="utf-8") as file:
            file.write("nameserver 192.0.2.77\n")
        self.nap(0.1)
        os.remove(PERMANENT)

    def scribble(self):
        with open("/etc/resolv.conf", "w", encoding="utf-8") as file:
            file.write("nameserver 192.0.2.1\n" * self.dice.randrange(1, 50))

    def kill(self):
        try:
            with open(DNSMASQ_PID, encoding="utf-8") as file:
                pid = int(file.read())
            with open(f"/proc/{pid}/comm", encoding="utf-8") as file:
                if file.read() != "dnsmasq\n":
                    return
            os.kill(pid, signal.SIGKILL)
            self.tally.count("dnsmasq killed")
        except (OSError, ValueError):
            pass  # There is none at the moment.


class Terminal(Actor):
    """A terminal program at one of the modem's ptys, which comes and goes, and commands claimed for it."""

    NAMES = tuple(f"+KWSOAK{letter}" for letter in "ABCDEF")

    def __init__(self, tally, seed):
        super().__init__(tally, seed)
        self.path = self.client.modem("terminal")["text"]
        self.fd = None

    def pause(self):
        self.leave()

    def leave(self):
        if self.fd is not None:
            os.close(self.fd)
            self.fd = None

    def come(self):
        self.fd = os.open(self.path, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        tty.setraw(self.fd, termios.TCSANOW)

    def step(self):
        dice = self.dice
        if self.chance(0.05):
            self.claim()
        if self.chance(0.1):
            self.client.ask("at.notify", text=f"+KWNEWS: {dice.randrange(10**6)}" + "x" * dice.choice((0, 10, 1000)))
        if self.chance(0.02):
            self.client.modem(f"refuse-names {dice.randrange(2)}")
        if self.chance(0.1):
            self.client.modem('type "AT+KWSOAKB=1,2"')
        if self.fd is None:
            self.come()
        line = dice.choice(("AT", "ATI", "AT+CSQ", "AT+CMEE=1", "AT+NOBODY", f"AT{dice.choice(self.NAMES)}",
                            f'AT{dice.choice(self.NAMES)}={dice.randrange(99)},"a,b"', "A/", "AT+KW", "x" * 3000))
        self.type(line + "\r")
        if self.chance(0.2):
            self.leave()

    def claim(self):
        name = self.dice.choice(self.NAMES)
        if self.chance(0.3):
            self.client.ask("at.claim", name=name, run="cat /proc/loadavg")
        else:
            self.client.ask("at.claim", name=name, answer=f"{name}: {self.dice.randrange(10**6)}")
        self.client.ask("at.list")

    def type(self, text):
        """To its final result, unless the program leaves early or does not read."""
        try:
            os.write(self.fd, text.encode())
        except BlockingIOError:
            self.leave()
            return
        self.tally.count("typed")
        if self.chance(0.1):
            return
        said, end = b"", time.monotonic() + 5
        while not (b"OK" in said or b"ERROR" in said) and time.monotonic() < end:
            if select.select([self.fd], [], [], 0.5)[0]:
                said += os.read(self.fd, 65536)


class Lan(Actor):
    """The LAN's settings, with and without going back by themselves; VLANs; passthrough."""

    pause_s = 0.05

    def step(self):
        dice, ask = self.dice, self.client.ask
        ask("lan.set", gateway=f"192.168.{dice.randrange(1, 250)}.1", move_pool=True,
            **({"confirm_s": 1} if self.chance(0.5) else {}))
        ask("lan.show")
        ask(dice.choice(("lan.confirm", "lan.rollback", "lan.show")))
        ask("lan.set", lease_s=dice.randrange(-5, 10**5), dhcp=self.chance(0.8))
        vlan = dice.randrange(2, 12)
        ask("vlan.add", id=vlan, interface=dice.choice(("ethernet", "usb", "wlan")))
        ask("vlan.map", id=vlan, pdn=dice.randrange(POLICIES + 1))
        ask("vlan.unmap", id=vlan, pdn=1)
        ask("vlan.list")
        ask("vlan.remove", id=vlan)
        ask("passthrough.set", on=self.chance(0.5), mode="mac-address", target="02:00:5e:10:00:01")


class Asker(Actor):
    """All that can be asked: radio, card, PINs, messages, profiles, policies, device."""

    def step(self):
        dice, ask = self.dice, self.client.ask
        ask(dice.choice(("radio.signal", "radio.cell", "radio.errors", "radio.system", "pin.status", "sms.routes",
                         "device.show", "profile.list", "policy.list", "host.status", "host.version", "call.list",
                         "passthrough.show", "at.ready")))
        ask("profile.show", index=dice.randrange(5), type="3gpp")
        if self.chance(0.05):
            dice.choice((self.card, self.pins, self.message, self.policy, self.scan))()

    def card(self):
        self.client.ask("sim.off", slot=1)
        self.nap(0.1)
        self.client.ask("sim.on", slot=1)

    def pins(self):
        ask = self.client.ask
        one, other = self.dice.sample(PINS, 2)
        self.client.modem(f"puk 1 {PUK} {one}")
        ask("pin.lock", pin=one)
        ask("pin.change", old_pin=one, new_pin=other)
        ask("pin.unlock", pin=one)  # Wrong.
        ask("pin.unlock", pin=other)

    def message(self):
        self.client.modem(f'sms {self.dice.choice(("0", "1", "2", "none"))} +4912345 "{"tide " * 20}"')
        self.client.ask("sms.route", **{"class": "class 2"}, storage="device", action="store-and-notify")
        self.client.modem("sms-clear")

    def policy(self):
        made = self.client.ask("policy.create", technology="lte+nr5g", family="ipv4v6", profile=2, profile6=2)
        if made:
            index = made["index"]
            self.client.ask("policy.set", index=index, technology="any", profile=3)
            self.client.ask("policy.roaming", index=index, on=False)
            self.client.ask("policy.autoconnect", index=index, on=True)  # The host connects it, again and again.
            self.nap(0.5)
            self.client.ask("policy.family", index=index, family="ipv6", on=False)
            self.client.ask("policy.autoconnect", index=index, on=False)
        forget_more_policies(self.client)

    def scan(self):
        self.client.ask("radio.scan")


class Watcher(Actor):
    """Monitors that come and go, some of them slow, some gone with a request open."""

    pause_s = 0.05

    def step(self):
        if self.chance(0.2):
            return self.slow()
        with Client(self.tally) as monitor:
            monitor.ask("monitor.start")
            self.tally.count("monitors")
            monitor.socket.settimeout(self.dice.uniform(0.01, 1))
            try:
                while not self.chance(0.02) and monitor.line():
                    self.tally.count("events")
            except TimeoutError:
                pass
        return None

    def slow(self):
        """Asks for events and answers, and reads none."""
        with Client(self.tally, receive_buffer=4096) as reader:
            reader.request("monitor.start")
            reader.socket.settimeout(1)
            try:
                for _ in range(self.dice.randrange(200)):
                    reader.request("modem.run", line="help")
            except OSError:
                pass  # Cut off, or the host reads no further: both are its right.
            self.nap(0.5)
            self.tally.count("slow readers")


class Vandal(Actor):
    """What is no request; the host has to answer the next one all the same."""

    pause_s = 0.05
    LINES = (b"\x00\xff\xfe", b"[" * 5000, b'{"id":{},"method":"host.version"}', b"y" * 200000,
             b'{"id":1,"method":"pin.lock","params":{"pin":"12x4"}}', b'{"id":1,"method":"' + b"x" * 70000 + b'"}')

    def step(self):
        with Client(self.tally) as vandal:
            vandal.socket.sendall(self.dice.choice(self.LINES) + b"\n")
            if "error" not in (vandal.line() or {}):
                self.tally.fault("a line without sense is not answered with an error")
            self.tally.count("malformed")
            vandal.ask("host.version")
            vandal.socket.sendall(b'{"id":9,"method":"host.ver')  # A half one, and gone.


class Killer(Actor):
    """Programs that are killed in the middle of a request, and clients that hang up in one."""

    pause_s = 0.1
    COMMANDS = (("call", "up", "1"), ("call", "up", "2", "--ipv6"), ("status",), ("monitor",), ("at", "list"),
                ("modem", "wait-idle", "5000"), ("call", "down", "1"))

    def __init__(self, tally, seed, kwwanctl):
        super().__init__(tally, seed)
        self.kwwanctl = kwwanctl

    def step(self):
        with subprocess.Popen([self.kwwanctl, *self.dice.choice(self.COMMANDS)], stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as program:
            self.nap(0.3)
            program.kill()
        self.tally.count("programs killed")
        with Client(self.tally) as leaver:
            leaver.request("call.up", index=self.dice.randrange(POLICIES), family="ipv4")
            for _ in range(self.dice.choice((0, 60))):
                leaver.request("host.status")
            self.nap(0.1)
        self.tally.count("clients gone")


def cast(tally, seed, kwwanctl):
    """All actors of a run."""
    seeds = random.Random(seed)

    def dice():
        return seeds.randrange(2**32)

    actors = [Caller(tally, dice(), index, family) for index in range(POLICIES) for family in FAMILIES]
    actors += [kind(tally, dice()) for kind in (Network, Dns, Terminal, Terminal, Lan, Asker, Watcher, Watcher, Vandal)]
    return actors + [Killer(tally, dice(), kwwanctl)]
