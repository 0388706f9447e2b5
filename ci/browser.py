#!/usr/bin/python3
"""browser.py <strata-l3>

Opens reports in Chromium: they say nothing on the console, every fold opens, links lead where they say, the numbers are
those of the run's JSON, controls have names, nothing is wider than a telephone, texts can be read in both schemes, and
folds are open on paper. Needs Debian's chromium, chromium-driver and python3-selenium (sh ci/setup.sh browser).
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

MOST_LINKS = 60  # of one page that are followed

# The ratio of WCAG between each text and what is behind it; those below 4.5, each once.
CONTRAST = """
const luminance = ([r, g, b]) => {
   const part = v => (v /= 255) <= 0.03928 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4;
   return 0.2126 * part(r) + 0.7152 * part(g) + 0.0722 * part(b);
};
const numbers = text => text.match(/[\\d.]+/g).map(Number);
const found = new Set();
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
for (let node; (node = walker.nextNode());) {
   if (!node.data.trim()) continue;
   const ink = numbers(getComputedStyle(node.parentElement).color);
   let at = node.parentElement, paper = null;
   for (; at && !paper; at = at.parentElement) {
      const each = numbers(getComputedStyle(at).backgroundColor);
      if (each.length < 4 || each[3] > 0) paper = each;
   }
   const [a, b] = [luminance(ink), luminance(paper || [255, 255, 255])].sort((x, y) => y - x);
   const ratio = (a + 0.05) / (b + 0.05);
   if (ratio < 4.5) found.add(node.parentElement.className + ' ' + node.parentElement.tagName + ' ' + ratio.toFixed(2));
}
return [...found];
"""

# Whether the target of the fragment is seen, at least in part.
IS_SEEN = """
const target = document.getElementById(location.hash.slice(1));
if (!target) return false;
const box = target.getBoundingClientRect();
return target.checkVisibility({contentVisibilityAuto: true}) && box.height > 0 && box.top < innerHeight && box.bottom > 0;
"""

# The widths of the page and of the screen, and the elements that stick out.
WIDTHS = """
const out = [...document.querySelectorAll('main *')].filter(e => e.getBoundingClientRect().right > innerWidth + 1
   && !e.closest('.wide')).map(e => e.tagName + '.' + e.className).slice(0, 5);
return [document.documentElement.scrollWidth, innerWidth, out];
"""


class Browser:
    def __init__(self):
        options = Options()
        options.binary_location = '/usr/bin/chromium'
        for argument in ('--headless=new', '--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage'):
            options.add_argument(argument)
        options.set_capability('goog:loggingPrefs', {'browser': 'ALL'})
        self.driver = webdriver.Chrome(service=Service('/usr/bin/chromedriver'), options=options)

    def size(self, width, height):
        self.driver.execute_cdp_cmd(
            'Emulation.setDeviceMetricsOverride',
            {'width': width, 'height': height, 'deviceScaleFactor': 1, 'mobile': width < 500})

    def media(self, scheme, medium=''):
        self.driver.execute_cdp_cmd(
            'Emulation.setEmulatedMedia',
            {'media': medium, 'features': [{'name': 'prefers-color-scheme', 'value': scheme}]})

    def run(self, script):
        return self.driver.execute_script(script)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)


class Check:
    """One page."""

    def __init__(self, browser, page, figures):
        self.browser, self.page, self.figures = browser, page, figures
        self.problems = []

    def expect(self, holds, problem):
        if not holds:
            self.problems.append(f'{self.page.name}: {problem}')

    def numbers(self):
        shown = {each.get_attribute('data-figure'): int(each.text) for each in self.browser.all('[data-figure]')}
        for name, count in self.figures.items():
            self.expect(shown.get(name, 0) == count, f'{name} is {shown.get(name)}, and {count} in JSON')

    def links(self):
        all_links = self.browser.all('a')
        others = [each for each in all_links if not each.get_attribute('href').split('#')[1].startswith(('r', 's'))]
        step = max(1, len(all_links) // MOST_LINKS)
        wanted = others[:MOST_LINKS] + all_links[::step]
        for href in {each.get_attribute('href').split('#')[1] for each in wanted}:
            self.browser.run(f"document.querySelectorAll('details').forEach(d => d.open = false);"
                             f"document.querySelector('a[href=\"#{href}\"]').click()")
            self.expect(self.browser.run('return location.hash') == '#' + href, f'#{href} is not followed')
            self.expect(self.browser.run(IS_SEEN), f'#{href} is not seen when it is followed')
        self.browser.run("document.querySelectorAll('details').forEach(d => d.open = false)")

    def folds(self):
        for fold in self.browser.all('details'):
            summary = fold.find_element(By.TAG_NAME, 'summary')
            self.browser.driver.execute_script('arguments[0].scrollIntoView({block: "center"})', summary)
            summary.click()
            self.expect(fold.get_attribute('open') is not None, f"'{summary.text[:60]}' does not open")

    def names(self):
        # Links in logs are alike.
        controls = self.browser.all('summary, [tabindex], nav a, .log li:first-child a, article > a, .events > li > a')
        for control in controls:
            self.expect(control.accessible_name.strip(), 'no accessible name: ' + control.get_attribute('outerHTML')[:90])

    def look(self):
        for scheme in ('light', 'dark'):
            self.browser.media(scheme)
            self.expect(not self.browser.run(CONTRAST), f'{scheme}: {self.browser.run(CONTRAST)}')
        self.browser.size(360, 740)
        page, screen, out = self.browser.run(WIDTHS)
        self.expect(screen == 360 and page <= screen, f'{page} pixels wide on a screen of {screen}: {out}')
        self.browser.size(1200, 900)

    def paper(self):
        self.browser.run("document.querySelectorAll('details').forEach(d => d.open = false)")
        self.browser.media('light', 'print')
        hidden = self.browser.run("return [...document.querySelectorAll('details')].filter("
                                  "d => !d.lastElementChild.checkVisibility()).length")
        self.expect(hidden == 0, f'{hidden} folds are closed on paper')
        self.browser.media('light')

    def all(self):
        self.browser.size(1200, 900)
        self.browser.media('light')
        self.browser.driver.get(self.page.as_uri())
        for part in (self.numbers, self.links, self.folds, self.names, self.look, self.paper):
            part()
        for entry in self.browser.driver.get_log('browser'):
            self.expect(False, 'on the console: ' + entry['message'])
        return self.problems


def figures_of(command, scenario):
    out = subprocess.run([command, 'run', '--json', scenario], capture_output=True, text=True, check=True).stdout
    figures = dict.fromkeys(('calls', 'notifications', 'writes', 'redundant', 'held', 'failed'), 0)
    for line in out.splitlines():
        record = json.loads(line)
        if record.get('child'):
            continue
        figures['calls'] += record['kind'] in ('call', 'entry')
        figures['notifications'] += record['kind'] == 'notify'
        figures['writes'] += 'write' in record
        figures['redundant'] += record.get('write') == 'redundant'
        if record['kind'] == 'expect':
            figures['held' if record['held'] else 'failed'] += 1
    return figures


def tutorial(directory):
    """The commands of the tutorial's page as a scenario."""
    text = pathlib.Path('docs/tutorial.md').read_text(encoding='utf-8')
    commands = [line for line in re.findall(r'^ {4}strata-l3> (.*)$', text, re.M) if line != 'quit']
    scenario = directory / 'tutorial.scenario'
    scenario.write_text('\n'.join(commands) + '\n', encoding='utf-8')
    return scenario


def frames(directory):
    """A capture that is sent, by a router that packets are watched in."""
    scenario = directory / 'frames.scenario'
    scenario.write_text('switch hsdk ports 8\n'
                        'interface Ethernet1-4 unit 0 port 1\n'
                        'vlan 10 svi members Ethernet1-4\n'
                        'bring-up\n'
                        'router 02:00:a1:00:00:01\n'
                        'native-vlan 10 Ethernet1-4\n'
                        'pcap tests/packet/frames/frames.pcap in Ethernet1\n', encoding='utf-8')
    return scenario


def main():
    command = sys.argv[1]
    with tempfile.TemporaryDirectory() as name:
        directory = pathlib.Path(name)
        browser = Browser()
        problems = []
        for scenario, *options in ((tutorial(directory),), (pathlib.Path('scenarios/two-units.scenario'),),
                                   (pathlib.Path('scenarios/recordings/tutorial.recording'),),
                                   (frames(directory), '--transients')):
            page = directory / (scenario.name + '.html')
            subprocess.run([command, 'report', scenario, '-o', page, *options], check=True)
            figures = {} if scenario.suffix == '.recording' else figures_of(command, scenario)
            problems += Check(browser, page, figures).all()
        browser.driver.quit()
    print('\n'.join(problems) or 'reports: every check of the browser passed')
    sys.exit(bool(problems))


main()
