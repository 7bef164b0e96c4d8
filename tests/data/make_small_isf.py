#!/usr/bin/env python3
"""Writes tests/data/small.isf: 20 items of several types with fixed times.

An encoder of its own, written from the file layout alone, so that the
library's writer is checked against an independent source. The items must
match SmallFixtureItems() in tests/store/isf_test_support.h.
"""
import struct
import sys

MAGIC = 0xAB603107
EPOCH_TICKS = 9568350720000
BASE_TICKS = 1110000000000  # a multiple of 4: whole milliseconds


def ts_to_ms(raw):
    ticks, frac = raw >> 16, raw & 0xFFFF
    file_time = (ticks + EPOCH_TICKS) * 12500 + frac * 12500 // 49152
    return file_time // 10000


def ts_at(delta_ms, fraction=0):
    # delta_ms is a multiple of 5 (4 ticks)
    return ((BASE_TICKS + delta_ms * 4 // 5) << 16) | fraction


def payload(type_code, i):
    if type_code == 2:  # DIAG TX
        return bytes([0x0C, i])
    if type_code == 1:  # DIAG RX
        return bytes([0x0C, i, 0x00, 0x01])
    if type_code == 5:  # LOG: 16-byte header, log code 0x11EB
        return (bytes([0x10, 0x00, 0x14, 0x00, 0x14, 0x00, 0xEB, 0x11]) +
                struct.pack('<Q', 0x0000123456789ABC) + bytes([i, 1, 2, 3]))
    if type_code == 7:  # STRING: header word, UTF-16 text with terminator
        word = 0xC0000000 | (0x00FF00 << 6) | 1
        return struct.pack('<I', word) + ('note %d' % i).encode('utf-16-le') + b'\0\0'
    if type_code == 10:  # SUBSYS TX
        return bytes([0x4B, 0x12, 0x34, 0x00, i])
    if type_code == 9:  # SUBSYS RX
        return bytes([0x4B, 0x12, 0x34, 0x00, 0x00, i])
    return bytes([0xFF, i])  # MALFORMED


TYPES = [2, 1, 5, 7, 10, 9, 0]
DELTAS = [0, 5, 250, 255, 1000, 65530, 65535, 100000, -5, 3600000, 0xFFFFFFFF,
          10, 20, 30, 40, 50, 60, 70, 80, 90]
FRACTIONS = {12: 0x8000}


def items():
    for i, delta in enumerate(DELTAS):
        yield TYPES[i % len(TYPES)], ts_at(delta, FRACTIONS.get(i, 0)), payload(TYPES[i % len(TYPES)], i)


def build():
    entries, records = [], bytearray()
    base_ms = None
    for type_code, raw, data in items():
        ms = ts_to_ms(raw)
        if base_ms is None:
            base_ms = ms
        delta = ms - base_ms
        if delta < 0:
            enc, field = 3, struct.pack('<Q', ms)
        elif delta < 255:
            enc, field = 0, struct.pack('<B', delta)
        elif delta < 65535:
            enc, field = 1, struct.pack('<H', delta)
        elif delta <= 0xFFFFFFFE:
            enc, field = 2, struct.pack('<I', delta)
        else:
            enc, field = 3, struct.pack('<Q', ms)
        entries.append(struct.pack('<BIH', type_code | enc << 5, len(records), len(data)))
        records += field + data
    index = b''.join(entries).ljust(8192 * 7, b'\0')
    block = index + struct.pack('<QQ', 0, base_ms)
    trailer = bytes(8) + struct.pack('<II', len(entries), MAGIC)
    return struct.pack('<I', MAGIC) + block + bytes(records) + trailer


if __name__ == '__main__':
    with open(sys.argv[1] if len(sys.argv) > 1 else 'small.isf', 'wb') as out:
        out.write(build())
