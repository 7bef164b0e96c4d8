"""quillon export --format csv|jsonl: one table of many captures, in file
order whatever --jobs says, with the texts dump gives, and captures that
fail reported while the others are still exported."""
import csv
import io
import json
import shutil

from conftest import SAMPLE, set_entry_length
from test_cli import run


def copies(tmp_path, count):
    paths = [str(tmp_path / f"c{n}.isf") for n in range(count)]
    for path in paths:
        shutil.copyfile(SAMPLE, path)
    return paths


def test_csv_is_one_table_in_file_order(tmp_path):
    paths = copies(tmp_path, 3)
    outputs = [run("export", *paths, "--format", "csv", "--jobs", jobs) for jobs in "123"]
    assert [(r.returncode, r.stderr) for r in outputs] == [(0, "")] * 3
    assert outputs[0].stdout == outputs[1].stdout == outputs[2].stdout
    rows = list(csv.DictReader(io.StringIO(outputs[0].stdout)))
    assert [r["path"] for r in rows] == [p for p in paths for _ in range(324)]
    dump = list(csv.DictReader(io.StringIO(run("dump", paths[0], "--format", "csv").stdout)))
    assert [(r["key_text"], r["name"], r["summary"], r["length"]) for r in rows[:324]] == [
        (d["key"], d["name"], d["summary"], d["length"]) for d in dump]


def test_jsonl_has_the_columns_asked_for(tmp_path):
    result = run("export", str(SAMPLE), "--format", "jsonl", "--key", "0x412F/*",
                 "--columns", "index,timestamp,payload")
    lines = [json.loads(line) for line in result.stdout.splitlines()]
    assert len(lines) == 16 and all(list(x) == ["index", "timestamp", "payload"] for x in lines)
    assert lines[0]["timestamp"].endswith("Z") and bytes.fromhex(lines[0]["payload"])[6:8] == b"/A"


def test_failures_are_named_and_the_rest_exported(tmp_path):
    good, broken = copies(tmp_path, 2)
    set_entry_length(broken, 5, 60000)
    junk = tmp_path / "junk.isf"
    junk.write_bytes(b"not a capture")
    result = run("export", good, str(junk), broken, "--format", "csv", "--columns", "path")
    assert result.returncode == 1
    assert "cannot open " + str(junk) in result.stderr
    assert "cannot read item 5 of " + broken in result.stderr
    assert result.stdout.count(good) == 324 and result.stdout.count(broken) == 323
    assert run("export", good, "--format", "csv", "--columns", "size").returncode == 2
