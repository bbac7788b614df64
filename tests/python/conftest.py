"""A home with the database `plays`, for every test and for the examples of the pages."""

import os
import subprocess

import pytest

HAMLET = """<play id="p1"><title>Hamlet</title>
<act n="1"><speech n="1" who="Ghost">List, list, O list!</speech></act>
<act n="2"><speech n="2" who="Hamlet">Words, words, words.</speech>
<speech n="10" who="Polonius">Though this be madness</speech></act></play>
"""


class Home:
    def __init__(self, folder):
        self.path = folder / "home"
        self.folder = folder

    def zdbs(self, *words, text=None):
        command = [os.environ["ZDBS_PROGRAM"], "--home", str(self.path), *words]
        subprocess.run(command, input=text, text=True, check=True, stdout=subprocess.DEVNULL)

    def load(self, database, name, text):
        file = self.folder / name
        file.write_text(text, encoding="utf-8")
        self.zdbs("load", database, str(file))


@pytest.fixture
def home(tmp_path, monkeypatch):
    home = Home(tmp_path)
    home.zdbs("init")
    home.zdbs("create", "plays")
    home.load("plays", "hamlet.xml", HAMLET)
    monkeypatch.setenv("ZDBS_HOME", str(home.path))
    return home

