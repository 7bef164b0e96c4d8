"""The quillon tool end to end: each command's output on the sample against
committed expected output (QUILLON_REGENERATE=1 rewrites them; the whole
dump and the text of `show` are the golden tests of CMakeLists.txt, which
also run under Wine), failures as messages with an exit status, and
reading commands that never write."""
import os
import pathlib
import re
import subprocess

import pytest

from conftest import SAMPLE, cut_trailer, set_entry_length

TOOL = os.environ.get("QUILLON_TOOL", "quillon")
EXPECTED = pathlib.Path(__file__).parent / "expected"
S = str(SAMPLE)
# The outputs name the sample as the tool is given it: relative, from its
# folder, so that they do not depend on where the tree lies.
R = SAMPLE.name

OUTPUTS = {
    "info": ["info", R],
    "dump_csv_logs": ["dump", R, "--type", "LOG", "--format", "csv"],
    "dump_jsonl_payload": ["dump", R, "--first", "15", "--count", "6", "--format", "jsonl",
                           "--payload"],
    "dump_keys_times": ["dump", R, "--key", "0x1076", "--key", "00276",
                        "--since", "2024-03-01T09:30:01", "--until", "2024-03-01T09:30:03.5Z"],
    "show_json": ["show", R, "2", "--format", "json"],
    "fields": ["fields", R, "2"],
    "fields_xml": ["fields", R, "20", "--xml"],
    "event_name": ["event", "name", "258"],
    "event_summary": ["event", "summary", "0x114", "a8 00"],
}


def run(*args, stdin=None, cwd=None):
    return subprocess.run([TOOL, *args], capture_output=True, text=True, input=stdin, cwd=cwd)


@pytest.mark.parametrize("name", sorted(OUTPUTS))
def test_output_matches_expected(name):
    result = run(*OUTPUTS[name], cwd=SAMPLE.parent)
    assert (result.returncode, result.stderr) == (0, "")
    expected = EXPECTED / f"{name}.txt"
    if os.environ.get("QUILLON_REGENERATE"):
        expected.write_text(result.stdout)
    assert result.stdout == expected.read_text()


@pytest.mark.parametrize(
    "args, status, message",
    [
        (["frobnicate"], 2, r"unknown command 'frobnicate'"),
        (["dump", S, "--format", "xml"], 2, r"--format"),
        (["dump", S, "--type", "LOGS"], 2, r"unknown item type 'LOGS'"),
        (["dump", S, "--since", "yesterday"], 2, r"--since 'yesterday' is not a UTC time"),
        (["dump", "missing.isf"], 1, r"cannot open missing.isf: the file was not found \(error 2\)"),
        (["recover", "missing.isf"], 1, r"cannot open missing.isf: the file was not found"),
        (["dump", S, "--db", "no-such-dir"], 1, r"database directory not found: no-such-dir"),
        (["show", S, "324"], 1, r"item index 324 is out of range: .* has 324 items"),
        (["show", S, "-1"], 2, r"INDEX"),
        (["fields", S, "0"], 1, r"item 0 \(STRING 0\) has no fields"),
        (["event", "name", "70000"], 1, r"event ID 70000 is not in the database"),
        (["event", "summary", "258", "abc"], 2, r"odd number of hex digits"),
        (["add-strings", S, "x", "--string-type", "5"], 2, r"--string-type"),
        (["copy", S, S], 2, r"the destination is the source file"),
    ],
)
def test_failures_explain_themselves(args, status, message):
    result = run(*args)
    assert result.returncode == status
    assert re.search(message, result.stderr), result.stderr
    assert "Traceback" not in result.stderr and "terminate" not in result.stderr


def test_not_an_item_store_file(tmp_path):
    junk = tmp_path / "junk.isf"
    junk.write_bytes(b"not a capture")
    result = run("info", str(junk))
    assert result.returncode == 1 and "not an item store file (error 13)" in result.stderr


def test_db_save_of_a_database_with_errors_writes_it_and_fails(tmp_path):
    (tmp_path / "db").mkdir()
    (tmp_path / "db" / "Field.txt").write_text("garbage^line\n")
    result = run("db", "save", str(tmp_path / "db"), str(tmp_path / "out"))
    assert result.returncode == 1 and "reported 1 error(s)" in result.stderr
    assert (tmp_path / "out").is_dir()


def test_a_capture_killed_before_its_first_item_is_called_empty(tmp_path):
    capture = tmp_path / "empty.isf"
    capture.write_bytes(bytes([0x07, 0x31, 0x60, 0xAB]) + bytes(4096))
    result = run("info", str(capture))
    assert result.returncode == 1 and "the capture holds no items" in result.stderr


READERS = [["info"], ["dump"], ["dump", "--format", "jsonl"], ["show", "{}", "5"],
           ["fields", "{}", "2"]]


def reader_args(command, path):
    return [a.replace("{}", path) for a in command] if "{}" in command else [*command, path]


@pytest.mark.parametrize("command", READERS, ids=lambda c: "-".join(c))
def test_reading_a_never_closed_capture_leaves_it_alone(sample, command):
    cut_trailer(sample)
    before = sample.read_bytes()
    result = run(*reader_args(command, str(sample)))
    assert result.returncode == 0
    assert "was never closed" in result.stderr and len(result.stderr.splitlines()) == 1
    assert sample.read_bytes() == before


@pytest.mark.parametrize("command", READERS[:3], ids=lambda c: "-".join(c))
def test_reading_goes_on_past_an_unreadable_item(sample, command):
    set_entry_length(sample, 3, 0)
    before = sample.read_bytes()
    result = run(*reader_args(command, str(sample)))
    assert result.returncode == 3
    assert re.search(r"cannot read item 3 of .*: the data is invalid or corrupt", result.stderr)
    assert "1 item could not be read" in result.stderr
    assert sample.read_bytes() == before
    if command[0] == "dump":
        assert len(result.stdout.strip().splitlines()) == 323


def test_recover_writes_the_trailer(sample):
    cut_trailer(sample)
    assert "recovered 324 items" in run("recover", str(sample)).stdout
    assert sample.stat().st_size == SAMPLE.stat().st_size
    assert "nothing to recover" in run("recover", str(sample)).stdout


def test_add_strings_then_copy_a_subset(tmp_path):
    notes = str(tmp_path / "notes.isf")
    assert run("add-strings", notes, "one\ntwo").returncode == 0
    assert "indexes 2-3" in run("add-strings", notes, "-", stdin="three\n\nfour\n").stdout
    subset = str(tmp_path / "subset.isf")
    copied = run("copy", S, subset, "--type", "GPS", "--last", "100", "--preserve-timestamps")
    assert copied.stdout == f"copied 5 items to {subset}\n"
    def columns(path, *selection, first=2):
        lines = run("dump", path, *selection, "--format", "csv").stdout.splitlines()[1:]
        return [line.split(",", first)[first] for line in lines]

    assert columns(subset) == columns(S, "--type", "GPS", "--last", "100")
    assert columns(notes, first=5) == ["one,12", "two,12", "three,16", "four,14"]


def test_help_lists_exit_statuses():
    assert re.search(r"Exit status: 0 done; 1 failed", run("--help").stdout)
