#!/usr/bin/env python3
# Writes the seed inputs of OmbrixHalFilterChainFuzz into fuzz/corpus/OmbrixHalFilterChainFuzz/:
# streams that complete a section with its CRC, bounded and unbounded PES packets, PCRs and
# teletext lines, each with a program that opens the clients that take them, and handlers that
# close their own filter, one seed for each kind of filter that does.
import os
import struct

OPEN, OPEN_REAL, START, STOP, CLOSE, SET_PARAMETER, RECEIVE, ARM, POKE = range(9)
TS, SECTION, PCR, PES, TELETEXT = range(5)
# Index of each PID in the target's table; stream packets carry it in their low PID bits.
PAT, PES_PID, PCR_PID, TELETEXT_PID = range(4)
ALL = 4
CLOSE_SELF, STOP_SELF = 1 << 3, 2 << 3


def crc32(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc ^= byte << 24
        for _ in range(8):
            crc = (crc << 1) ^ 0x04C11DB7 if crc & 0x80000000 else crc << 1
            crc &= 0xFFFFFFFF
    return crc


def packet(pid_index, payload, unit_start=False, adaptation=b""):
    control = (0x30 if payload else 0x20) if adaptation else 0x10
    head = bytes([0x47, 0x40 if unit_start else 0x00, pid_index, control])
    body = (bytes([len(adaptation)]) + adaptation if adaptation else b"") + payload
    return (head + body + b"\xff" * 184)[:188]


def pat():
    body = bytes([0x00, 0xB0, 0x0D, 0x00, 0x01, 0xC1, 0x00, 0x00, 0x01, 0x01, 0xE1, 0x00])
    return body + struct.pack(">I", crc32(body))


def pes(stream_id, data, bounded=True):
    length = len(data) + 3 if bounded else 0
    return bytes([0, 0, 1, stream_id]) + struct.pack(">H", length) + b"\x80\x00\x00" + data


def teletext_pes():
    header = bytes([0, 0, 1, 0xBD, 0, 178, 0x80, 0x80, 36]) + b"\xff" * 36
    line = bytes([0xE4]) + bytes(range(1, 43))
    units = b"\x02\x2c\xc0" + line + b"\xff\x2c" + b"\xff" * 44 + b"\x03\x2c\xc0" + line
    return header + b"\x10" + units


def pcr(base):
    return bytes([0x10]) + struct.pack(">I", base) + b"\x7e\x00"


def stream():
    section = pat()
    packets = [
        packet(PAT, b"\x00" + section, unit_start=True),
        packet(PES_PID, pes(0xC0, bytes(175)), unit_start=True),
        packet(PCR_PID, b"", adaptation=pcr(0x100)),
        packet(TELETEXT_PID, teletext_pes(), unit_start=True),
        packet(PES_PID, pes(0xE0, bytes(300), bounded=False)[:184], unit_start=True),
        packet(PES_PID, bytes(184)),
        packet(PCR_PID, b"\x00" * 10, adaptation=pcr(0x200)),
        packet(PAT, bytes([175]) + b"\xff" * 175 + section[:8], unit_start=True),
        packet(PAT, section[8:]),
        packet(PES_PID, pes(0xC0, bytes(10)), unit_start=True),
    ]
    return b"".join(packets)


def open_client(slot, kind, pid_index, crc=False, match_length=0, table_id=0, own_chain=False):
    selection = pid_index | (8 if crc else 0) | match_length << 4
    return [OPEN_REAL if own_chain else OPEN, slot | kind << 3, selection, table_id]


def every_kind(own_chain=False):
    return (
        open_client(0, SECTION, PAT, crc=True, match_length=1, own_chain=own_chain)
        + open_client(1, PES, PES_PID, own_chain=own_chain)
        + open_client(2, PCR, PCR_PID, own_chain=own_chain)
        + open_client(3, TELETEXT, TELETEXT_PID, own_chain=own_chain)
        + open_client(4, TS, ALL, own_chain=own_chain)
        + open_client(5, TS, PES_PID, own_chain=own_chain)
    )


SEEDS = {
    "every-kind": every_kind(),
    "every-kind-own-chains": every_kind(own_chain=True),
    # Two clients of one PID and type: the second one stops, then closes, between packets.
    "shared-chain": open_client(0, SECTION, PAT, crc=True)
    + open_client(1, SECTION, PAT)
    + open_client(2, PES, PES_PID)
    + open_client(3, PES, PES_PID)
    + [RECEIVE, 1, STOP, 1, RECEIVE, 3, START, 1, POKE, 0x18, CLOSE, 3, RECEIVE, 2, CLOSE, 1],
    # Handlers that close or stop their own map filter.
    "self-close": every_kind()
    + [ARM, 0 | CLOSE_SELF, ARM, 1 | CLOSE_SELF, ARM, 3 | CLOSE_SELF, ARM, 4 | CLOSE_SELF]
    + [ARM, 5 | STOP_SELF, RECEIVE, 5, START, 5],
    # Handlers that close their own section and TS chains, made without map filters.
    "own-chains-close-themselves": every_kind(own_chain=True)
    + [ARM, 0 | CLOSE_SELF, ARM, 4 | CLOSE_SELF, ARM, 5 | CLOSE_SELF],
    "pcr-closes-itself": every_kind() + [ARM, 2 | CLOSE_SELF],
    "own-pes-closes-itself": every_kind(own_chain=True) + [ARM, 1 | CLOSE_SELF],
    "own-teletext-closes-itself": every_kind(own_chain=True) + [ARM, 3 | CLOSE_SELF],
    # A map filter moved to another PID while stopped, and a PCR filter polled without a handler.
    "move-and-poll": open_client(0, TS, PAT)
    + [OPEN, 6 | PCR << 3 | 0x80, PCR_PID, 0]
    + [RECEIVE, 2, STOP, 0, SET_PARAMETER, 0, PES_PID, 0, START, 0, RECEIVE, 4, POKE, 6],
}


def main():
    folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus", "OmbrixHalFilterChainFuzz")
    os.makedirs(folder, exist_ok=True)
    packets = stream()
    for name, program in SEEDS.items():
        with open(os.path.join(folder, name + ".bin"), "wb") as seed:
            seed.write(bytes([len(program)]) + bytes(program) + packets)


if __name__ == "__main__":
    main()
