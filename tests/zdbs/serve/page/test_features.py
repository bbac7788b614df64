"""Every feature, clicked, at both widths and in both schemes; each state of the page is looked at."""

import json
import os
import pty
import select

import pytest
from accessibility import require_access
from conftest import PASSWORD, SPEECHES
from layout import require_layout
from page import PATIENCE
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select

# Pixels, scheme, and whether it is looked at as a screen reader does, which does not need all four.
VIEWS = [(360, "light", False), (1280, "dark", True), (360, "dark", False), (1280, "light", True)]


def answered(page, text):
    page.until(lambda: text in page.text("told"))


def items(page):
    return page.texts("[role=treeitem]")


def item(page, text):
    return next(each for each in page.all("[role=treeitem]")
                if each.is_displayed() and each.text.strip().startswith(text))


def steps(page):
    """What somebody does, one after the other, and what the page shows then."""
    page.id("name").send_keys("reader")
    page.id("password").send_keys("wrong")
    page.expected.append("status of 401")
    page.id("signin").find_element(By.TAG_NAME, "button").click()
    page.until(lambda: page.text("alarm"))
    assert "[401, message 16 (loginFailed)]" in page.text("alarm")
    assert page.id("password").get_attribute("value") == ""
    yield "a wrong password"

    page.sign_in("empty")
    assert page.text("no-paths") and not page.shown("tree")
    yield "an empty database"

    page.choose("plays")
    options = [each.text for each in Select(page.id("database")).options]
    assert options == ["empty", "hostile", "plays"]
    assert page.text("about").startswith("1 document, ")
    assert page.text("user") == "reader" and page.text("alarm") == ""
    yield "signed in"

    assert items(page) == ["play 1", "title 1", "act 1", "m:moral 1"]
    item(page, "act").find_element(By.CSS_SELECTOR, ".fold").click()
    assert "speech 60" in items(page)
    item(page, "speech").click()
    answered(page, "60 nodes in ")
    assert page.id("line").get_attribute("value") == "/play/act/speech"
    assert page.values()[0].startswith("Words, words 1")
    assert page.all("#results .path")[0].text == "/play[1]/act[1]/speech[1]"
    assert page.all("#results .document-name")[0].text == "h.xml"
    yield "a path of the tree"

    options = [each.text for each in Select(page.id("part")).options]
    assert options == ["its own text", "@n", "@who", "note"]
    Select(page.id("part")).select_by_visible_text("@who")
    page.until(lambda: len(page.all("#values option")) == 2)
    Select(page.id("relation")).select_by_visible_text("=")
    page.id("value").send_keys("Ghost")
    page.id("condition").find_element(By.TAG_NAME, "button").click()
    answered(page, "30 nodes")
    assert page.id("line").get_attribute("value") == "/play/act/speech[@who='Ghost']"
    yield "a condition"

    page.type("//spe")
    page.until(lambda: page.shown("offers"))
    assert page.texts("#offers li") == ["speech 60"]
    yield "names that fit"
    page.id("line").send_keys(Keys.ARROW_DOWN, Keys.ENTER)
    assert page.id("line").get_attribute("value") == "//speech"
    page.id("line").send_keys("/@")
    assert page.texts("#offers li") == ["@n 60", "@who 60"]
    page.all("#offers li")[1].click()
    assert page.id("line").get_attribute("value") == "//speech/@who"
    page.id("line").send_keys(Keys.ENTER)
    answered(page, "60 nodes")
    assert page.values()[:2] == ["Ghost", "Hamlet"]

    page.ask("//speeech")
    assert "0 nodes" in page.text("told")
    assert "the nearest is speech" in page.text("notes")
    yield "a note"

    page.expected.append("status of 400")
    page.ask("//speech[")
    assert "[400, message 206 (requestFailed)]" in page.text("alarm")
    assert page.id("line").get_attribute("aria-invalid") == "true"
    yield "a request that is refused"

    page.ask("//speech[contains(text(),'ords, w')]")
    assert page.text("told").startswith("60 nodes, ") or page.text("told").startswith("60 nodes in")
    assert page.all("#results mark")[0].text == "ords, w"
    assert "Page 1 of 3" in page.text("pages")
    page.all("#pages button")[2].click()
    page.until(lambda: "Page 2 of 3" in page.text("pages"))
    assert page.all("#results .where")[0].text.startswith("26. /play[1]/act[1]/speech[26]")
    page.all("#pages button")[3].click()
    page.until(lambda: "Page 3 of 3" in page.text("pages"))
    assert len(page.values()) == SPEECHES - 50
    assert [each.is_enabled() for each in page.all("#pages button")] == [True, True, False, False]
    page.all("#pages button")[1].click()
    page.until(lambda: "Page 2 of 3" in page.text("pages"))
    page.all("#pages button")[0].click()
    page.until(lambda: "Page 1 of 3" in page.text("pages"))
    yield "pages"

    opener = page.all("#results button[aria-label^=Around]")[1]
    opener.click()
    page.until(lambda: page.all(".around [aria-current]"))
    assert opener.get_attribute("aria-expanded") == "true"
    names = page.texts(".around .tag > .name")
    assert names[:3] == ["play", "act", "speech"], names
    marks = page.texts(".around mark")
    assert marks == ["ords, w"]
    rests = page.texts(".around li > .small")
    assert rests == ["1 before", "1 before", "58 after", "1 after"]
    yield "around a hit"
    count = len(page.all(".around li"))
    next(each for each in page.all(".around button") if each.text == "58 after").click()
    page.until(lambda: len(page.all(".around li")) == count + 20)
    assert "38 after" in page.texts(".around li > .small")
    folded = page.all(".around button.fold[aria-expanded=false]")[-1]
    count = len(page.all(".around li"))
    folded.click()
    page.until(lambda: len(page.all(".around li")) > count)
    page.until(lambda: folded.get_attribute("aria-expanded") == "true")
    folded.click()
    page.until(lambda: folded.get_attribute("aria-expanded") == "false")
    yield "more around it"
    opener.click()
    page.until(lambda: not page.all(".around")[1].is_displayed())

    page.id("explain").click()
    page.until(lambda: page.shown("plan"))
    assert "60 nodes: " in page.text("plan-times")
    sets = page.texts(".sets li")
    assert sets[0].startswith("S1 N_TYPE=ELEMENT") and "Found by " in sets[0]
    assert len(page.all(".sets meter")) == 2 * len(sets)
    assert page.focus() == "plan-title"
    yield "how it is found"

    page.id("asking").find_element(By.CSS_SELECTOR, "[value=xpath]").click()
    page.ask("count(//speech)")
    assert page.text("told").startswith("A number in ") and page.text("single") == "60"
    yield "a number of XPath"
    page.ask("//speeech[@n]")
    assert "the nearest is speech" in page.text("notes")
    page.type("//speech[@n > 3]/note")
    page.id("explain").click()
    page.until(lambda: page.shown("plan"))
    assert "/descendant::speech[(attribute::n > 3)]/child::note" in page.text("plan-times")
    assert len(page.all(".sets meter")) == 2 * len(page.all(".sets li")) > 0
    yield "how an expression is found"
    page.ask("//speech[not(position() > 2)]/@n")
    assert page.values() == ["1", "2"]
    item(page, "m:moral").click()
    answered(page, "1 node in")
    assert page.id("line").get_attribute("value") == "/play/m:moral"
    page.id("relation").find_element(By.CSS_SELECTOR, "[value=contains]").click()
    page.id("value").clear()
    page.id("value").send_keys("it's")
    page.id("condition").find_element(By.TAG_NAME, "button").click()
    answered(page, "0 nodes")
    assert page.id("line").get_attribute("value") == '/play/m:moral[contains(.,"it\'s")]'
    page.ask("/")
    assert page.text("single") == "1"
    page.expected.append("status of 400")
    page.ask("1 +")
    assert "message 206" in page.text("alarm")
    yield "XPath is refused, too"

    for button in page.all("#copy [data-form]"):
        button.click()
        page.until(lambda: page.text("copied"))
    yield "copied"

    asked = page.texts("#asked button")
    assert asked[0] == "1 + in plays" and "//speech[ in plays" in asked
    page.all("#asked button")[asked.index("//speeech in plays")].click()
    page.until(lambda: "0 nodes" in page.text("told"))
    assert page.id("asking").find_element(By.CSS_SELECTOR, "[value=query]").is_selected()
    page.choose("hostile")
    page.all("#asked button")[1].click()
    page.until(lambda: Select(page.id("database")).first_selected_option.text == "plays")
    kept = page.script("return Object.entries(localStorage)")
    assert [key for key, _ in kept] == ["zdbs.asked.reader"] and PASSWORD not in json.dumps(kept)
    page.id("forget").click()
    assert page.all("#asked button") == []
    assert page.script("return localStorage.length") == 0
    yield "history"

    page.id("leave").click()
    assert page.shown("door") and not page.shown("work")
    assert page.all("#results li, #tree li, #database option") == []
    yield "signed out"


@pytest.mark.parametrize("width,scheme,is_heard", VIEWS)
def test_every_feature_works_is_seen_whole_and_heard(page, width, scheme, is_heard):
    page.visit(width, scheme)
    rules = [(require_layout(page), is_heard and require_access(page)) for _ in steps(page)]
    assert len(rules) == 18
    if is_heard:
        print(f"axe-core: at most {max(each for _, each in rules)} rules that hold, no findings")


def test_a_request_that_takes_long_is_stopped(page):
    page.sign_in()
    text = "".join(f"<s>{n}</s>" for n in range(20000))
    page.served.put("plays", "long.xml", f"<l>{text}</l>")
    page.id("asking").find_element(By.CSS_SELECTOR, "[value=xpath]").click()
    page.type("count(//s[sum(preceding::s) > sum(following::s)])")
    page.id("line").send_keys(Keys.ESCAPE, Keys.ENTER)
    page.until(lambda: page.shown("stop"))
    page.id("stop").click()
    page.until(lambda: page.text("told") == "Stopped.")
    assert not page.shown("stop")
    page.served.zdbs("remove", "plays", "long.xml")


def test_pages_are_of_one_state(page):
    page.sign_in()
    page.ask("//speech")
    page.served.put("plays", "more.xml", "<play><act><speech>More</speech></act></play>")
    page.expected.append("status of 412")
    page.all("#pages button")[2].click()
    page.until(lambda: "has changed; asked again" in page.text("told"))
    assert "61 nodes" in page.text("told") and "Page 1 of 3" in page.text("pages")
    page.served.zdbs("remove", "plays", "more.xml")
    page.all("#results button[aria-label^=Around]")[0].click()
    page.until(lambda: page.text("alarm") == "The database has changed: ask again.")


def test_who_is_not_let_in_any_more_signs_in_anew_and_sees_nothing_of_before(page):
    page.served.zdbs("user", "add", "passing", "--password-stdin", text="one\n")
    page.served.zdbs("grant", "passing", "plays")
    page.sign_in(user="passing", password="one")
    page.ask("//moral")
    copied(page, "curl")
    page.id("explain").click()
    page.until(lambda: page.shown("plan"))
    page.served.zdbs("user", "passwd", "passing", "--password-stdin", text="two\n")
    page.expected.append("status of 401")
    page.type("//moral")
    page.id("line").send_keys(Keys.ESCAPE, Keys.ENTER)
    page.until(lambda: page.shown("door"))
    assert "[401, message 16 (loginFailed)]" in page.text("alarm")
    left = page.script("""return document.body.textContent +
        [...document.querySelectorAll('input:not([type=radio]), textarea')].map((e) => e.value).join()""")
    assert "List, list!" not in left and "moral" not in left and "plays" not in left
    page.sign_in(user="passing", password="two")


def copied(page, form):
    page.id("copy").find_element(By.CSS_SELECTOR, f"[data-form={form}]").click()
    page.until(lambda: page.text("copied"))
    return page.id("copy-text").get_attribute("value")


def at_a_terminal(command, answers, **environment):
    """What a shell at a terminal of its own shows; it is told the answers as they are asked for."""
    process, terminal = pty.fork()
    if process == 0:
        os.execve("/bin/bash", ["bash", "-c", command], {**os.environ, **environment})
    shown = b""
    while True:
        assert select.select([terminal], [], [], PATIENCE)[0], shown
        try:
            piece = os.read(terminal, 4096)
        except OSError:
            piece = b""
        if not piece:
            break
        shown += piece
        if answers and answers[0][0] in shown:
            os.write(terminal, answers.pop(0)[1])
    assert os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]) == 0, shown
    return shown.decode()


def test_what_is_copied_asks_the_same(page):
    page.sign_in()
    page.ask("""//speech[@who="Ghost"][note='said 3']""")
    programs = os.path.dirname(os.environ["ZDBS_PROGRAM"])
    environment = {"PATH": programs + os.pathsep + os.environ["PATH"]}
    word = [(b"assword", PASSWORD.encode() + b"\n")]
    assert '"records":1' in at_a_terminal(copied(page, "curl"), list(word))
    assert "'records': 1" in at_a_terminal(f"python3 -c \"$CODE\"", list(word),
                                           CODE=copied(page, "python"))
    shown = at_a_terminal(copied(page, "vexa"), list(word), **environment)
    assert "<1>\t<1>\t//speech" in shown, shown
    page.id("asking").find_element(By.CSS_SELECTOR, "[value=xpath]").click()
    page.ask("string(//m:moral)")
    shown = at_a_terminal(copied(page, "vexa"), list(word), **environment)
    assert shown.endswith("\nList, list!\r\n"), shown
    assert '"value":"List, list!"' in at_a_terminal(copied(page, "curl"), list(word))
    assert "'value': 'List, list!'" in at_a_terminal("python3 -c \"$CODE\"", list(word),
                                                     CODE=copied(page, "python"))
