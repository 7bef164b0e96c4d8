#!/usr/bin/env python3
"""quillon export end to end: vectors.isf in both capture forms, opened by tshark.

Usage: check_export.py QUILLON VECTORS_DIR

For --format pcap and --format gsmtap, exports VECTORS_DIR/vectors.isf to
standard output, has tshark decode the capture, and checks that record i
is vector i's message: the texts the vector lists, the dissector and
direction (exported PDUs) or the GSMTAP uplink flag, and no malformed
packet. The skipped items must be counted on standard error. Prints one
line per check and "N passed, M failed"; exit status 1 when any failed.
"""
import os
import subprocess
import sys
import tempfile

SUMMARY = ("quillon: 12 OTA records written; OTA items skipped: 1 without a public layout "
           "(CDMA, HDR), 1 without a message, 1 malformed")


def problems_of(fmt, vector, text, make_pcap):
    expect = list(vector["expect"])
    if fmt == "pcap":
        expect += ["Protocol Name: " + vector["dissector"],
                   "P2P direction: " + make_pcap.DIRECTION_TEXT[vector["direction"]]]
    else:
        expect += ["Payload Type: ", "= Uplink: %d" % (1 - vector["direction"])]
    missing = ["missing %r" % s for s in expect if s not in text]
    return missing + (["malformed"] if "[Malformed Packet" in text else [])


def main(quillon, vectors_dir):
    sys.path.insert(0, vectors_dir)
    import make_pcap  # the vectors' own checker: tshark run and packet split
    vectors = [v for v in make_pcap.json.load(open(os.path.join(vectors_dir, "vectors.json")))["vectors"]
               if v.get("body_hex")]
    passed = failed = 0
    for fmt in ("pcap", "gsmtap"):
        run = subprocess.run([quillon, "export", os.path.join(vectors_dir, "vectors.isf"),
                              "--format", fmt], capture_output=True)
        with tempfile.TemporaryDirectory() as tmp:
            capture = os.path.join(tmp, "export.pcap")
            with open(capture, "wb") as out:
                out.write(run.stdout)
            packets = make_pcap.split_packets(make_pcap.run_tshark("tshark", capture))
        checks = [("%s summary" % fmt, [] if run.stderr.decode().strip() == SUMMARY
                   else ["stderr %r" % run.stderr.decode()])]
        checks.append(("%s record count" % fmt, [] if len(packets) == len(vectors)
                       else ["%d records" % len(packets)]))
        for i, v in enumerate(vectors, start=1):
            checks.append(("%s %s" % (fmt, v["name"]), problems_of(fmt, v, packets.get(i, ""), make_pcap)))
        for name, problems in checks:
            print(("ok   " if not problems else "FAIL ") + name + "".join("\n     " + p for p in problems))
            passed, failed = passed + (not problems), failed + bool(problems)
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
