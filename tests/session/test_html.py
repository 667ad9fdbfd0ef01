"""Pages of translate in a browser: what one reads there is what the text conversion says."""
import html
import os
import re
import shutil
import unittest

from sandbox import Build, Sandbox

BUILD = Build(os.environ["KORVA_BUILD"])
BROWSER = shutil.which("chromium")
BROWSER_WORDS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync"]

SOURCE = """{tmrk}
{com}. list if a < b & c > d

{txt}{col 5}Variable {c |}      Obs        {bf:Mean}
{hline 13}{c +}{hline 30}
{res}         mpg{txt} {c |} {res}     74   21.29730
{c TLC}{c TT}{c TRC}{c LT}{c +}{c RT}{c BLC}{c BT}{c BRC}
{txt}&amp; &lt; <b>no markup</b> <script>document.title = 1</script> </pre>
{marker place}{help regress##options:a help link}, {browse "http://example.org/?a=1&b=2":the web}
{p 4 8 2}
A paragraph that is longer than a line, with {ul:underlined} and {it:slanted} words, and with
{search several words:a link that is too long to stand in one line, and is broken}.

{err}caf{c e'} na{c i:}ve {c -(}braces{c )-}
"""
PLAIN = str.maketrans("─│┼┬┴├┤┘└┐┌", "-|+--||++++")
READER = """<script>
document.title = document.querySelectorAll("pre")[0].innerText.replaceAll("\\n", "\\u23ce");
</script>
"""


class Page(unittest.TestCase):
    def convert(self, box):
        (box.work / "shown.tmrk").write_text(SOURCE)
        (box.work / "convert.do").write_text(
            "set linesize 60\ntranslate shown.tmrk text.txt\ntranslate shown.tmrk page.html\n")
        run = box.run([BUILD.program("korva"), "/q", "do", "convert.do"], timeout=60)
        self.assertEqual(run.output.count(b" written)"), 2, run.output)
        return ((box.work / "text.txt").read_text("latin-1"),
                (box.work / "page.html").read_text("ascii"))

    def test_holds_the_text_and_nothing_else(self):
        with Sandbox(BUILD) as box:
            text, page = self.convert(box)
        inner = page[page.index("<pre>\n") + 6:page.index("</pre>")]
        shown = html.unescape(re.sub(r"<[^>]*>", "", inner))
        self.assertEqual(shown.translate(PLAIN), text)

    @unittest.skipUnless(BROWSER, "chromium is not installed")
    def test_shows_in_a_browser_as_the_text_does(self):
        with Sandbox(BUILD) as box:
            text, page = self.convert(box)
            seen = box.work / "seen.html"
            seen.write_text(page.replace("</body>", READER + "</body>"))
            run = box.run([BROWSER, *BROWSER_WORDS, f"--user-data-dir={box.path / 'profile'}",
                           "--dump-dom", seen.as_uri()], timeout=60)
        title = re.search(r"<title>(.*?)</title>", run.output.decode(errors="replace"), re.S)
        self.assertIsNotNone(title, run.output[-2000:])
        # The browser's own end of the last line is no line of the text.
        shown = html.unescape(title[1]).replace("⏎", "\n").rstrip("\n") + "\n"
        self.assertEqual(shown.translate(PLAIN), text)


if __name__ == "__main__":
    unittest.main()
