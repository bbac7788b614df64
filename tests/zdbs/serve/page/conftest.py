"""A served home with a database of plays and one of hostile documents, and a browser for all tests."""

import base64
import os
import subprocess
import urllib.parse
import urllib.request

import pytest
from page import PATIENCE, Page
from selenium import webdriver
from selenium.webdriver.chrome.service import Service

PASSWORD = "reader-pw"
SPEECHES = 60

PLAY = "<play><title>Hamlet</title><act n='1'>" + "".join(
    f"<speech n='{n}' who='{'Ghost' if n % 2 else 'Hamlet'}'>Words, words {n}"
    f"<note>said {n}</note></speech>" for n in range(1, SPEECHES + 1)) + (
        "</act><m:moral xmlns:m='urn:moral'>List, list!</m:moral></play>")

# What would run, or turn the text around it, if it were taken for markup.
HOSTILE = (
    "<script onclick=\"window.canary='attribute'\" href=\"javascript:window.canary='link'\">"
    "<img src='x' onerror=\"window.canary='image'\">"
    "&lt;/script>&lt;script>window.canary='script'&lt;/script>"
    "&lt;img src=x onerror=window.canary='text'> a\u202ebc\u0085\u0080&#13;'\"` &amp;lt;b></img>"
    "<svg onload=\"window.canary='svg'\"><style>* { display: none }</style></svg>"
    "<\u05d0\u05d1>right</\u05d0\u05d1><!--<script>window.canary='comment'</script>-->"
    "<?p <script>window.canary='instruction'</script>?></script>")
HOSTILE_NAME = "<img src=x onerror=window.canary='name'>\u202e.xml"

# No room to the side, and no place to break a line.
DEEP = "".join(f"<d{n}>" for n in range(40)) + f"<{'l' * 120} a='{'v' * 400}'>{'x' * 3000}</{'l' * 120}>" + (
    "".join(f"</d{n}>" for n in reversed(range(40))))


class Served:
    """`zdbs serve` on a home of its own."""

    def __init__(self, folder):
        self.home = folder / "home"
        self.zdbs("init")
        for user in ("reader", "writer"):
            self.zdbs("user", "add", user, "--password-stdin", text=f"{user}-pw\n")
        for database in ("empty", "hostile", "plays", "hidden"):
            self.zdbs("create", database)
        for database in ("empty", "hostile", "plays"):
            self.zdbs("grant", "reader", database)
            self.zdbs("grant", "--write", "writer", database)
        self.program = subprocess.Popen(self.command("serve", "--listen", "127.0.0.1:0"),
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.origin = "http://" + self.program.stdout.readline().strip()
        self.put("plays", "h.xml", PLAY)
        self.put("hostile", HOSTILE_NAME, HOSTILE)
        self.put("hostile", "n" * 200, DEEP)

    def command(self, *words):
        return [os.environ["ZDBS_PROGRAM"], "--home", str(self.home), *words]

    def zdbs(self, *words, text=None):
        subprocess.run(self.command(*words), input=text, text=True, check=True,
                       stdout=subprocess.DEVNULL)

    def put(self, database, document, text):
        place = f"/v1/databases/{database}/documents/{urllib.parse.quote(document, safe='')}"
        call = urllib.request.Request(self.origin + place, text.encode(), method="PUT")
        call.add_header("Content-Type", "application/xml")
        proof = base64.b64encode(b"writer:writer-pw").decode()
        call.add_header("Authorization", "Basic " + proof)
        urllib.request.urlopen(call).close()

    def end(self):
        self.program.terminate()
        assert self.program.wait() == 0


@pytest.fixture(scope="session")
def served(tmp_path_factory):
    served = Served(tmp_path_factory.mktemp("served"))
    yield served
    served.end()


@pytest.fixture(scope="session")
def driver():
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    words = ["--headless=new", "--disable-gpu", "--disable-dev-shm-usage"]
    # Chromium has no sandbox for root.
    for word in words + (["--no-sandbox"] if os.geteuid() == 0 else []):
        options.add_argument(word)
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    driver.set_page_load_timeout(PATIENCE)
    driver.set_script_timeout(PATIENCE)
    yield driver
    driver.quit()


@pytest.fixture
def page(driver, served):
    """The page as a new visitor sees it. What the browser complains of at the end is a failure."""
    page = Page(driver, served)
    page.visit()
    yield page
    page.require_innocence()
