#!/usr/bin/python3
"""Makes the PDF cue sheets the import tests read, with two real producers:
qpdf (hand-written content streams, for exact control of the text operators
and of integer against real "Tm" operands, then rewritten, encrypted or
emptied by the qpdf program) and reportlab (sheets laid out as a layout
program writes them, with fonts whose text poppler extracts).

    make_sheets.py OUTDIR                 the small test sheets
    make_sheets.py OUTDIR --cues 1000     three 20-page sheets for the benchmark
"""
import os
import subprocess
import sys
import tempfile

from reportlab.pdfgen import canvas


def pdf_string(text):
    return "(" + text.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)") + ")"


def write_raw_pdf(path, pages, info):
    """A PDF from content streams, one per page; `info` is the document
    information dictionary as PDF source. qpdf then rewrites it."""
    objects = []

    def add(body):
        objects.append(body)
        return len(objects)

    font = add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>")
    pages_id = len(objects) + 1 + 2 * len(pages)
    kids = []
    for content in pages:
        data = content.encode("latin-1")
        stream = add("<< /Length %d >>\nstream\n" % len(data) + content + "\nendstream")
        kids.append(add("<< /Type /Page /Parent %d 0 R /MediaBox [0 0 595 842] /Contents %d 0 R "
                        "/Resources << /Font << /F1 %d 0 R >> >> >>" % (pages_id, stream, font)))
    assert add("<< /Type /Pages /Kids [%s] /Count %d >>" % (" ".join("%d 0 R" % k for k in kids), len(kids))) == pages_id
    catalog = add("<< /Type /Catalog /Pages %d 0 R >>" % pages_id)
    info_id = add(info)
    out = b"%PDF-1.4\n"
    offsets = []
    for number, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += ("%d 0 obj\n" % number + body + "\nendobj\n").encode("latin-1")
    xref = len(out)
    out += ("xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)).encode()
    for offset in offsets:
        out += ("%010d 00000 n \n" % offset).encode()
    out += ("trailer\n<< /Size %d /Root %d 0 R /Info %d 0 R >>\nstartxref\n%d\n%%%%EOF\n"
            % (len(objects) + 1, catalog, info_id, xref)).encode()
    with tempfile.NamedTemporaryFile(suffix=".pdf", delete=False) as raw:
        raw.write(out)
    try:
        subprocess.run(["qpdf", "--object-streams=disable", raw.name, path], check=True)
    finally:
        os.unlink(raw.name)


def text_at(x, y, text, real=False):
    position = "%.2f %.2f" % (x + 0.25, y + 0.5) if real else "%d %d" % (x, y)
    return "1 0 0 1 %s Tm %s Tj\n" % (position, pdf_string(text))


def filmlight_sheet(path, rows, pages=1):
    header = text_at(40, 800, "Cue sheet") + text_at(300, 800, "Reel 1")
    header += "".join(text_at(x, 780, t) for x, t in [(40, "ID"), (100, "In"), (200, "Out"), (300, "Text"), (450, "Notes")])
    contents = []
    for page in range(pages):
        body = "BT /F1 9 Tf\n" + header
        y = 760
        for row in rows[page::pages]:
            for cell in row:
                body += text_at(cell[0], y, cell[1], real=len(cell) > 2)
            y -= 12 if y > 60 else 0
        contents.append(body + "ET")
    # Author in a nested dictionary as well: both are visited.
    write_raw_pdf(path, contents, "<< /Author (FilmLight) /Creator (Baselight) /Extra << /Note (nested) >> >>")


def generic_sheet(path, contents_rows, pages=1):
    contents = []
    for page in range(pages):
        body = "BT /F1 9 Tf\n" + text_at(40, 800, "Dialogue list")
        y = 780
        for row in contents_rows[page::pages]:
            body += row(y)
            y -= 12 if y > 60 else 0
        contents.append(body + "ET")
    write_raw_pdf(path, contents, "<< /Author (Sound dept) /Creator (hand made) >>")


def edicue_sheet(path, cues, pages=1):
    c = canvas.Canvas(path, pagesize=(595, 842))
    c.setAuthor("ADR supervisor")
    c.setCreator("EdiCue 4.1 (emulated)")
    per_page = (len(cues) + pages - 1) // pages
    # Six lines a cue: a long sheet packs its lines small to stay on `pages` pages.
    size = 10 if per_page * 6 < 50 else 2.4
    step = 14 if size == 10 else 2.7
    for page in range(pages):
        c.setFont("Helvetica", size)
        y = 830
        c.drawString(40, y, "Episode 101  ADR cues")
        y -= step
        for cue_id, tc_in, tc_out, text, reason in cues[page * per_page:(page + 1) * per_page]:
            for line in [cue_id, "IN: " + tc_in, "REASON: " + reason, "OUT: " + tc_out, text, "1"]:
                c.drawString(40, y, line)
                y -= step
        c.showPage()
    c.save()


def reportlab_generic_sheet(path, rows):
    c = canvas.Canvas(path, pagesize=(595, 842))
    c.setCreator("reportlab layout")
    c.setFont("Helvetica", 10)
    y = 800
    c.drawString(40, y, "Spotting list")
    for cue_id, tc_in, tc_out, text in rows:
        y -= 16
        c.drawString(40, y, cue_id + " " + tc_in)
        c.drawString(200, y, tc_out)
        c.drawString(300, y, text)
    c.save()


def timecode(frames):
    return "%02d:%02d:%02d:%02d" % (frames // 90000 % 24, frames // 1500 % 60, frames // 25 % 60, frames % 25)


def small(out):
    filmlight_sheet(os.path.join(out, "filmlight.pdf"), [
        [(40, "A1"), (100, "01:00:00:00"), (200, "01:00:05:00"), (300, "Hello "), (350, "world"), (450, "note one")],
        [(40, "A2"), (100, "01:00:10:00"), (200, "Short row")],
        [(40, "A3"), (100, "01:00:20:00"), (200, "01:00:22:00"), (300, "Third"), (450, "n3", "real")],
    ])
    generic_sheet(os.path.join(out, "generic.pdf"), [
        lambda y: text_at(40, y, "A1 01:00:00:00") + text_at(160, y, "01:00:02:00")
        + "1 0 0 1 260 %d Tm [(Hel) -20 (lo)] TJ\n" % y,
        lambda y: text_at(40, y, "B2 01:00:05:00") + text_at(160, y, "01:00:06:00")
        + "1 0 0 1 260 %d Tm [(Wor) (spacing) (ld)] TJ\n" % y,
    ])
    edicue_sheet(os.path.join(out, "edicue.pdf"), [
        ("Cue 7", "01:00:00:00", "01:00:04:00", "Line one", "noise"),
        ("Cue 8", "01:00:10:00", "01:00:12:10", "Line two", "performance"),
    ])
    reportlab_generic_sheet(os.path.join(out, "reportlab_generic.pdf"), [
        ("R1", "02:00:00:00", "02:00:01:00", "First line"),
        ("R2", "02:00:03:00", "02:00:04:12", "Second line"),
    ])
    generic = os.path.join(out, "generic.pdf")
    subprocess.run(["qpdf", "--encrypt", "user", "owner", "256", "--", generic, os.path.join(out, "locked.pdf")], check=True)
    subprocess.run(["qpdf", "--encrypt", "", "owner", "256", "--", generic, os.path.join(out, "owner_only.pdf")], check=True)
    subprocess.run(["qpdf", "--empty", os.path.join(out, "no_pages.pdf")], check=True)
    with open(os.path.join(out, "not_a_pdf.pdf"), "w") as f:
        f.write("01:00:00:00 this is a text file with a .pdf name\n")
    with open(os.path.join(out, "truncated.pdf"), "wb") as f:
        f.write(open(generic, "rb").read()[:300])


def benchmark(out, count):
    cues = [("C%d" % i, timecode(90000 + 50 * i), timecode(90000 + 50 * i + 40), "Line %d of the scene" % i)
            for i in range(count)]
    filmlight_sheet(os.path.join(out, "bench_filmlight.pdf"),
                    [[(40, c[0]), (100, c[1]), (200, c[2]), (300, c[3]), (450, "n")] for c in cues], pages=20)
    generic_sheet(os.path.join(out, "bench_generic.pdf"),
                  [(lambda c: lambda y: text_at(40, y, c[0] + " " + c[1]) + text_at(160, y, c[2]) + text_at(260, y, c[3]))(c)
                   for c in cues], pages=20)
    edicue_sheet(os.path.join(out, "bench_edicue.pdf"), [c + ("noise",) for c in cues], pages=20)


if __name__ == "__main__":
    target = sys.argv[1]
    os.makedirs(target, exist_ok=True)
    if "--cues" in sys.argv:
        benchmark(target, int(sys.argv[sys.argv.index("--cues") + 1]))
    else:
        small(target)
