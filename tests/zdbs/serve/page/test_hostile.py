"""Documents that would do something if they were taken for anything but text."""

import pytest
from conftest import HOSTILE_NAME
from layout import require_layout

VISIBLE_NAME = HOSTILE_NAME.replace("\u202e", "\\u{202E}")


def test_documents_are_text_wherever_they_are_shown(page):
    page.sign_in("hostile")
    while folded := page.all("[role=treeitem][aria-expanded=false] .fold"):
        folded[0].click()
    steps = " ".join(page.texts("[role=treeitem]"))
    for name in ("script", "img", "svg", "\u05d0\u05d1"):
        assert name in steps, steps

    page.ask("//img")
    value = page.values()[0]
    assert value.startswith("</script><script>window.canary='script'</script><img src=x onerror=")
    assert "a\\u{202E}bc\\u{85}\\u{80}\\u{D}'\"` &lt;b>" in value
    assert VISIBLE_NAME in page.all("#results .where")[0].text

    page.all("#results button[aria-label^=Around]")[0].click()
    page.until(lambda: page.all(".around [aria-current]"))
    tag = page.all(".around .tag")[0].text
    assert tag == "<script onclick=window.canary='attribute' href=javascript:window.canary='link'>"
    page.all(".around li > .small")[-1].click()
    page.until(lambda: "window.canary='comment'" in page.all(".around")[0].text)
    page.until(lambda: "window.canary='instruction'" in page.all(".around")[0].text)

    for request in ("//@onclick", "//comment()", "//processing-instruction()", "//@*", "//svg"):
        page.ask(request)
        assert "node" in page.text("told"), request
        page.require_innocence()


@pytest.mark.parametrize("width", [360, 1280])
def test_deep_documents_and_long_words_do_not_run_over_the_edge(page, width):
    page.visit(width)
    page.sign_in("hostile")
    while folded := page.all("[role=treeitem][aria-expanded=false] .fold"):
        folded[0].click()
    require_layout(page)
    page.all("[role=treeitem]")[-3].click()
    page.until(lambda: "1 node in" in page.text("told"))
    require_layout(page)
    page.all("#results button.small")[0].click()
    assert len(page.values()[0]) == 2001, "to the end of the excerpt"
    page.all("#results button[aria-label^=Around]")[0].click()
    page.until(lambda: page.all(".around [aria-current]"))
    assert len(page.all(".around .tag")) == 41
    require_layout(page)
    page.id("explain").click()
    page.until(lambda: page.shown("plan"))
    require_layout(page)


def test_requests_and_answers_to_them_are_text(page):
    page.sign_in("plays")
    page.expected.append("status of 400")
    markup = "<img src=x onerror=window.canary=1>"
    page.ask(markup)
    assert "[400" in page.text("alarm")
    page.ask(f"//play[title='{markup}']")
    assert "0 nodes" in page.text("told")
    page.id("explain").click()
    page.until(lambda: page.shown("plan"))
    assert markup in page.text("plan-sets")
    assert markup in page.text("asked")
    for button in page.all("#copy [data-form]"):
        button.click()
        page.until(lambda: markup in page.id("copy-text").get_attribute("value"))


def test_what_a_terminal_would_obey_is_escaped_in_what_is_copied(page):
    page.sign_in("plays")
    page.script("document.getElementById('line').value = arguments[0]",
                "//title[.='\u001b[2J\u202e\t`$(id)\\']")
    for form in ("curl", "vexa", "python"):
        page.id("copy").find_element("css selector", f"[data-form={form}]").click()
        page.until(lambda: page.text("copied"))
        text = page.id("copy-text").get_attribute("value")
        assert not any(each in text for each in "\u001b\u202e\t"), form
        assert ("\\x1b[2J\\u202e\\x09" in text) == (form != "python"), text


def test_the_policy_stops_what_a_mistake_in_the_page_would_let_in(page):
    page.sign_in("plays")
    page.expected += ["Refused", "violates", "TrustedHTML", "TrustedScript", "Content Security Policy"]
    found = page.script("""
        const tried = {};
        try { document.body.insertAdjacentHTML('beforeend', '<img src=x>'); }
        catch (error) { tried.markup = error.name; }
        const script = document.createElement('script');
        try { script.textContent = 'window.canary = 1'; } catch (error) { tried.text = error.name; }
        return tried""")
    assert found == {"markup": "TypeError", "text": "TypeError"}
    page.until(lambda: page.script("return window.violations.length") >= 2)
    assert page.script("return window.canary ?? ''") == ""
    page.script("window.violations.length = 0")


def test_the_password_is_nowhere_but_in_the_page_s_own_memory(page):
    """So the browser can send nothing in the user's name for somebody else's page."""
    page.sign_in("plays")
    kept = page.script("""return document.cookie + JSON.stringify({...sessionStorage}) +
        JSON.stringify({...localStorage}) + location.href + document.documentElement.outerHTML +
        [...document.querySelectorAll('input')].map((each) => each.value).join()""")
    assert "reader" in kept and "reader-pw" not in kept
    assert page.devtools("Storage.getCookies")["cookies"] == []
    page.driver.refresh()
    page.until(lambda: page.shown("door"))
