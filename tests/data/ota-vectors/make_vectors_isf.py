#!/usr/bin/env python3
"""Writes vectors.isf: the vectors of vectors.json as OTA LOG items.

Item i (one per vector with a body, in file order) is stamped
2024-01-01 00:00:00 UTC + i seconds. After them come the items that an OTA
export skips, in this order:
  an HDR log 0x1076 (no public layout), a GSM RR RACH log 0x512F (no
  message), a WCDMA RRC log 0x412F whose length field is one too large
  (malformed), and a STRING item (not an OTA item).
"""
import json
import os
import struct
import sys

MAGIC = 0xAB603107
TICKS_1980_TO_1601 = 9568350720000     # 1.25 ms ticks from 1601 to 1980-01-06
FILETIME_2024 = 133485408000000000     # 2024-01-01 00:00:00 UTC
STRING_ITEM, OTA_LOG_ITEM = 7, 8


def log_payload(code, body, time_ms):
    ticks = (time_ms * 10000) // 12500 - TICKS_1980_TO_1601
    length = 12 + len(body)
    return struct.pack('<BBHHHQ', 0x10, 0, length, length, code, ticks << 16) + body


def items(vectors):
    base_ms = FILETIME_2024 // 10000
    with_body = [v for v in vectors if v.get('body_hex')]
    for i, v in enumerate(with_body):
        ms = base_ms + 1000 * i
        yield OTA_LOG_ITEM, ms, log_payload(int(v['log_code'], 16), bytes.fromhex(v['body_hex']), ms)
    ms = base_ms + 1000 * len(with_body)
    yield OTA_LOG_ITEM, ms, log_payload(0x1076, bytes(8), ms)
    yield OTA_LOG_ITEM, ms, log_payload(0x512F, bytes([0x02, 0x00, 0x01, 0x7F]), ms)
    yield OTA_LOG_ITEM, ms, log_payload(0x412F, bytes([0x00, 0x00, 0x02, 0x00, 0x29]), ms)
    word = 0xC0000000 | 1
    yield STRING_ITEM, ms, struct.pack('<I', word) + 'skip'.encode('utf-16-le') + b'\0\0'


def build(vectors):
    entries, records = [], bytearray()
    all_items = list(items(vectors))
    base_ms = all_items[0][1]
    for type_code, ms, data in all_items:
        # Time encoding 2: a u32 of milliseconds after the file's base time.
        entries.append(struct.pack('<BIH', type_code | 2 << 5, len(records), len(data)))
        records += struct.pack('<I', ms - base_ms) + data
    index = b''.join(entries).ljust(8192 * 7, b'\0')
    block = index + struct.pack('<QQ', 0, base_ms)
    trailer = bytes(8) + struct.pack('<II', len(entries), MAGIC)
    return struct.pack('<I', MAGIC) + block + bytes(records) + trailer


if __name__ == '__main__':
    here = os.path.dirname(os.path.abspath(__file__))
    with open(os.path.join(here, 'vectors.json')) as f:
        vectors = json.load(f)['vectors']
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, 'vectors.isf')
    with open(out, 'wb') as f:
        f.write(build(vectors))
