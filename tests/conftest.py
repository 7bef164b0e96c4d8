"""Fixture vocabulary shared by the module and tool tests: the bundled
sample, fresh captures, and what the tests do to a file."""
import os
import pathlib
import shutil
import struct

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[1]
SAMPLE = ROOT / "samples" / "demo.isf"

TRAILER_SIZE = 16
FIRST_BLOCK = 4  # the magic comes first
ENTRY_SIZE = 7
ENTRY_LENGTH = 5  # offset of the payload length inside an entry


@pytest.fixture
def sample(tmp_path):
    """A private copy of the bundled sample (324 items)."""
    copy = tmp_path / "demo.isf"
    shutil.copyfile(SAMPLE, copy)
    return copy


def cut_trailer(path):
    """Makes `path` a capture that was never closed."""
    size = os.path.getsize(path)
    with open(path, "r+b") as f:
        f.truncate(size - TRAILER_SIZE)


def set_entry_length(path, index, length):
    """Overwrites the payload length of item `index` (first block)."""
    with open(path, "r+b") as f:
        f.seek(FIRST_BLOCK + index * ENTRY_SIZE + ENTRY_LENGTH)
        f.write(struct.pack("<H", length))


def write_capture(quillon, path, lines):
    with quillon.open(path, "w") as store:
        store.add_text("\n".join(lines))
    return path
