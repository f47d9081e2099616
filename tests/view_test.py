#!/usr/bin/python3
"""Looks at the page of tavo-panel --view in a browser: tests/view_test.py BUILD-FOLDER"""
import http.client
import os
import pathlib
import pty
import re
import subprocess
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

BUILD = os.path.abspath(sys.argv.pop(1))
WIDTH, HEIGHT = 320, 400

READ_PIXELS = """
    return Array.from(document.querySelector('canvas').getContext('2d')
        .getImageData(0, 0, arguments[0], arguments[1]).data);"""
NOTE_FILLS = """
    const glass = document.querySelector('canvas').getContext('2d');
    window.fills = [];
    glass.fillRect = (...region) => window.fills.push([glass.fillStyle, ...region]);"""


class View(unittest.TestCase):
    """Each test has a panel on which nothing runs yet, and its page in the browser."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.panel = self.start('--size', f'{WIDTH}x{HEIGHT}', '--view=0')
        self.addCleanup(self.end_panel)
        line = self.panel.stderr.readline()
        self.port = int(re.search(r'http://127.0.0.1:(\d+)/', line)[1])
        browser.get(f'http://127.0.0.1:{self.port}/')
        self.wait_for(lambda: self.shown() == 1)

    def start(self, *arguments):
        return subprocess.Popen(
            [BUILD + '/tavo-panel', '--state', self.folder / 'state', *arguments],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

    def end_panel(self):
        self.panel.terminate()
        self.panel.communicate(timeout=20)
        self.assertEqual(self.panel.returncode, 0)

    def wait_for(self, condition):
        WebDriverWait(browser, 10, 0.02).until(lambda _: condition())

    def text(self, selector):
        return browser.find_element(By.CSS_SELECTOR, selector).text

    def shown(self):
        """How often the page has shown the glass: once at its start, once an update."""
        return browser.execute_script(
            "return Number(document.querySelector('canvas').dataset.shown || 0)")

    def draw(self, *arguments):
        before = self.shown()
        self.start(BUILD + '/tavo', *arguments).communicate(timeout=20)
        self.wait_for(lambda: self.shown() == before + 1)

    def expect_glass(self, situation):
        pixels = browser.execute_script(READ_PIXELS, WIDTH, HEIGHT)
        glass = (self.folder / 'state/glass').read_bytes()
        wanted = [value for gray in glass for value in (gray, gray, gray, 255)]
        different = [i // 4 for i in range(len(wanted)) if pixels[i] != wanted[i]]
        self.assertEqual(different[:1], [], situation + ': the first pixel that differs')

    def test_shows_the_glass_and_flashes_at_full_updates(self):
        browser.execute_script(NOTE_FILLS)
        refused = self.start(BUILD + '/tavo', '-f', '-x', '-1', '-s', '')
        refused.communicate(timeout=20)
        for arguments in (['-l'], ['-w', 'du', '-d', 'l=80,w=90,h=50', '-x', '9', '-y', '7'],
                          ['-f', '-s', 'w=30,h=40', '-x', '10', '-y', '20'], ['-f', '-s', '']):
            self.draw(*arguments)
            self.expect_glass(' '.join(arguments))
        self.assertEqual(browser.execute_script('return window.fills'),
                         [['#000000', 10, 20, 30, 40], ['#ffffff', 10, 20, 30, 40],
                          ['#000000', 0, 0, WIDTH, HEIGHT], ['#ffffff', 0, 0, WIDTH, HEIGHT]])
        self.assertEqual(self.text('h1'), f'{WIDTH} x {HEIGHT}, 8 bits per pixel')
        lines = (self.folder / 'state/log').read_text().splitlines()[-20:]
        self.wait_for(lambda: self.text('pre').splitlines() == lines)
        browser.refresh()
        self.wait_for(lambda: self.shown() == 1)
        self.expect_glass('a page that comes late')
        self.assertEqual(self.text('pre').splitlines(), lines)

    def test_stays_when_the_log_is_emptied_and_when_the_panel_ends(self):
        self.draw('-l')
        os.truncate(self.folder / 'state/log', 0)
        self.draw('-s', '')  # has fewer lines than before
        self.assertEqual(self.text('#note'), '')
        browser.refresh()
        self.wait_for(lambda: self.shown() == 1)
        self.assertEqual(self.text('pre'), (self.folder / 'state/log').read_text().strip())
        self.end_panel()
        self.wait_for(lambda: self.text('#note') == 'The panel has ended.')
        self.expect_glass('after the end')

    def drag(self, points):
        canvas = browser.find_element(By.CSS_SELECTOR, 'canvas')
        actions = ActionChains(browser, duration=0).move_to_element(canvas)  # draws nothing
        for x, y in points:  # the driver counts from the middle, the canvas is scaled
            actions.move_to_element_with_offset(canvas, x // 2 - WIDTH // 4, y // 4 - HEIGHT // 8)
            if (x, y) == points[0]:
                actions.click_and_hold()
        actions.release().perform()

    def test_drags_strokes(self):
        browser.execute_script(
            "document.querySelector('canvas').style = 'width: 160px; height: 100px'")
        points = [(30, 40), (30, 200), (200, 212), (90, 252), (200, 40), (310, 4)]
        before = self.shown()
        touch_test = self.start(BUILD + '/tavo', '-j', self.folder / 'state/touch')
        self.wait_for(lambda: self.shown() == before + 2)
        self.drag(points)
        self.drag([(20, HEIGHT - 20)])  # the corner that ends it
        traces = [f'{x} {y} {last_x} {last_y}'
                  for (last_x, last_y), (x, y) in zip(points, points[1:])]
        self.assertEqual(touch_test.communicate(timeout=20)[1].splitlines(),
                         traces + ['Touch released'])

    def test_runs_a_shell_on_a_terminal(self):
        keys, terminal = pty.openpty()
        shell = subprocess.Popen([BUILD + '/tavo-panel', '--view=0'], stdin=terminal,
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(shell.kill)
        os.write(keys, b'exit 7\n')
        self.assertEqual(shell.wait(timeout=20), 7)

    def test_refuses_a_port_that_another_page_has(self):
        second = self.start(f'--view={self.port}', 'true')
        self.assertEqual(second.communicate(timeout=20)[1],
                         f'tavo-panel: cannot serve the port {self.port}\n')
        self.assertEqual(second.returncode, 2)

    def test_answers_the_page_only(self):
        host, here = f'localhost:{self.port}', f'http://localhost:{self.port}'
        for status, method, path, headers in (
                (200, 'GET', '/', {'Host': host}),
                (200, 'GET', '/glass', {}),
                (403, 'GET', '/glass', {'Host': f'example.org:{self.port}'}),
                (403, 'GET', '/events', {'Host': 'localhost:1'}),
                (200, 'POST', '/touch', {'Host': host, 'Origin': here}),
                (403, 'POST', '/touch', {'Host': host}),
                (403, 'POST', '/touch', {'Host': host, 'Origin': 'http://example.org'}),
                (403, 'PUT', '/touch', {'Host': host, 'Origin': here})):
            connection = http.client.HTTPConnection('127.0.0.1', self.port, timeout=10)
            connection.request(method, path, '1: 1 1\n' if path == '/touch' else None, headers)
            self.assertEqual(connection.getresponse().status, status, (method, path, headers))


if __name__ == '__main__':
    options = webdriver.ChromeOptions()
    for word in ('headless', 'no-sandbox', 'disable-background-networking', 'disable-sync',
                 'window-size=900,1000'):
        options.add_argument('--' + word)
    # Later versions of Selenium do not look for the driver themselves.
    with webdriver.Chrome(options=options, service=Service('/usr/bin/chromedriver')) as browser:
        unittest.main()
