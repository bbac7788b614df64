"""The page as somebody uses it: what is waited for, clicked and read."""

import json

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

PATIENCE = 20  # seconds, for what comes in milliseconds

# Run in front of the page's own scripts: keeps what its policy had to forbid.
WATCH = """window.violations = [];
document.addEventListener('securitypolicyviolation',
    (event) => window.violations.push(`${event.violatedDirective} ${event.blockedURI}`));"""


class Page:
    def __init__(self, driver, served):
        self.driver = driver
        self.served = served
        self.expected = []  # parts of complaints of the browser that are meant

    def visit(self, width=1280, scheme="light"):
        """The page without history, at a width in pixels."""
        self.expected = []
        feature = {"name": "prefers-color-scheme", "value": scheme}
        self.devtools("Emulation.setEmulatedMedia", features=[feature])
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=900,
                      deviceScaleFactor=1, mobile=False)
        self.devtools("Storage.clearDataForOrigin", origin=self.served.origin, storageTypes="all")
        self.driver.get_log("browser")
        if not hasattr(self.driver, "watched"):
            self.devtools("Page.addScriptToEvaluateOnNewDocument", source=WATCH)
            self.driver.watched = True
        self.driver.get(self.served.origin + "/")
        self.until(lambda: self.shown("door"))

    def devtools(self, command, **parameters):
        return self.driver.execute_cdp_cmd(command, parameters)

    def script(self, text, *arguments):
        return self.driver.execute_script(text, *arguments)

    def until(self, holds):
        return WebDriverWait(self.driver, PATIENCE, poll_frequency=0.02).until(lambda _: holds())

    def id(self, name):
        return self.driver.find_element(By.ID, name)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def shown(self, name):
        return self.id(name).is_displayed()

    def text(self, name):
        return self.id(name).text

    def sign_in(self, database="plays", user="reader", password="reader-pw"):
        self.id("name").clear()
        self.id("name").send_keys(user)
        self.id("password").send_keys(password, Keys.ENTER)
        self.until(lambda: self.shown("work") and self.text("about"))
        self.choose(database)

    def choose(self, database):
        if Select(self.id("database")).first_selected_option.text == database:
            return
        before = self.text("about")
        Select(self.id("database")).select_by_visible_text(database)
        self.until(lambda: self.text("about") != before)

    def type(self, text):
        self.id("line").clear()
        self.id("line").send_keys(text)

    def ask(self, text):
        """Asks and waits for what is told."""
        self.script("for (const id of ['told', 'alarm']) document.getElementById(id).textContent = ''")
        self.type(text)
        self.id("line").send_keys(Keys.ESCAPE, Keys.ENTER)
        self.until(lambda: self.text("told") or self.text("alarm"))

    def texts(self, selector):
        """Of those that are seen, as they are seen."""
        return self.script("""return [...document.querySelectorAll(arguments[0])]
            .filter((each) => each.checkVisibility()).map((each) => each.innerText.trim())""", selector)

    def values(self):
        return self.texts("#results .value")

    def press(self, *keys):
        self.driver.switch_to.active_element.send_keys(*keys)

    def focus(self):
        """Id, or text, of what has the focus."""
        return self.script("const e = document.activeElement;"
                           "return e.id || e.getAttribute('aria-label') || e.textContent.trim()")

    def tab_to(self, name, most=80):
        """Only by the Tab key; each stop has to be seen."""
        for _ in range(most):
            if self.focus() == name:
                return
            self.press(Keys.TAB)
            assert self.script(FOCUS_IS_SEEN), f"nobody sees that {self.focus()} has the focus"
        raise AssertionError(f"the Tab key does not come to {name}")

    def require_innocence(self):
        """No script ran that is not the page's, and nothing was loaded or tried that may not be."""
        found = self.script("""return {canary: window.canary ?? '', violations: window.violations,
            scripts: document.scripts.length,
            strange: document.querySelectorAll('img, svg, iframe, object, embed, base, style').length,
            handlers: [...document.querySelectorAll('*')].flatMap((e) => e.getAttributeNames())
                .filter((name) => name.startsWith('on') || name === 'style'),
            foreign: performance.getEntriesByType('resource').map((e) => e.name)
                .filter((name) => !name.startsWith(location.origin + '/'))}""")
        assert found == {"canary": "", "violations": [], "scripts": 1, "strange": 0, "handlers": [],
                         "foreign": []}, json.dumps(found)
        complaints = [each["message"] for each in self.driver.get_log("browser")]
        strange = [each for each in complaints if not any(part in each for part in self.expected)]
        assert strange == [], strange


FOCUS_IS_SEEN = """
if (document.activeElement === document.body) return true;
const style = getComputedStyle(document.activeElement);
return style.outlineStyle !== 'none' && parseFloat(style.outlineWidth) >= 2;
"""
