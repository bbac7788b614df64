"""Everything by the keys alone, in the order in which it is read."""

from selenium.webdriver.common.keys import Keys


def test_the_page_needs_no_mouse(page):
    assert page.focus() == "name"
    page.press("reader", Keys.TAB)
    page.press("reader-pw", Keys.ENTER)
    page.until(lambda: page.focus() == "line")
    page.until(lambda: page.text("about"))

    # Past the head of the page.
    page.script("document.activeElement.blur(); window.scrollTo(0, 0)")
    page.press(Keys.TAB)
    page.tab_to("To the content")
    page.press(Keys.ENTER)
    assert page.focus() == "content"
    page.tab_to("line")

    # To the database and back: a choice by its first letter.
    page.driver.switch_to.active_element.send_keys(Keys.SHIFT, Keys.TAB)
    page.press(Keys.NULL)
    page.driver.switch_to.active_element.send_keys(Keys.SHIFT, Keys.TAB)
    page.press(Keys.NULL)
    assert page.focus() == "database"
    before = page.text("about")
    page.press("p")
    page.until(lambda: page.text("about") != before)

    # The line: an offer is chosen, taken, asked; Escape closes the list.
    page.tab_to("line")
    page.press("//spee")
    page.until(lambda: page.id("line").get_attribute("aria-expanded") == "true")
    page.press(Keys.ARROW_DOWN)
    assert page.id("line").get_attribute("aria-activedescendant") == "offer-0"
    page.press(Keys.ENTER)
    page.press("/")
    page.until(lambda: page.id("line").get_attribute("aria-expanded") == "true")
    page.press(Keys.ESCAPE)
    assert page.id("line").get_attribute("aria-expanded") == "false"
    page.press(Keys.BACKSPACE, Keys.ESCAPE, Keys.ENTER)
    page.until(lambda: "60 nodes" in page.text("told"))

    # The tree is one stop; arrows go through it.
    page.tab_to("play 1")
    page.press(Keys.ARROW_DOWN)
    page.press(Keys.ARROW_DOWN)
    assert page.focus() == "act 1"
    page.press(Keys.ARROW_RIGHT)
    page.press(Keys.ARROW_RIGHT)
    assert page.focus() == "@n 1"
    page.press(Keys.ARROW_DOWN)
    assert page.focus() == "speech 60"
    page.press(Keys.ARROW_RIGHT)
    page.press(Keys.ARROW_LEFT)
    page.press(Keys.ARROW_LEFT)
    assert page.focus() == "act 1"
    page.press(Keys.END)
    assert page.focus() == "m:moral 1"
    page.press(Keys.HOME)
    page.press(Keys.ARROW_DOWN)
    page.press(Keys.ENTER)
    page.until(lambda: page.id("line").get_attribute("value") == "/play/title")
    page.until(lambda: "1 node in" in page.text("told"))

    # A condition, a hit with what is around it, the plan, what is copied, history, the way out.
    page.tab_to("relation")
    page.press("c")
    page.tab_to("value")
    page.press("aml", Keys.ENTER)
    page.until(lambda: page.id("line").get_attribute("value") == "/play/title[contains(text(),'aml')]")
    page.until(lambda: page.all("#results mark"))
    label = page.all("#results button[aria-label^=Around]")[0].get_attribute("aria-label")
    page.tab_to(label)
    page.press(Keys.SPACE)
    page.until(lambda: page.all(".around [aria-current]"))
    page.tab_to("2 after")
    page.press(Keys.ENTER)
    page.until(lambda: len(page.all(".around .tag > .name")) == 4)
    page.tab_to("copy-text" if page.shown("copy-text") else "curl")
    page.press(Keys.ENTER)
    page.until(lambda: page.text("copied"))
    page.tab_to("/play/title in plays")
    page.press(Keys.ENTER)
    page.until(lambda: page.id("line").get_attribute("value") == "/play/title")
    page.id("line").click()
    page.tab_to("explain")
    page.press(Keys.ENTER)
    page.until(lambda: page.focus() == "plan-title")
    page.tab_to("forget")
    page.press(Keys.ENTER)
    assert page.all("#asked button") == []
    page.tab_to("leave")
    page.press(Keys.ENTER)
    page.until(lambda: page.focus() == "name")
