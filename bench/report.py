#!/usr/bin/python3
"""Writes docs/PERFORMANCE.md from the JSON results of the benchmark programs
and the idle-panel measurement, as scripts/bench leaves them in RESULTS_DIR.

    report.py RESULTS_DIR OUTPUT.md
"""
import datetime
import glob
import json
import os
import platform
import re
import sys

# What each figure is held to, by benchmark name.
TARGETS = [
    (r"^BM_DrainReportLines", "far below the 10 ms the link waits between reads", None),
    (r"^BM_CommandLine", "far below the link's 10 ms pacing", None),
    (r"^BM_StreamerFrame|^BM_PunchFrame", "under 3 ms a frame (the loop period is 33 ms)", 3.0),
    (r"^BM_OverlayFrame", "under 5 ms a frame (the loop period is 33 ms)", 5.0),
    (r"^BM_(Sort|SheetWrite|SheetRead|MidiExport)/10000$", "under 50 ms for 10,000 cues, linear", 50.0),
    (r"^BM_(Sort|SheetWrite|SheetRead|MidiExport)", "linear in the number of cues", None),
    (r"^importSheet", "under 1 s for a 20-page sheet of 1,000 cues", 1000.0),
    (r"^pdftotext", "reference: poppler's pdftotext on the same file", None),
    (r"^BM_FpgaRelay", "within 1.3 x of the wire time at 230400 bit/s", None),
    (r"^BM_OutputFrame", "under 4 ms a frame", 4.0),
    (r"^BM_TransportTenMinutes", "no frame dropped or doubled in 10 simulated minutes", None),
    (r"^BM_PlayRealTime", "no frame dropped or doubled drawing in real time; the largest lateness", None),
    (r"^BM_VideoPlayRealTime", "1080p25 H.264 (a keyframe every 12 frames) under the output for 60 s: none dropped or doubled", None),
    (r"^BM_VideoPlayOpenGl", "the same through OpenGL (here Mesa's, in software, on the same 2 cores): what the window draws where it has OpenGL", None),
    (r"^BM_VideoLocate/12", "the exact frame under 150 ms after a locate", None),
    (r"^BM_VideoLocate/250", "reference: a long-GOP clip (a keyframe every 250 frames)", None),
    (r"^BM_LtcTenMinutes", "every frame of 10 minutes read back, within a frame of where it was written", None),
    (r"^BM_Microcontroller", "against the wire time at 38400 bit/s", None),
    (r"^BM_Native(Save|Reopen)", "under 100 ms for 2,000 cues; the second save the same bytes", 100.0),
    (r"^BM_PrintedSheet", "under 2 s for 2,000 cues (about 60 pages)", 2000.0),
    (r"^BM_(SessionTextMarkers|CsvRows)/10000", "under 50 ms for 10,000 markers or rows", 50.0),
]

TO_MS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def target_for(name):
    for pattern, text, limit in TARGETS:
        if re.search(pattern, name):
            return text, limit
    return "", None


def main(results, output):
    rows = []
    for path in sorted(glob.glob(os.path.join(results, "*.json"))):
        program = os.path.splitext(os.path.basename(path))[0]
        with open(path) as f:
            data = json.load(f)
        for b in data.get("benchmarks", []):
            if b.get("run_type") == "aggregate" or "error_message" in b:
                continue
            name = b["name"]
            ms = b["real_time"] * TO_MS.get(b.get("time_unit", "ns"), 1e-6)
            extra = []
            for key in ("ratio", "wire_s", "cues", "records", "items_per_second", "shapes", "due", "shown",
                        "dropped", "doubled", "worst_late_ms", "failed", "mean_ms", "worst_ms", "written", "read",
                        "wrong_label", "over_a_frame_off"):
                if key in b:
                    value = b[key]
                    if isinstance(value, float) and value.is_integer():
                        value = int(value)  # a count: all its digits
                    extra.append("%s %s" % (key.replace("_", " "), ("%.3g" % value) if isinstance(value, float) else value))
            text, limit = target_for(name)
            verdict = ""
            if limit is not None:
                verdict = "met" if ms <= limit else "MISSED"
            if name.startswith("BM_FpgaRelay") and "ratio" in b:
                verdict = "met" if b["ratio"] <= 1.3 else "MISSED"
            if "dropped" in b and "doubled" in b:
                verdict = "met" if b["dropped"] == 0 and b["doubled"] == 0 else "MISSED"
            command = "build-release/bench/%s --benchmark_filter='^%s$'" % (program, re.escape(name).replace("\\/", "/"))
            rows.append((program, name, ms, ", ".join(extra), text, verdict, command))

    idle = ""
    idle_path = os.path.join(results, "idle.txt")
    if os.path.exists(idle_path):
        with open(idle_path) as f:
            idle = f.read().strip()

    with open(output, "w") as out:
        out.write("# Performance\n\n")
        out.write("Made by `scripts/bench` on %s (%s, %d cores), from the Release build in `build-release/` "
                  "(never the sanitizer test build). Run `scripts/bench` to make it again; each row's command "
                  "runs that figure alone once `scripts/bench` has built the tree.\n\n"
                  % (datetime.date.today().isoformat(), platform.machine(), os.cpu_count() or 0))
        out.write("| Program | Benchmark | Time | Details | Target | |\n|---|---|---|---|---|---|\n")
        for program, name, ms, extra, text, verdict, _ in rows:
            shown = "%.3f ms" % ms if ms < 1000 else "%.1f s" % (ms / 1000)
            out.write("| %s | `%s` | %s | %s | %s | %s |\n" % (program, name, shown, extra, text, verdict))
        out.write("\n## The idle panel\n\n")
        out.write((idle or "not measured") + " (target: under 0.7 % of one core over 30 s, the link's 10 ms reads and"
                  " the three previews' 33 ms turns included; `bench/idle_cpu.sh build-release/src/rz48panel 30`).\n")
        out.write("\n## Soak\n\n")
        soak_path = os.path.join(os.path.dirname(results), "soak.txt")
        if os.path.exists(soak_path):
            with open(soak_path) as f:
                lines = [l.strip() for l in f if l.startswith("soak:")]
            out.write("`scripts/soak MINUTES` (the Release panel against its emulated unit hanging up, garbling and "
                      "coming back at random; resident memory each minute), last run:\n\n")
            out.write("".join("    %s\n" % l for l in lines))
        else:
            out.write("not run: `scripts/soak 10` writes build-release/soak.txt, which this report includes\n")
        out.write("\n## Commands\n\n")
        for _, name, _, _, _, _, command in rows:
            out.write("- `%s`: `%s`\n" % (name, command))


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
