"""The automation classes from Python: names, types and failure values."""
import pytest

import quillon
from conftest import SAMPLE

FAIL = 0xFFFFFFFF
LOG_HEADER = 16


@pytest.fixture
def files():
    return quillon.ItemStoreFiles()


def first_of_type(files, h, type_code):
    for i in range(files.GetItemCount(h)):
        item = files.GetItem(h, i)
        if item.GetItemType() == type_code:
            return item
    raise AssertionError(f"no item of type {type_code}")


def test_handles_count_up_and_skip_failed_loads(files, tmp_path):
    assert files.LoadItemStore(str(SAMPLE)) == 0
    assert files.LoadItemStore(str(tmp_path / "missing.isf")) == FAIL
    assert files.CreateItemStore(str(tmp_path / "new.isf")) == 1
    assert files.CloseItemStore(1) is True
    assert files.CloseItemStore(1) is False


@pytest.mark.parametrize(
    "string_type, text, result",
    [(0, "one\ntwo\nthree", 0), (0, "", FAIL), (5, "x", FAIL)],
)
def test_add_string_item(files, tmp_path, string_type, text, result):
    h = files.CreateItemStore(str(tmp_path / "s.isf"))
    assert files.AddStringItem(h, string_type, text) == result
    assert files.GetItemCount(h) == (3 if result == 0 else 0)


def test_item_values_have_their_python_types(files):
    h = files.LoadItemStore(str(SAMPLE))
    log = first_of_type(files, h, 5)
    assert log.GetItemSize(True) - log.GetItemSize(False) == LOG_HEADER
    assert log.GetItemBuffer(False) == log.GetItemBuffer(True)[LOG_HEADER:]
    assert isinstance(log.GetItemBuffer(True), bytes)
    assert log.GetItemTimestamp() == log.GetItemTimestamp2() > 0.0
    assert isinstance(log.GetItemTypeText(), str)
    assert files.GetItem(h, files.GetItemCount(h)) is None


def test_fields_object(files):
    h = files.LoadItemStore(str(SAMPLE))
    fields = files.GetItem(h, 2).GetItemFields()
    assert isinstance(fields, quillon.ColorItemFields)
    assert fields.GetFieldCount() > 0
    assert fields.GetFieldOffset(fields.GetFieldCount()) == FAIL
    assert fields.GetFieldIndex("", False) == FAIL
    assert fields.GetFieldValue(FAIL) is None


@pytest.mark.parametrize(
    "payload",
    [[1, 2, 3], "\x01\x02", None, 7, memoryview(bytes([1, 2])).cast("b")],
)
def test_event_summary_takes_only_unsigned_bytes(payload):
    assert quillon.EventService().GetSummary(1, payload) == ""


@pytest.mark.parametrize("cls", [quillon.ColorItem, quillon.ColorItemFields])
def test_handed_out_classes_are_not_creatable(cls):
    with pytest.raises(TypeError):
        cls()


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda f: f.GetItemCount(-1), OverflowError),
        (lambda f: f.GetItemCount(1 << 32), OverflowError),
        (lambda f: f.GetItemCount("0"), TypeError),
        (lambda f: f.LoadItemStore(b"x.isf"), TypeError),
    ],
)
def test_arguments_of_the_wrong_type_raise(files, call, error):
    with pytest.raises(error):
        call(files)


def test_docstrings_and_parameter_names_are_the_automation_ones(files):
    assert "Get a color item form a previously opened file store" in files.GetItem.__doc__
    assert files.AddStringItem(hISF=7, strType=0, str="x") == FAIL
