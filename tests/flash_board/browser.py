# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# A headless Chromium by its own protocol, over a pipe: nothing listens on a port, and nothing but Python is needed.
import base64
import json
import os
import select
import subprocess
import tempfile
import time

ARGUMENTS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
             "--disable-component-update", "--disable-sync", "--hide-scrollbars", "--remote-debugging-pipe"]


class Failure(Exception):
    """The browser ended, said nothing in time, or a script threw."""


class Browser:
    """One page of one browser. Everything that the page asks of the network, says on its console or opens is kept."""

    def __init__(self, program="chromium"):
        self._folder = tempfile.TemporaryDirectory(prefix="flash-board-browser-", ignore_cleanup_errors=True)
        to_browser, self._write = os.pipe()
        self._read, from_browser = os.pipe()
        self._process = self._start(program, to_browser, from_browser)
        self._next = 0
        self._waiting = b""
        self.requests, self.complaints, self.dialogs = [], [], []
        target = self._call("Target.createTarget", url="about:blank")["targetId"]
        self._session = None
        self._session = self._call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Runtime", "Log"):
            self._call(domain + ".enable")

    def _start(self, program, to_browser, from_browser):
        # The browser reads from 3 and writes to 4.
        keep = [os.dup(end) for end in (to_browser, from_browser)]
        high = [os.dup2(end, 60 + index) for index, end in enumerate(keep)]
        script = 'exec "$0" "$@" 3<&60 4>&61 60<&- 61>&-'
        command = ["bash", "-c", script, program, *ARGUMENTS, "--user-data-dir=" + self._folder.name]
        process = subprocess.Popen(command, pass_fds=high, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for end in (to_browser, from_browser, *keep, *high):
            os.close(end)
        return process

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait(20)
        os.close(self._write)
        os.close(self._read)
        self._folder.cleanup()

    def _message(self, deadline):
        while b"\0" not in self._waiting:
            if not select.select([self._read], [], [], max(0, deadline - time.monotonic()))[0]:
                raise Failure("the browser says nothing")
            part = os.read(self._read, 1 << 20)
            if not part:
                raise Failure("the browser ended")
            self._waiting += part
        text, self._waiting = self._waiting.split(b"\0", 1)
        return json.loads(text)

    def _keep(self, event):
        method, about = event.get("method"), event.get("params", {})
        if method == "Network.requestWillBeSent":
            self.requests.append(about["request"]["url"])
        elif method == "Log.entryAdded":
            self.complaints.append(about["entry"]["text"])
        elif method == "Runtime.exceptionThrown":
            self.complaints.append(json.dumps(about["exceptionDetails"].get("exception", about["exceptionDetails"])))
        elif method == "Page.javascriptDialogOpening":
            self.dialogs.append(about["message"])
            self._send("Page.handleJavaScriptDialog", accept=True)

    def _send(self, method, **parameters):
        self._next += 1
        message = {"id": self._next, "method": method, "params": parameters}
        if getattr(self, "_session", None):
            message["sessionId"] = self._session
        os.write(self._write, json.dumps(message).encode() + b"\0")
        return self._next

    def _call(self, method, _seconds=90, **parameters):
        wanted = self._send(method, **parameters)
        deadline = time.monotonic() + _seconds
        while True:
            message = self._message(deadline)
            if message.get("id") == wanted:
                if "error" in message:
                    raise Failure(method + ": " + json.dumps(message["error"]))
                return message["result"]
            self._keep(message)

    def screen(self, width, height, dark=False, media=""):
        self._call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self._call("Emulation.setEmulatedMedia", media=media,
                   features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"},
                             {"name": "prefers-reduced-motion", "value": "reduce"}])

    def open(self, path, fragment=""):
        """Seconds until the page has drawn itself."""
        self._call("Page.navigate", url="about:blank")
        start = time.monotonic()
        self._call("Page.navigate", url="file://" + os.path.abspath(path) + fragment)
        self.until("document.documentElement?.dataset.ready === 'yes' && document.readyState === 'complete'")
        self.settle()
        return time.monotonic() - start

    def ask(self, script):
        result = self._call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise Failure(script + ": " + json.dumps(result["exceptionDetails"]))
        return result["result"].get("value")

    def until(self, script, seconds=60):
        deadline = time.monotonic() + seconds
        while not self.ask(script):
            if time.monotonic() > deadline:
                raise Failure("never so: " + script)
            time.sleep(0.02)

    def settle(self):
        """Until what was asked for is drawn."""
        self.ask("new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => done(true))))")

    def press(self, key):
        named = {"Tab": 9, "Enter": 13, "ArrowLeft": 37, "ArrowUp": 38, "ArrowRight": 39, "ArrowDown": 40}
        about = {"key": key, "windowsVirtualKeyCode": named.get(key, ord(key[0].upper()))}
        text = {"Enter": "\r"}.get(key, key if len(key) == 1 else "")
        self._call("Input.dispatchKeyEvent", type="keyDown", text=text, **about)
        self._call("Input.dispatchKeyEvent", type="keyUp", **about)
        self.settle()

    def mouse(self, kind, x, y, **more):
        self._call("Input.dispatchMouseEvent", type=kind, x=x, y=y, **more)
        self.settle()

    def picture(self, path, whole=True):
        data = self._call("Page.captureScreenshot", format="png", captureBeyondViewport=whole)["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))
