"""Stores as data frames: to_pandas and fields_frame against the items one
by one, their selections and columns, and quillon.dask on the threaded
scheduler and on a two-process cluster, with a corrupt capture in the set."""
import datetime

import distributed
import pandas as pd
import pytest

import quillon
import quillon.dask as qd
from conftest import SAMPLE, set_entry_length

UTC = datetime.timezone.utc
ITEMS = 3000
EVERY_COLUMN = ["index", "type", "type_text", "key_text", "name", "timestamp", "summary",
                "length", "color", "payload"]


@pytest.fixture(scope="module")
def captures(tmp_path_factory):
    """Three captures of 3,000 items: the sample's items (every type), each
    capture taking them in another order."""
    folder = tmp_path_factory.mktemp("captures")
    paths = []
    with quillon.open(SAMPLE) as sample:
        for c in range(3):
            paths.append(folder / f"day{c}.isf")
            with quillon.open(paths[-1], "w") as store:
                for i in range(ITEMS):
                    store.copy_from(sample, (i * (2 * c + 1) + c) % len(sample))
    return [str(p) for p in paths]


def item_row(i):
    return (i.index, i.type, i.type_text, i.key_text, i.name, pd.Timestamp(i.timestamp),
            i.summary, len(i.payload), i.color, i.payload)


def frame_rows(frame):
    return list(frame.itertuples(index=False, name=None))


def test_to_pandas_equals_the_items(captures):
    with quillon.open(captures[0]) as store:
        frame = store.to_pandas(columns=EVERY_COLUMN)
        assert frame_rows(frame) == [item_row(i) for i in store]
    assert str(frame.timestamp.dtype) == "datetime64[ns, UTC]"
    assert list(frame.columns) == EVERY_COLUMN


@pytest.mark.parametrize("selection", [
    dict(types=[4, 6]),
    dict(keys=["0x412F/*", "029"]),
    dict(start=100, stop=250),
    dict(since=datetime.datetime(2024, 3, 1, 9, 30, 2),
         until=datetime.datetime(2024, 3, 1, 10, 30, 4, tzinfo=datetime.timezone(
             datetime.timedelta(hours=1)))),
    dict(types=[], keys=["*"]),
])
def test_to_pandas_selects_as_items_does(captures, selection):
    with quillon.open(captures[1]) as store:
        frame = store.to_pandas(columns=["summary", "index"], **selection)
        assert frame_rows(frame) == [(i.summary, i.index) for i in store.items(**selection)]
    assert (len(frame) > 0) == (selection.get("types") != [])


@pytest.mark.parametrize("pattern, matches", [
    ("0x412f/*", lambda k: k.startswith("0x412F/")),
    ("*/03", lambda k: k.endswith("/03")),
    ("0*1*", lambda k: k.startswith("0") and "1" in k),
    ("00276", lambda k: k == "00276"),
])
def test_key_patterns(captures, pattern, matches):
    with quillon.open(captures[0]) as store:
        every = store.to_pandas(columns=["key_text"]).key_text
        picked = store.to_pandas(columns=["key_text"], keys=[pattern]).key_text
    assert 0 < len(picked) < len(every)
    assert list(picked) == [k for k in every if matches(k)]


def test_to_pandas_refuses_unknown_columns_and_reports_unreadable_items(tmp_path):
    copy = tmp_path / "c.isf"
    copy.write_bytes(SAMPLE.read_bytes())
    set_entry_length(copy, 5, 60000)
    with quillon.open(copy) as store:
        with pytest.raises(ValueError, match="unknown column 'size'"):
            store.to_pandas(columns=["size"])
        with pytest.raises(quillon.Error, match="item 5"):
            store.to_pandas()
        frame = store.to_pandas(columns=["index"], stop=8, errors="skip")
    assert list(frame["index"]) == [0, 1, 2, 3, 4, 6, 7]
    assert [index for index, _ in frame.attrs["skipped"]] == [5]


def test_threads_give_the_same_table(tmp_path):
    path = tmp_path / "long.isf"
    with quillon.open(SAMPLE) as sample, quillon.open(path, "w") as store:
        for i in range(40000):
            store.copy_from(sample, i % len(sample))
    set_entry_length(path, 7000, 60000)
    with quillon.open(path) as store:
        frames = [store.to_pandas(columns=EVERY_COLUMN, threads=n, errors="skip") for n in (1, 3)]
    pd.testing.assert_frame_equal(*frames)
    assert len(frames[0]) == 39999
    assert [index for index, _ in frames[1].attrs["skipped"]] == [7000]


def expected_fields(store, entity, name, selection):
    rows = []
    for item in store.items(**selection):
        fields = item.fields(entity)
        if entity and not fields:
            continue
        found = [f for f in fields if f.name.endswith("." + name)][:1]
        rows.append((item.index, found[0].value if found else None,
                     found[0].text if found else ""))
    return rows


@pytest.mark.parametrize("entity_or_key, name, selection", [
    ("EVENT_IDLE_HANDOFF", "idle_handoff", {}),
    ("029", "time_low", dict(keys=["029"])),
])
def test_fields_frame_equals_item_fields(captures, entity_or_key, name, selection):
    entity = None if entity_or_key[0].isdigit() else entity_or_key
    with quillon.open(captures[2]) as store:
        frame = store.fields_frame(entity_or_key, [name], texts=True, columns=["index"])
        assert frame_rows(frame) == expected_fields(store, entity, name, selection)
    assert frame[name].notna().any()


def test_fields_frame_of_every_field_in_first_met_order(captures):
    with quillon.open(captures[0]) as store:
        frame = store.fields_frame("00021/*", columns=[])
        first = next(store.items(keys=["00021/*"])).fields()
    assert list(frame.columns[:len(first)]) == [f.name.split(".", 1)[1] for f in first]


def path_frame(path, **kwargs):
    with quillon.open(path) as store:
        frame = store.to_pandas(**kwargs)
    frame.insert(0, "path", path)
    return frame


def test_dask_threaded_equals_to_pandas(captures):
    frame = qd.read_items(captures[0].replace("day0", "day[0-9]"), items_per_partition=1000,
                          types=[4, 5, 8])
    assert frame.npartitions == 9
    expected = pd.concat([path_frame(p, types=[4, 5, 8]) for p in captures], ignore_index=True)
    pd.testing.assert_frame_equal(frame.compute(scheduler="threads").reset_index(drop=True),
                                  expected)


def test_distributed_cluster_gives_the_single_process_result(captures):
    fields = qd.read_fields(captures, "EVENT_IDLE_HANDOFF", ["idle_handoff"], texts=True)
    items = qd.read_items(captures, ["key_text", "summary"], items_per_partition=700)
    local = (fields.compute(scheduler="sync"), items.compute(scheduler="sync"))
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            remote = client.compute([fields, items], sync=True)
    for a, b in zip(local, remote):
        pd.testing.assert_frame_equal(a.reset_index(drop=True), b.reset_index(drop=True))


def test_a_corrupt_capture_is_named_or_skipped(captures, tmp_path):
    bad = tmp_path / "bad.isf"
    bad.write_bytes(b"not a capture at all")
    with pytest.raises(quillon.Error, match="cannot open .*bad.isf"):
        qd.read_items([captures[0], bad])
    with pytest.warns(qd.SkippedCaptures, match="bad.isf"):
        frame = qd.read_items([captures[0], bad, captures[1]], ["index"], errors="skip")
    assert [path for path, _ in frame.attrs["skipped"]] == [str(bad)]
    assert list(frame.compute().path.unique()) == captures[:2]
