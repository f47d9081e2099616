#!/usr/bin/python3
"""Shows what a server renders by tavo-dashboard, on the virtual panel: tests/dashboard_test.py
BUILD-FOLDER. The server does all that servers do wrong; the client runs with curl, with GNU wget and
with nothing but busybox."""
import http.server
import json
import os
import pathlib
import re
import shutil
import signal
import socketserver
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.parse

BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
TREE = pathlib.Path(__file__).resolve().parent.parent
PICTURES = TREE / 'tests/pictures'
SIZE = 200, 160
GOOD = (PICTURES / 'rgb.png').read_bytes()
OTHER = (PICTURES / 'colour-420.jpg').read_bytes()
BMP = (PICTURES / 'rgb.bmp').read_bytes()


class Server(http.server.BaseHTTPRequestHandler):
    """Answers each path as the table `answers` says: a body, or a function."""
    answers = {}
    seen = []

    def do_GET(self):
        self.seen.append((self.path, dict(self.headers)))
        answer = self.answers.get(urllib.parse.unquote(self.path), 404)
        if callable(answer):
            answer = answer(self)
        if isinstance(answer, int):
            self.send_error(answer)
        elif answer is not None:
            self.reply(answer)

    def reply(self, body, status=200, length=None, **headers):
        if isinstance(body, dict):
            body = json.dumps(body).encode()
        self.send_response(status)
        if length != 0:
            self.send_header('Content-Length', str(length or len(body)))
        for name, value in headers.items():
            self.send_header(name, value)
        self.end_headers()
        try:
            self.wfile.write(body)
        except OSError:
            pass

    def log_message(self, *_):
        pass


class Threads(socketserver.ThreadingTCPServer):  # an HTTPServer would ask for the host's name
    daemon_threads, block_on_close = True, False


def redirect(to):
    return lambda server: server.reply(b'', 302, Location=to)


def endless(server):
    server.reply(b'', length=0)
    try:
        while True:
            server.wfile.write(bytes(1 << 16))
    except OSError:
        pass


def hang(_):
    time.sleep(8)


def tagged(server):
    if server.headers.get('If-None-Match') == '"1"':
        server.reply(b'', 304)
    else:
        server.reply(GOOD, ETag='"1"')


# What a server answers, and the reason that the client gives. Nothing of it reaches the panel.
FAILURES = {
    'no such page': (404, r'answers with 404'),
    'server error': (500, r'answers with 500'),
    'a page': (b'<html>hello</html>', r'unknown image type'),
    'nothing': (b'', r'decode|image'),
    'shorter than it says': (lambda s: s.reply(GOOD[:99], length=len(GOOD)), r'no whole answer|outofdata'),
    'half a png': (lambda s: s.reply(GOOD[:len(GOOD) // 2], length=0), r'outofdata'),
    'half a jpeg': (lambda s: s.reply(OTHER[:len(OTHER) // 2], length=0), r'expected marker'),
    'half a bmp': (lambda s: s.reply(BMP[:len(BMP) // 2], length=0), r'ends early'),
    'endless redirects': (redirect('/p'), r'redirect|no whole answer'),
    'a file': (redirect('file:///etc/passwd'), r'not an address|no whole answer'),
    'endless body': (endless, r'more than 20000000 bytes'),
}

# What the protocol's server says of the picture, and the reason that the client gives, if any.
DISPLAYS = {
    'ordinary': ('{"status":0,"image_url":"http:\\/\\/HOST\\/good","refresh_rate":900}', ''),
    'relative, in quotes': ('{"a":{"image_url":"x"},"refresh_rate":"1800","image_url":"/good"}', ''),
    'a pattern': ('{"status":0,"image_url":"/good?[1-9]{a,b}"}', ''),
    'escapes': (r'{"x":"\"image_url\":\"no\"","status":200,"image_url":"\u002fgood"}', ''),
    'no picture': ('{"status":0,"image_url":null}', 'no picture'),
    'an option': ('{"status":0,"image_url":"-o/etc/x"}', 'answers with 404'),
    'a file': ('{"status":0,"image_url":"file:///etc/passwd"}', 'not an address'),
    'a command': ('{"status":0,"image_url":"http://HOST/$(touch x)"}', 'not an address'),
    'no json': ('{"status":0,"image_url":"/good"', 'no JSON'),
    'a status': ('{"status":7}', 'with 7'),
    'huge': ('{"status":0,"x":"' + 'x' * 70000 + '"}', 'more than 65536 bytes'),
}


class Dashboard(unittest.TestCase):
    client = shell = None

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.bin = self.folder / 'bin'
        self.bin.mkdir()
        tools = subprocess.run(['busybox', '--list'], capture_output=True, text=True).stdout.split()
        for name in tools:
            os.symlink(shutil.which('busybox'), self.bin / name)
        system = 'timeout awk sed grep od tail head tr mv mkdir'.split()
        for name in {'curl': ['curl', *system], 'wget': ['wget', *system], 'busybox': []}[self.client]:
            (self.bin / name).unlink(missing_ok=True)
            os.symlink(shutil.which(name), self.bin / name)
        (self.bin / 'sleep').unlink()
        (self.bin / 'sleep').write_text('#!/bin/sh\n:\n')  # nobody waits
        (self.bin / 'sleep').chmod(0o755)
        os.symlink(BUILD / 'tavo', self.bin / 'tavo')
        self.web = Threads(('127.0.0.1', 0), Server)
        threading.Thread(target=self.web.serve_forever, args=(0.02,), daemon=True).start()
        self.addCleanup(self.web.server_close)
        self.addCleanup(self.web.shutdown)
        self.host = f'127.0.0.1:{self.web.server_address[1]}'
        Server.answers, Server.seen = {'/good': GOOD, '/other': OTHER + bytes(99)}, []  # cameras add bytes
        Server.answers['/good?[1-9]{a,b}'] = GOOD

    def panel(self, *command, **environment):
        return subprocess.run(
            [BUILD / 'tavo-panel', '--state', self.folder / 'state', '--size', '%dx%d' % SIZE, *command],
            env={'PATH': str(self.bin), 'HOME': str(self.folder), **environment},
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)

    def dashboard(self, *arguments, **environment):
        done = self.panel(*self.shell, TREE / 'shell/tavo-dashboard', '-d', self.folder / 'kept',
                          *arguments, **environment)
        done.stderr = done.stderr.replace('tavo-panel: the command never opened the panel\n', '')
        return done

    def memory(self):
        return (self.folder / 'state/memory').read_bytes()

    def requests(self):
        """What the driver was asked since the last look."""
        log = self.folder / 'state/log'
        text = log.read_text() if log.exists() else ''
        log.write_text('')
        return re.findall(r'^(?:open|update .*wave=\d+ \w+)', text, re.M)

    def shows(self, *arguments, **environment):
        done = self.dashboard('-1', *arguments, **environment)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, '', ''), arguments)
        self.assertEqual(sorted(os.listdir(self.folder / 'kept')),
                         [name for name in ('id', 'shown', 'size', 'state', 'token')
                          if (self.folder / 'kept' / name).exists()])

    def refuses(self, reason, *arguments, **environment):
        before = self.memory()
        self.requests()
        done = self.dashboard('-1', *arguments, **environment)
        self.assertEqual(done.returncode, 1, arguments)
        self.assertRegex(done.stderr, f'^tavo-dashboard: .*({reason}).*\n$')
        self.assertEqual(self.memory(), before)
        self.assertFalse([r for r in self.requests() if r.startswith('update')])

    def test_pictures(self):
        update = 'update 0,0 200x160 wave=%d %s'
        self.shows(f'http://{self.host}/good')
        self.assertIn(update % (2, 'full'), self.requests())
        wanted = self.memory()
        self.panel('tavo', '-c')
        self.panel('tavo', '-g', PICTURES / 'rgb.png')
        self.assertEqual(self.memory(), wanted)
        self.requests()
        self.shows(f'http://{self.host}/good')
        self.assertEqual(self.requests(), [])  # the same: not even opened
        self.shows('-w', 'du', '-x', '9', '-y', '7', f'http://{self.host}/other')
        self.assertIn(update % (1, 'partial'), self.requests())
        self.shows('-f', '3', f'http://{self.host}/good')
        self.assertIn('partial', self.requests()[-1])
        self.shows('-f', '3', f'http://{self.host}/other')
        self.assertIn('full', self.requests()[-1])

    def test_failures(self):
        self.shows(f'http://{self.host}/good')
        self.requests()
        for name, (answer, reason) in FAILURES.items():
            with self.subTest(name):
                Server.answers['/p'] = answer
                self.refuses(reason, f'http://{self.host}/p')
        self.refuses('no whole answer', 'http://127.0.0.1:9/')

    def test_protocol(self):
        Server.answers['/api/setup'] = {'status': 200, 'api_key': 'a-key'}
        self.shows(f'http://{self.host}/good')
        for name, (answer, reason) in DISPLAYS.items():
            with self.subTest(name):
                Server.answers['/api/display'] = answer.replace('HOST', self.host).encode()
                call = '-t', f'http://{self.host}/'
                self.refuses(reason, *call, TAVO_DASHBOARD_ID='AA:BB') if reason else \
                    self.shows(*call, TAVO_DASHBOARD_ID='AA:BB')
        header = [seen for path, seen in Server.seen if path == '/api/display'][-1]
        self.assertEqual((header['ID'], header['Access-Token'], header['Width'], header['Height']),
                         ('AA:BB', 'a-key', '200', '160'))
        self.assertFalse([seen for path, seen in Server.seen
                          if not path.startswith('/api/') and {'ID', 'Access-Token'} & set(seen)])
        self.assertEqual((self.folder / 'kept/token').stat().st_mode & 0o777, 0o600)

    def test_new_key(self):
        keys = iter(('old', 'new'))
        Server.answers['/api/setup'] = lambda s: {'status': 200, 'api_key': next(keys)}
        Server.answers['/api/display'] = lambda s: (
            {'status': 0, 'image_url': '/good'} if s.headers['Access-Token'] == 'new' else 401)
        self.shows('-t', f'http://{self.host}', TAVO_DASHBOARD_ID='AA:BB')
        Server.answers['/b/api/setup'] = {'status': 200, 'api_key': 'for-b'}
        Server.answers['/b/api/display'] = {'status': 0, 'image_url': '/good'}
        self.shows('-t', f'http://{self.host}/b', TAVO_DASHBOARD_ID='AA:BB')
        self.assertEqual([seen['Access-Token'] for path, seen in Server.seen if path == '/b/api/display'],
                         ['for-b'])  # another server does not get the first one's

    def test_header_and_tag(self):
        Server.answers['/p'] = tagged
        for _ in range(2):
            self.shows(f'http://{self.host}/p', TAVO_DASHBOARD_HEADER='Authorization: Bearer x')
        self.assertEqual([seen['Authorization'] for _, seen in Server.seen], ['Bearer x'] * 2)
        if self.client != 'busybox':  # another server does not get the header
            Server.answers['/q'] = redirect(f'http://localhost:{self.web.server_address[1]}/other')
            self.shows(f'http://{self.host}/q', TAVO_DASHBOARD_HEADER='Authorization: Bearer x')
            self.assertNotIn('Authorization', Server.seen[-1][1])
        for call in ('-t',), ():  # nobody answers, or it is not even asked
            reason = 'cannot check certificates' if self.client == 'busybox' else 'no whole answer'
            self.refuses(reason, *call, 'https://127.0.0.1:9', TAVO_DASHBOARD_ID='AA:BB',
                         TAVO_DASHBOARD_HEADER='X: y')
        if self.client == 'curl':
            self.assertEqual(Server.seen[1][1]['If-None-Match'], '"1"')

    def test_usage(self):
        for words in ((), ('-e', '0', 'http://a'), ('-x', '-1', 'http://a'), ('-w', 'no', 'http://a'),
                      ('ftp://a',), ('http://a b',), ('http://a', 'http://b'), ('-q', 'http://a')):
            self.assertEqual(self.dashboard('-1', *words).returncode, 2, words)

    def test_rounds(self):
        """Rounds until a signal; COMMAND gets the seconds, and an end in the middle leaves nothing."""
        (self.folder / 'nap').write_text(f'#!/bin/sh\necho "$@" >>{self.folder}/naps\n/bin/sleep 0.1\n')
        os.chmod(self.folder / 'nap', 0o755)
        Server.answers['/p'] = hang
        for page in ('good', 'p'):
            run = subprocess.Popen(
                [BUILD / 'tavo-panel', '--state', self.folder / 'state', '--size', '%dx%d' % SIZE,
                 *self.shell, TREE / 'shell/tavo-dashboard', '-d', self.folder / 'kept', '-e', '77', '-s',
                 f'{self.folder}/nap -m mem', f'http://{self.host}/{page}'],
                env={'PATH': str(self.bin)}, stderr=subprocess.PIPE, text=True)
            time.sleep(1.5)
            run.send_signal(signal.SIGTERM)
            self.assertEqual((run.communicate(timeout=5)[1], run.returncode), ('', 143))
            self.assertNotIn('lock', os.listdir(self.folder / 'kept'))
        self.assertEqual(set((self.folder / 'naps').read_text().splitlines()), {'-m mem 77'})

    def test_lock(self):
        (self.folder / 'kept/lock').mkdir(parents=True)
        (self.folder / 'kept/lock/owner').write_text('1 another-boot\n')
        (self.folder / 'kept/breaking').mkdir()
        self.dashboard('-1', f'http://{self.host}/good')
        self.shows(f'http://{self.host}/good')  # what dead runs left is no obstacle


def suite():
    tests = unittest.TestSuite()
    for client, shell in (('curl', ['/bin/dash']), ('wget', ['/bin/bash']),
                          ('busybox', ['/bin/busybox', 'sh'])):
        case = type(f'with_{client}', (Dashboard,), {'client': client, 'shell': shell})
        tests.addTests(unittest.defaultTestLoader.loadTestsFromTestCase(case))
    return tests


if not unittest.TextTestRunner().run(suite()).wasSuccessful():
    sys.exit(1)
