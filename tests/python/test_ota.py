"""OTA signalling items from Python: Store.to_pcap, and parsed_text through
the decoder libraries beside the extension (tshark: scripts/setup.sh)."""
import json
import pathlib
import struct

import pytest

import quillon

VECTORS = pathlib.Path(__file__).parents[1] / "data" / "ota-vectors"
STORED = [v for v in json.loads((VECTORS / "vectors.json").read_text())["vectors"]
          if v.get("body_hex")]


@pytest.mark.parametrize("form, link_type", [("pcap", 252), ("gsmtap", 228)])
def test_to_pcap_writes_one_record_per_message_and_counts_the_rest(tmp_path, form, link_type):
    out = tmp_path / "x.pcap"
    with quillon.open(VECTORS / "vectors.isf") as store:
        counts = store.to_pcap(out, format=form)
    assert counts == {"records": len(STORED), "no_layout": 1, "no_message": 1, "malformed": 1,
                      "not_ota": 1, "unreadable": 0}
    assert struct.unpack_from("<IHHiIII", out.read_bytes())[6] == link_type


def test_to_pcap_refuses_an_unknown_format(tmp_path):
    with quillon.open(VECTORS / "vectors.isf") as store, pytest.raises(ValueError, match="'pcap'"):
        store.to_pcap(tmp_path / "x.pcap", format="pcapng")


def test_parsed_text_is_wiresharks_tree():
    with quillon.open(VECTORS / "vectors.isf") as store:
        texts = [store[i].parsed_text for i in range(len(STORED))]
    for vector, text in zip(STORED, texts):
        assert [s for s in vector["expect"] if s not in text] == [], vector["name"]
