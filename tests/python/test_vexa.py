"""What the module vexa does."""

import ast
import doctest
import inspect
import math
import os
import pathlib
import signal
import subprocess
import sys
import threading

import pytest
import vexa


@pytest.fixture
def db(home):
    with vexa.open("plays") as database:
        yield database


def failure(work):
    with pytest.raises(vexa.Error) as raised:
        work()
    return raised.value


# Opening.


def test_opens_what_the_environment_names_or_the_argument(home, monkeypatch):
    assert vexa.open("plays").name == "plays"
    monkeypatch.setenv("ZDBS_HOME", "/nonexistent")
    assert failure(lambda: vexa.open("plays")).status == 300
    assert vexa.open("plays", home=home.path).count("//act") == 2
    assert vexa.open("plays", home=str(home.path)).count("//act") == 2


def test_opens_for_users_what_they_may_read(home):
    home.zdbs("user", "add", "alice", "--password-stdin", text="secret\n")
    log_in = lambda password: vexa.open("plays", user="alice", password=password)
    assert failure(lambda: log_in("secret")).status == 20
    home.zdbs("grant", "alice", "plays")
    assert log_in("secret").count("//act") == 2
    assert failure(lambda: log_in("wrong")).status == 16
    assert failure(lambda: vexa.open("nothing")).status == 20
    with pytest.raises(ValueError):
        vexa.open("plays", user="alice")


def test_a_closed_database_answers_nothing_and_what_was_found_stays(home):
    with vexa.open("plays") as database:
        title = database.find("//title")[0]
        acts = database.find("//act")
        assert not database.closed
    assert database.closed
    for ask in (database.count, database.find, database.xpath):
        with pytest.raises(ValueError, match="closed"):
            ask("//title")
    with pytest.raises(ValueError, match="closed"):
        database.refresh()
    del database
    assert title.value == "Hamlet"
    assert [act.path for act in acts] == ["/play[1]/act[1]", "/play[1]/act[2]"]


def test_one_state_is_seen_until_refresh(home, db):
    before = db.find("//title")
    home.load("plays", "lear.xml", "<play><title>Lear</title></play>")
    assert db.count("//title") == 1
    db.refresh()
    assert [title.value for title in db.find("//title")] == ["Hamlet", "Lear"]
    assert [title.value for title in before] == ["Hamlet"]


# Requests.


@pytest.mark.parametrize(
    "request_text, count",
    [
        ("//speech", 3),
        ("speech", 3),
        ("//speech[contains(.,'list')]", 1),
        ("//nothing", 0),
        ('FIND N_NAME="speech"', 3),
    ],
)
def test_counts_what_requests_find(db, request_text, count):
    assert db.count(request_text) == count
    assert len(db.find(request_text)) == count
    assert len(list(db.find(request_text))) == count


@pytest.mark.parametrize("request_text", ["//speech[", "//act;", "//speech[not(@n)]", "a\0b"])
def test_a_refused_request_has_the_number_of_its_status(db, request_text):
    assert failure(lambda: db.count(request_text)).status == 206
    assert db.count("//speech") == 3


def test_nodes_say_what_they_are(db):
    speech = db.find("//act[@n=2]/speech")[0]
    assert speech.document == "hamlet.xml"
    assert speech.path == "/play[1]/act[2]/speech[1]"
    assert speech.value == "Words, words, words."
    assert speech.xml == '<speech n="2" who="Hamlet">Words, words, words.</speech>'
    assert speech.id == 15
    assert "speech[1]" in repr(speech)


@pytest.mark.parametrize(
    "expression, xml",
    [
        ("//a", '<p:a xmlns:p="urn:p" i="1" p:j="2">x &amp; <!--c--><?go on?></p:a>'),
        ("//@i", '<vexa:attribute xmlns:vexa="urn:vexa:export" name="i">1</vexa:attribute>'),
        ("//text()", "x &amp; "),
        ("//comment()", "<!--c-->"),
        ("//processing-instruction()", "<?go on?>"),
    ],
)
def test_xml_stands_alone(home, expression, xml):
    home.zdbs("create", "kinds")
    home.load("kinds", "k.xml", '<p:a xmlns:p="urn:p" i="1" p:j="2">x &amp; <!--c--><?go on?></p:a>')
    assert vexa.open("kinds").find(expression)[0].xml == xml


def test_elements_are_those_of_lxml(db):
    etree = pytest.importorskip("lxml.etree")
    element = db.find("//act")[1].element()
    assert isinstance(element, etree._Element)
    assert element.xpath("speech/@who") == ["Hamlet", "Polonius"]
    assert db.find("//@who")[0].element().text == "Ghost"
    with pytest.raises(etree.XMLSyntaxError):
        db.find("//title/text()")[0].element()


def test_nodes_are_a_sequence(db):
    nodes = db.find("//speech/@who")
    values = ["Ghost", "Hamlet", "Polonius"]
    assert [nodes[i].value for i in (-3, -2, 2)] == values
    for part in (slice(1, None), slice(None, 2), slice(1, 2), slice(2, 1), slice(5), slice(-2, None)):
        assert [node.value for node in nodes[part]] == values[part]
    for place in (3, -4):
        with pytest.raises(IndexError):
            nodes[place]
    with pytest.raises(ValueError):
        nodes[::2]
    assert nodes and not db.find("//nothing")


def test_nodes_are_equal_when_they_are_the_same(db):
    assert db.find("//act[1]")[0] == db.find("//act")[0]
    assert db.find("//act")[1] != db.find("//act")[0]
    assert len({*db.find("//act"), *db.find("//act")}) == 2
    assert db.find("//act")[0] != "act"


def test_many_nodes_come_in_batches_and_all_of_them(home):
    home.zdbs("create", "many")
    items = "".join(f"<i n='{i}'>{'x' * (i % 500)}</i>" for i in range(2000))
    home.load("many", "many.xml", f"<a>{items}</a>")
    nodes = vexa.open("many").find("//i")
    for place, node in enumerate(nodes):
        assert node.path == f"/a[1]/i[{place + 1}]"
        assert node.value == "x" * (place % 500)
        assert node.element().get("n") == str(place) and node.xml.count("x") == place % 500
    assert place == 1999
    kept = list(nodes)
    assert kept[1000].value == "" and kept[1999].document == "many.xml"


# XPath 1.0.


@pytest.mark.parametrize(
    "expression, value",
    [
        ("count(//speech)", 3.0),
        ("string(//title)", "Hamlet"),
        ("//title='Hamlet'", True),
        ("1 = 2", False),
        ("1 div 0", math.inf),
    ],
)
def test_expressions_have_values_of_their_types(db, expression, value):
    answer = db.xpath(expression)
    assert answer == value and type(answer) is type(value)


def test_expressions_find_nodes(db):
    assert [node.value for node in db.xpath("//speech[last()]/@who")] == ["Ghost", "Polonius"]
    assert len(db.xpath("//speech[not(@who)]")) == 0
    assert failure(lambda: db.xpath("/")).status == 206


def test_expressions_have_prefixes_and_variables(home, db):
    home.load("plays", "s.xml", '<s:s xmlns:s="urn:s">x</s:s>')
    db.refresh()
    assert db.xpath("count(//q:s)", namespaces={"q": "urn:s"}) == 1
    assert db.xpath("string(//*[@who=$who])", variables={"who": "Ghost"}) == "List, list, O list!"
    typed = {"n": 2, "yes": True, "half": 0.5}
    assert db.xpath("concat($n + $half, ' ', not($yes))", variables=typed) == "2.5 false"
    assert failure(lambda: db.xpath("//q:s")).status == 206
    with pytest.raises(ValueError):
        db.xpath("1", namespaces={"xml": "urn:x"})


def test_a_wrong_expression_says_where(db):
    with pytest.raises(vexa.ExpressionError) as raised:
        db.xpath("//act[@n=")
    assert (raised.value.status, raised.value.line, raised.value.column) == (206, 1, 10)
    assert raised.value.excerpt.endswith("^")


# Threads and signals.

# Compares every node with every other: without an end that one would wait for.
ENDLESS = "count(//i[count(preceding::i[string-length(.)=string-length(following::i)])>0])"


@pytest.fixture
def large(home):
    home.zdbs("create", "large")
    home.load("large", "large.xml", "<a>" + "".join(f"<i>{i}</i>" for i in range(20000)) + "</a>")
    return home


def raise_in_a_call(call):
    """Calls with signals coming one after the other, until the tenth raises. Between the first one
    and the call there are fewer places than that where a handler is run."""
    handled = threading.Event()
    ended = threading.Event()
    runs = iter(range(1000))

    def handle(number, frame):
        handled.set()
        if next(runs) == 9:
            raise KeyboardInterrupt

    def send():
        while not ended.is_set():
            os.kill(os.getpid(), signal.SIGINT)
            handled.wait()
            handled.clear()

    before = signal.signal(signal.SIGINT, handle)
    sender = threading.Thread(target=send, daemon=True)
    sender.start()
    try:
        with pytest.raises(KeyboardInterrupt):
            call()
    finally:
        ended.set()
        handled.set()
        sender.join()
        signal.signal(signal.SIGINT, before)


def test_ctrl_c_stops_a_request_and_the_database_goes_on(large):
    database = vexa.open("large")
    raise_in_a_call(lambda: database.xpath(ENDLESS))
    assert database.count("//i") == 20000


WAITING = f"""
import os, threading, vexa
from test_vexa import raise_in_a_call
database = vexa.open("large")
begun = threading.Event()
def ask():
    begun.set()
    database.xpath("{ENDLESS}")
threading.Thread(target=ask, daemon=True).start()
begun.wait()
raise_in_a_call(lambda: [database.count("//i") for _ in iter(int, 1)])
os.write(1, b"interrupted")
os._exit(0)
"""


def test_ctrl_c_ends_the_wait_for_another_thread(large):
    """In a process of its own, which does not wait for the endless request."""
    run = subprocess.run(
        [sys.executable, "-B", "-c", WAITING], cwd=pathlib.Path(__file__).parent, stdout=subprocess.PIPE
    )
    assert (run.returncode, run.stdout) == (0, b"interrupted")


def test_threads_share_a_database_and_an_iterator(large):
    database = vexa.open("large")
    nodes = iter(database.find("//i"))
    values = []
    threads = [
        threading.Thread(target=lambda: values.extend(int(node.value) for node in nodes))
        for _ in range(4)
    ]
    counted = []
    threads += [
        threading.Thread(target=lambda: counted.append(database.count("//i"))) for _ in range(4)
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert sorted(values) == list(range(20000))
    assert counted == [20000] * 4


def test_the_interpreter_goes_on_while_a_request_runs(large):
    database = vexa.open("large")
    other = threading.Thread(target=lambda: database.xpath("count(//i[. = //i])"), daemon=True)
    other.start()
    turns = 0
    while other.is_alive():
        turns += 1
    other.join()
    assert turns > 0


# Documentation and stubs.


def stubs():
    text = (pathlib.Path(vexa.__file__).parent / "__init__.pyi").read_text()
    return {
        node.name: node
        for node in ast.parse(text).body
        if isinstance(node, (ast.ClassDef, ast.FunctionDef))
    }


def test_stubs_name_what_is_there_and_nothing_else():
    assert set(stubs()) == set(vexa.__all__)
    assert (pathlib.Path(vexa.__file__).parent / "py.typed").exists()
    for name, stub in stubs().items():
        if isinstance(stub, ast.FunctionDef) or issubclass(getattr(vexa, name), Exception):
            continue
        members = {node.name for node in stub.body if isinstance(node, ast.FunctionDef)}
        own = {
            member
            for member in vars(getattr(vexa, name))
            if member not in ("__init__", "__new__", "__module__", "__doc__", "__repr__")
        }
        assert members == own, name


def test_stubs_have_the_arguments_that_are_taken():
    arguments = lambda stub: [a.arg for a in stub.args.args + stub.args.kwonlyargs if a.arg != "self"]
    signature = lambda function: function.__doc__.split("\n")[0]
    for name, stub in stubs().items():
        functions = [stub] if isinstance(stub, ast.FunctionDef) else stub.body
        for function in functions:
            if not isinstance(function, ast.FunctionDef) or function.name.startswith("__"):
                continue
            if any(isinstance(d, ast.Name) and d.id == "property" for d in function.decorator_list):
                continue
            there = getattr(vexa, name) if function is stub else getattr(getattr(vexa, name), function.name)
            for argument in arguments(function):
                assert argument + ":" in signature(there), function.name


@pytest.mark.parametrize("name", vexa.__all__)
def test_everything_public_is_documented(name):
    thing = getattr(vexa, name)
    assert thing.__doc__
    if inspect.isclass(thing):
        for member, value in vars(thing).items():
            assert member.startswith("__") or value.__doc__, member


@pytest.mark.parametrize("page, least", [("python.md", 12), ("tutorial.md", 10)])
def test_the_examples_of_the_pages_are_right(home, page, least):
    """The other chapters of the tutorial change these before and are run elsewhere."""
    words = pathlib.Path("/usr/share/xml/docbook/stylesheet/docbook-xsl/common")
    home.zdbs("create", "words")
    home.zdbs("load", "words", *(str(file) for file in sorted(words.glob("*.xml")) if file.name != "xh.xml"))
    failed, tried = doctest.testfile(
        str(pathlib.Path(__file__).parents[2] / "docs" / page), module_relative=False
    )
    assert tried >= least and failed == 0
