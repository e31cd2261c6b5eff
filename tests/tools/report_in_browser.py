"""Opens the page of `dicom-mend check --format html` in a browser: report_in_browser.py TOOL TREE"""

import html.parser
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

BROWSER = shutil.which("chromium") or shutil.which("chromium-browser")
if BROWSER is None:
    print("chromium is not there")
    sys.exit(77)

TOOL, TREE = os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2])
DAMAGED = (TREE / "examples/damaged.dcm").read_bytes()
HOSTILE = "<img src=x onerror=document.title='broken'>"
NAME = "DOE^JANE"
SECRET = "ROE^J"


def browse(page, *options):
    done = subprocess.run(
        [BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--virtual-time-budget=3000", *options, page.as_uri()],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=120, check=True)
    return done.stdout.decode("utf-8")


class Elements(html.parser.HTMLParser):
    """What a page is made of."""

    def __init__(self, text):
        super().__init__()
        self.found = []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.found.append((tag, dict(attrs)))

    def count(self, tag, **attributes):
        return sum(each == tag and attributes.items() <= found.items() for each, found in self.found)


def check(work, *options):
    done = subprocess.run([TOOL, "check", "--format", "html", "--study", *options, work], stdout=subprocess.PIPE, check=False)
    assert done.returncode in (1, 2), done.returncode
    return done.stdout.decode("utf-8")


with tempfile.TemporaryDirectory() as folder:
    work, out = os.path.join(folder, "in"), pathlib.Path(folder)
    os.mkdir(work)
    assert NAME.encode() in DAMAGED
    hostile = DAMAGED.replace(b"1997.06.24", b"<b a=\"'>&1").replace(NAME.encode(), SECRET.encode() + b"\x01<i")
    for name in ("plain.dcm", HOSTILE.replace("/", "") + ".dcm", "\u202e&amp;.dcm"):
        (pathlib.Path(work) / name).write_bytes(hostile)
    (pathlib.Path(work) / "twin.dcm").write_bytes(DAMAGED)

    text = check(work, "-v", "--show-values")
    rows = text.count('<tr class="error">') + text.count('<tr class="warning">') + text.count('<tr class="info">')
    page = out / "page.html"
    # A script that comes in all the same does not run.
    script = "<script>document.title = 'broken'</script>"
    page.write_text(text.replace("</body>", script + "</body>"), encoding="utf-8")
    shown = browse(page, "--dump-dom").replace(script, "")
    elements = Elements(shown)
    # Nothing that a file or its name holds has become an element, and the title is the page's own.
    assert not any(elements.count(tag) for tag in ("img", "b", "i", "script", "iframe", "link")), shown[:500]
    assert "<title>Findings in DICOM files</title>" in shown
    assert rows > 20 and sum(elements.count("tr", **{"class": severity}) for severity in ("error", "warning", "info")) == rows
    assert "&lt;img src=x onerror=" in shown and "\\u{202E}&amp;amp;.dcm" in shown
    for href in re.findall(r'href="#(f\d+)"', shown):
        assert elements.count("h3", id=href) == 1, href

    # Where scripts may look, under the same policy of styles: what is hidden, and where the summary stands.
    look = """<script>addEventListener("load", () => {
    const seen = name => [...document.querySelectorAll(".findings ." + name)].filter(row => row.offsetHeight > 0).length;
    const counts = () => ["error", "warning", "info"].map(seen).join();
    const all = counts();
    document.getElementById("show-warning").checked = false;
    const rest = counts();
    const above = document.querySelector(".summary").offsetTop < document.querySelector(".findings").offsetTop;
    document.title = [all, rest, above].join(" ");
    })</script>"""
    open_page = out / "open.html"
    assert text.count("default-src 'none'; style-src 'sha256-") == 1
    open_page.write_text(text.replace("default-src 'none'; ", "default-src 'none'; script-src 'unsafe-inline'; ")
                         .replace("</body>", look + "</body>"), encoding="utf-8")
    title = re.search("<title>(.*?)</title>", browse(open_page, "--dump-dom")).group(1)
    seen, rest, above = title.split()
    errors, warnings, infos = seen.split(",")
    main = text[text.index("<main"):text.index("</main>")]
    assert [int(n) for n in (errors, warnings, infos)] == [
        main.count(f'<tr class="{severity}">') for severity in ("error", "warning", "info")], title
    assert int(warnings) > 0 and rest == f"{errors},0,{infos}" and above == "true", title
    paper = out / "page.pdf"
    browse(page, f"--print-to-pdf={paper}")
    assert paper.read_bytes().startswith(b"%PDF-")

    # Names of patients are in no page that was not asked for them, as text or as bytes.
    plain = check(work, "-v")
    for secret in (SECRET, SECRET.encode().hex(" ").upper()):
        assert secret in text and secret not in plain, secret
