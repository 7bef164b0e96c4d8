"""The Pythonic layer: open(), Store, Item, Field and quillon.Error."""
import datetime
import pathlib
import subprocess
import sys

import pytest

import quillon
from conftest import SAMPLE, cut_trailer, set_entry_length, write_capture

UTC = datetime.timezone.utc


def test_write_then_read_back(tmp_path):
    path = write_capture(quillon, tmp_path / "c.isf", ["alpha", "beta"])
    with quillon.open(path, "a") as store:
        assert store.add_text("gamma", string_type=2) == 2
    with quillon.open(path) as store:
        assert [i.type_text for i in store] == ["STRING"] * 3
        assert store[-1].key == (7, 2)
        assert [i.index for i in store[::2]] == [0, 2]


def test_items_match_the_automation_view():
    files = quillon.ItemStoreFiles()
    h = files.LoadItemStore(str(SAMPLE))
    with quillon.open(SAMPLE) as store:
        assert len(store) == files.GetItemCount(h)
        for item in store[:40]:
            auto = files.GetItem(h, item.index)
            assert (item.type, item.color, item.payload) == (
                auto.GetItemType(), auto.GetItemColor(), auto.GetItemBuffer(True))
            assert (item.name, item.summary, item.key_text) == (
                auto.GetItemName(), auto.GetItemSummary(), auto.GetItemKeyText())
            fields = auto.GetItemFields()
            assert item.xml() == (fields.GetXML() if fields else "")
            assert [f.value for f in item.fields()] == [
                fields.GetFieldValue(i) for i in range(fields.GetFieldCount())
            ] if fields else item.fields() == []


def test_timestamps_are_utc_datetimes():
    with quillon.open(SAMPLE) as store:
        assert store[1].timestamp == datetime.datetime(2024, 3, 1, 9, 30, 0, 9000, tzinfo=UTC)


@pytest.mark.parametrize(
    "selection, indexes",
    [
        (dict(start=10, stop=13), [10, 11, 12]),
        (dict(types=[5], stop=40), [19, 29, 38]),
        (dict(since=datetime.datetime(2024, 3, 1, 9, 30, 0, 9000),
              until=datetime.datetime(2024, 3, 1, 9, 30, 0, 57000)), [1, 2]),
        (dict(types=[]), []),
    ],
)
def test_items_selects(selection, indexes):
    with quillon.open(SAMPLE) as store:
        assert [i.index for i in store.items(**selection)] == indexes


def test_copy_from_keeps_the_timestamp(tmp_path):
    with quillon.open(SAMPLE) as src, quillon.open(tmp_path / "d.isf", "w") as dst:
        assert dst.copy_from(src, 5) == 0
        assert dst.copy_from(src, 5, preserve_timestamp=False) == 1
        assert dst[0].timestamp == src[5].timestamp != dst[1].timestamp
        assert dst[0].payload == dst[1].payload == src[5].payload


@pytest.mark.parametrize(
    "action, code",
    [
        (lambda p: quillon.open(p.with_name("missing.isf")), 2),
        (lambda p: quillon.open(p).add_text("x"), 50),
        (lambda p: quillon.open(p, "a").add_text(""), 160),
    ],
)
def test_failures_are_quillon_errors(sample, action, code):
    with pytest.raises(quillon.Error) as caught:
        action(sample)
    assert caught.value.code == code
    assert str(sample.parent) in str(caught.value) or code != 2


def test_a_closed_store_and_its_items_refuse(sample):
    store = quillon.open(sample)
    item = store[0]
    store.close()
    for action in (lambda: len(store), lambda: store[0], lambda: item.name):
        with pytest.raises(ValueError):
            action()


def test_index_out_of_range(sample):
    with quillon.open(sample) as store:
        with pytest.raises(IndexError):
            store[len(store)]


def test_never_closed_capture_is_read_in_memory(sample):
    cut_trailer(sample)
    before = sample.read_bytes()
    with pytest.raises(quillon.Error) as refused:
        quillon.open(sample)
    assert refused.value.code == 13
    with quillon.open(sample, recover=True) as store:
        assert store.recovered and len(store) == 324
    assert sample.read_bytes() == before
    with quillon.open(sample, "a", recover=True):
        pass
    assert len(sample.read_bytes()) == len(before) + 16


def test_iteration_raises_at_an_unreadable_item(sample):
    set_entry_length(sample, 3, 0)
    with quillon.open(sample) as store:
        seen = []
        with pytest.raises(quillon.Error) as caught:
            for item in store:
                seen.append(item.index)
        assert seen == [0, 1, 2] and caught.value.code == 13
        assert store[4].index == 4


def test_database_is_found_beside_the_module():
    directory = pathlib.Path(quillon.database_directory()).resolve()
    assert directory == pathlib.Path(quillon.__file__).parent / "Database"
    with pytest.raises(RuntimeError):
        quillon.use_database(directory)


def test_use_database_before_any_object(tmp_path):
    (tmp_path / "db").mkdir()
    code = ("import quillon, sys; m = quillon.use_database(sys.argv[1]); "
            "print(quillon.event_name(1) == '', all(s in (0, 1, 2) for _, s in m))")
    out = subprocess.run([sys.executable, "-c", code, str(tmp_path / "db")],
                         capture_output=True, text=True, check=True).stdout
    assert out.split() == ["True", "True"]


def test_event_helpers_take_the_payload_forms():
    payload = bytes(range(8))
    forms = [payload, bytearray(payload), memoryview(payload)]
    assert len({quillon.event_summary(258, p) for p in forms}) == 1
    assert quillon.event_summary(258, list(payload)) == ""
