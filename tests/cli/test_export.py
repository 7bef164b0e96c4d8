"""quillon export opened by Wireshark: every OTA test vector, stored in
tests/data/ota-vectors/vectors.isf, exported in both capture forms and
decoded by tshark (scripts/setup.sh installs it)."""
import os
import pathlib
import pty
import subprocess
import sys

import pytest

TOOL = os.environ.get("QUILLON_TOOL", "quillon")
VECTORS = pathlib.Path(__file__).parents[1] / "data" / "ota-vectors"
sys.path.insert(0, str(VECTORS))
import make_pcap  # noqa: E402  the vectors' own tshark run and packet split

STORED = [v for v in make_pcap.json.loads((VECTORS / "vectors.json").read_text())["vectors"]
          if v.get("body_hex")]
SUMMARY = ("quillon: 12 OTA records written; OTA items skipped: 1 without a public layout "
           "(CDMA, HDR), 1 without a message, 1 malformed\n")


@pytest.fixture(scope="module", params=["pcap", "gsmtap"])
def decoded(request, tmp_path_factory):
    """The export's stderr and tshark's text of each record."""
    run = subprocess.run([TOOL, "export", str(VECTORS / "vectors.isf"), "--format", request.param],
                         capture_output=True)
    capture = tmp_path_factory.mktemp("export") / "export.pcap"
    capture.write_bytes(run.stdout)
    packets = make_pcap.split_packets(make_pcap.run_tshark("tshark", str(capture)))
    return request.param, run.stderr.decode(), packets


def test_export_writes_one_record_per_message_and_counts_the_skipped(decoded):
    _, stderr, packets = decoded
    assert (stderr, len(packets)) == (SUMMARY, len(STORED))


@pytest.mark.parametrize("index", range(len(STORED)), ids=[v["name"] for v in STORED])
def test_each_record_decodes_as_its_vector(decoded, index):
    form, _, packets = decoded
    vector, text = STORED[index], packets[index + 1]
    if form == "pcap":
        expect = ["Protocol Name: " + vector["dissector"],
                  "P2P direction: " + make_pcap.DIRECTION_TEXT[vector["direction"]]]
    else:
        expect = ["GSM TAP Header", "= Uplink: %d" % (1 - vector["direction"])]
    assert [s for s in expect + vector["expect"] if s not in text] == []
    assert "[Malformed Packet" not in text


def test_export_to_a_terminal_is_refused():
    primary, terminal = pty.openpty()
    run = subprocess.run([TOOL, "export", str(VECTORS / "vectors.isf"), "--format", "pcap"],
                         stdout=terminal, stderr=subprocess.PIPE, text=True)
    os.close(primary), os.close(terminal)
    assert (run.returncode, run.stderr) == (2, "quillon: a capture is binary and standard output "
                                               "is a terminal: use --output FILE or a pipe\n")
