#!/usr/bin/env python3
"""make-mrt.py TABLE OUT [PEERS]: writes an MRT file (RFC 6396, TABLE_DUMP_V2) of all prefixes of TABLE, one a line, plain or .gz,
as PEERS (30) peers would have them, each with a path of its own to the prefix's origin. The same arguments give the same file.

Routes that stand side by side come from one origin for a while, as they do in a collector's file, and some have communities.
"""
import gzip
import ipaddress
import random
import struct
import sys

if len(sys.argv) not in (3, 4) or sys.argv[1].startswith("-"):
    sys.exit(__doc__)
table, out, peers = sys.argv[1], sys.argv[2], int(sys.argv[3]) if len(sys.argv) > 3 else 30
stamp = 1_700_000_000
rng = random.Random(20241)
origins = 75_000
transits = [174, 1299, 2914, 3257, 3320, 3356, 3491, 5511, 6453, 6461, 6762, 6830, 6939, 7018, 9002, 12956, 33891, 4200000001]
peer_ases = [rng.choice([rng.randrange(1, 64000), rng.randrange(131072, 400000)]) for _ in range(peers)]


def record(kind, subtype, body):
    return struct.pack(">IHHI", stamp, kind, subtype, len(body)) + body


def attribute(flags, kind, value):
    if len(value) > 255:
        return struct.pack(">BBH", flags | 0x10, kind, len(value)) + value
    return struct.pack(">BBB", flags, kind, len(value)) + value


def entries(origin, ipv6):
    """Of all peers, behind the prefix; most see a prefix, and some do not."""
    local = random.Random(origin * 2 + ipv6)
    last = local.choice([local.randrange(1, 64000), local.randrange(131072, 400000)])
    middle = local.sample(transits, 2)
    parts = []
    for peer in range(peers):
        hops = [peer_ases[peer]] + middle[: local.randrange(0, 3)] + [last] * local.choice([1, 1, 1, 1, 2, 3])
        attributes = attribute(0x40, 1, b"\0")
        attributes += attribute(0x40, 2, struct.pack(">BB", 2, len(hops)) + struct.pack(f">{len(hops)}I", *hops))
        if ipv6:
            hop = bytes.fromhex("20010db8") + bytes(11) + bytes([peer + 1])
            attributes += attribute(0x80, 14, bytes([16]) + hop)
        else:
            attributes += attribute(0x40, 3, bytes([192, 0, 2, peer + 1]))
        if local.random() < 0.6:
            tags = [hops[0] & 0xFFFF, local.randrange(100, 5000)] * local.randrange(1, 5)
            attributes += attribute(0xC0, 8, struct.pack(f">{len(tags)}H", *tags))
        parts.append(struct.pack(">HIH", peer, stamp - 1000, len(attributes)) + attributes)
    return struct.pack(">H", peers) + b"".join(parts)


with (gzip.open if table.endswith(".gz") else open)(table, "rt") as lines:
    prefixes = [ipaddress.ip_network(line.split()[0]) for line in lines if line.strip() and not line.startswith("#")]
prefixes.sort(key=lambda p: (p.version, int(p.network_address), p.prefixlen))

known = {}
with open(out, "wb") as file:
    body = struct.pack(">IHH", 0xC0000200, 0, peers)
    for peer in range(peers):
        body += struct.pack(">B4s4sI", 2, bytes([10, 0, 0, peer + 1]), bytes([192, 0, 2, peer + 1]), peer_ases[peer])
    file.write(record(13, 1, body))
    origin = 0
    for number, prefix in enumerate(prefixes):
        if rng.random() < 0.3:
            origin = rng.randrange(origins)
        ipv6 = prefix.version == 6
        if (origin, ipv6) not in known:
            known[origin, ipv6] = entries(origin, ipv6)
        address = prefix.network_address.packed[: (prefix.prefixlen + 7) // 8]
        file.write(record(13, 4 if ipv6 else 2, struct.pack(">IB", number, prefix.prefixlen) + address + known[origin, ipv6]))
