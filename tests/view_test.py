#!/usr/bin/python3
"""Looks at the page of tavo-panel --view in a browser: tests/view_test.py BUILD-FOLDER

With VIEW_SCREENSHOT=FILE.png it leaves a picture of the page."""
import http.client
import os
import re
import subprocess
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

BUILD = os.path.abspath(sys.argv.pop(1))
WIDTH, HEIGHT = 320, 400
STROKE = [(30, 40), (30, 200), (200, 210), (90, 250), (200, 40), (310, 5)]
EXIT = (20, HEIGHT - 20)  # in the corner that ends the touch test

READ_PIXELS = """
    return Array.from(document.querySelector('canvas').getContext('2d')
        .getImageData(0, 0, arguments[0], arguments[1]).data);"""
NOTE_FILLS = """
    const glass = document.querySelector('canvas').getContext('2d'), fill = glass.fillRect;
    window.fills = [];
    glass.fillRect = (...region) => {
        window.fills.push([glass.fillStyle, ...region]);
        fill.apply(glass, region);
    };"""


def start_browser(profile):
    options = webdriver.ChromeOptions()
    for word in ('headless', 'no-sandbox', 'disable-gpu', 'disable-quic', 'no-first-run',
                 'disable-background-networking', 'disable-component-update', 'disable-sync',
                 'window-size=900,1000', 'user-data-dir=' + profile):
        options.add_argument('--' + word)
    return webdriver.Chrome(options=options)


class View(unittest.TestCase):
    """A browser at the page of a panel on which nothing runs yet."""

    @classmethod
    def setUpClass(cls):
        cls.profile = tempfile.TemporaryDirectory()
        cls.browser = start_browser(cls.profile.name)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.profile.cleanup()

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.state = self.folder.name + '/state'
        self.panel = self.start('--size', f'{WIDTH}x{HEIGHT}', '--view=0', 'sleep', '100')
        line = self.panel.stderr.readline()
        self.port = int(re.search(r'http://127.0.0.1:(\d+)/', line)[1])
        self.browser.get(f'http://127.0.0.1:{self.port}/')
        self.wait_for(lambda: self.shown() == 1)

    def tearDown(self):
        self.end_panel()
        self.folder.cleanup()

    def start(self, *arguments):
        return subprocess.Popen([BUILD + '/tavo-panel', '--state', self.state, *arguments],
                                stderr=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True)

    def end_panel(self):
        self.panel.terminate()
        self.panel.communicate(timeout=20)

    def wait_for(self, condition):
        WebDriverWait(self.browser, 10, 0.02).until(lambda _: condition())

    def text(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector).text

    def shown(self):
        """How often the page has shown the glass: once at its start, once an update."""
        return int(self.browser.execute_script(
            "return document.querySelector('canvas').dataset.shown || 0"))

    def draw(self, *arguments):
        before = self.shown()
        self.start(BUILD + '/tavo', *arguments).communicate(timeout=20)
        self.wait_for(lambda: self.shown() == before + 1)

    def expect_glass(self, situation):
        pixels = self.browser.execute_script(READ_PIXELS, WIDTH, HEIGHT)
        with open(self.state + '/glass', 'rb') as file:
            wanted = [value for gray in file.read() for value in (gray, gray, gray, 255)]
        different = [i // 4 for i in range(len(wanted)) if pixels[i] != wanted[i]]
        self.assertEqual(different[:1], [], situation + ': the first pixel that differs')

    def test_shows_the_glass(self):
        for arguments in (['-l'], ['-w', 'du', '-d', 'l=80,w=90,h=50', '-x', '9', '-y', '7'],
                          ['-f', '-w', 'du', '-s', 'w=200,h=100'], ['-f', '-s', '']):
            self.draw(*arguments)
            self.expect_glass(' '.join(arguments))
        self.assertEqual(self.text('h1'), f'{WIDTH} x {HEIGHT}, 8 bits per pixel')
        self.assertTrue(self.browser.title.startswith(self.text('h1')))
        with open(self.state + '/log', encoding='ascii') as log:
            lines = log.read().splitlines()[-20:]
        self.wait_for(lambda: self.text('pre').splitlines() == lines)
        self.browser.refresh()
        self.wait_for(lambda: self.shown() == 1)
        self.expect_glass('a page that comes late')
        self.assertEqual(self.text('pre').splitlines(), lines)

    def test_flashes_at_full_updates_only(self):
        self.browser.execute_script(NOTE_FILLS)
        self.draw('-l')
        self.assertEqual(self.browser.execute_script('return window.fills'), [])
        self.draw('-f', '-s', 'w=30,h=40', '-x', '10', '-y', '20')
        self.assertEqual(self.browser.execute_script('return window.fills'),
                         [['#000000', 10, 20, 30, 40], ['#ffffff', 10, 20, 30, 40]])

    def test_stays_when_the_panel_ends(self):
        self.draw('-l')
        if 'VIEW_SCREENSHOT' in os.environ:
            self.browser.save_screenshot(os.environ['VIEW_SCREENSHOT'])
        self.assertEqual(self.text('#note'), '')
        self.end_panel()
        self.wait_for(lambda: self.text('#note') == 'The panel has ended.')
        self.expect_glass('after the end')

    def film(self, play, *options):
        """Runs the touch test while `play` touches, and returns the frames that it shows."""
        folder = tempfile.mkdtemp(dir=self.folder.name)
        before = self.shown()
        test = self.start('--frames', folder, *options, BUILD + '/tavo', '-j',
                          self.state + '/touch')
        self.wait_for(lambda: self.shown() >= before + 2)
        play()
        test.communicate(timeout=20)
        frames = {}
        for name in sorted(os.listdir(folder)):
            with open(os.path.join(folder, name), 'rb') as file:
                frames[name] = file.read()
        return frames

    def drag(self):
        canvas = self.browser.find_element(By.CSS_SELECTOR, 'canvas')

        def move(x, y):  # the driver counts from the middle
            actions.move_to_element_with_offset(canvas, x - WIDTH // 2, y - HEIGHT // 2)

        actions = ActionChains(self.browser, duration=0)
        move(*STROKE[0])
        actions.click_and_hold()
        for point in STROKE[1:]:
            move(*point)
        actions.release()
        move(*EXIT)
        actions.click().perform()

    def test_drags_as_a_file_of_strokes_does(self):
        strokes = self.folder.name + '/strokes'
        with open(strokes, 'w', encoding='ascii') as file:
            file.writelines(f'{x} {y}\n' for x, y in STROKE)
            file.write(f'up\n{EXIT[0]} {EXIT[1]}\n')
        played = self.film(lambda: None, '--touch', strokes)
        self.assertEqual(len(set(played.values())), 4)  # white, corners, two parts of the stroke
        self.assertEqual(self.film(self.drag), played)

    def ask(self, method, path, headers):
        connection = http.client.HTTPConnection('127.0.0.1', self.port, timeout=10)
        connection.request(method, path, '1: 1 1\n' * (1 if path == '/touch' else 0), headers)
        return connection.getresponse().status

    def test_answers_the_page_only(self):
        here, host = f'http://localhost:{self.port}', f'localhost:{self.port}'
        for status, method, path, headers in (
                (200, 'GET', '/', {'Host': host}),
                (200, 'GET', '/glass', {}),
                (403, 'GET', '/', {'Host': 'example.org'}),
                (403, 'GET', '/glass', {'Host': f'example.org:{self.port}'}),
                (403, 'GET', '/', {'Host': 'localhost:1'}),
                (200, 'POST', '/touch', {'Host': host, 'Origin': here}),
                (403, 'POST', '/touch', {'Host': host}),
                (403, 'POST', '/touch', {'Host': host, 'Origin': 'http://example.org'}),
                (403, 'PUT', '/touch', {'Host': host, 'Origin': here}),
                (404, 'GET', '/state', {})):
            self.assertEqual(self.ask(method, path, headers), status, (method, path, headers))


if __name__ == '__main__':
    unittest.main()
