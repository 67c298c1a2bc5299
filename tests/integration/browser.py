"""Headless Chromium, driven over its own protocol through a pair of pipes: no other program stands between."""

import base64
import itertools
import json
import os
import select
import subprocess
import tempfile
import time
from pathlib import Path

from integration import program

# WebGL without a screen or a graphics card, and nothing that calls home.
FLAGS = [
    "--headless",
    "--no-sandbox",
    "--use-angle=swiftshader",
    "--enable-unsafe-swiftshader",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--hide-scrollbars",
    "--force-device-scale-factor=1",
    "--remote-debugging-pipe",
]
KEYS = {
    " ": ("Space", 32),
    "ArrowLeft": ("ArrowLeft", 37),
    "ArrowRight": ("ArrowRight", 39),
    "ArrowUp": ("ArrowUp", 38),
    "ArrowDown": ("ArrowDown", 40),
    "Home": ("Home", 36),
    "End": ("End", 35),
}


class Browser:
    """One page in a browser of its own. What its console says of errors, and what it asks of any network, is kept."""

    def __init__(self, width=1280, height=720):
        self.profile = tempfile.TemporaryDirectory(prefix="chromium-", ignore_cleanup_errors=True)
        to_browser, self.to = os.pipe()
        self.source, from_browser = os.pipe()
        words = [program("chromium"), *FLAGS, f"--window-size={width},{height}", f"--user-data-dir={self.profile.name}"]
        self.process = subprocess.Popen(
            ["sh", "-c", f'exec "$@" 3<&{to_browser} 4>&{from_browser}', "sh", *words],
            pass_fds=(to_browser, from_browser),
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        os.close(to_browser)
        os.close(from_browser)
        self.numbers = itertools.count(1)
        self.waiting = b""
        self.session = None
        self.errors = []
        self.requests = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.call(f"{domain}.enable")
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        os.close(self.to)
        os.close(self.source)
        self.profile.cleanup()

    def receive(self, seconds):
        """The next message; None when the time has passed."""
        end = time.monotonic() + seconds
        while b"\0" not in self.waiting:
            left = end - time.monotonic()
            if left <= 0 or not select.select([self.source], [], [], left)[0]:
                return None
            data = os.read(self.source, 1 << 20)
            if not data:
                raise AssertionError("the browser has ended")
            self.waiting += data
        message, self.waiting = self.waiting.split(b"\0", 1)
        return json.loads(message)

    def note(self, message):
        method, told = message.get("method"), message.get("params", {})
        if method == "Runtime.exceptionThrown":
            details = told["exceptionDetails"]
            self.errors.append(details.get("exception", {}).get("description", details["text"]))
        elif method == "Runtime.consoleAPICalled" and told["type"] in ("error", "warning", "assert"):
            self.errors.append(" ".join(str(arg.get("value", arg.get("description"))) for arg in told["args"]))
        elif method == "Log.entryAdded" and told["entry"]["level"] == "error":
            self.errors.append(told["entry"]["text"])
        elif method == "Network.requestWillBeSent":
            self.requests.append(told["request"]["url"])

    def call(self, method, seconds=60, **words):
        number = next(self.numbers)
        message = {"id": number, "method": method, "params": words}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.to, json.dumps(message).encode() + b"\0")
        end = time.monotonic() + seconds
        while (answer := self.receive(max(0, end - time.monotonic()))) is not None:
            if answer.get("id") == number:
                if "error" in answer:
                    raise AssertionError(f"{method}: {answer['error']}")
                return answer["result"]
            self.note(answer)
        raise AssertionError(f"{method}: no answer in {seconds} s")

    def run(self, script):
        """The value of an expression on the page; a promise is waited for."""
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise AssertionError(f"{script}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def wait(self, script, seconds=12):
        """Until an expression holds; what it gives then."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            if value := self.run(script):
                return value
            time.sleep(0.05)
        raise AssertionError(f"{script} does not hold after {seconds} s")

    def open(self, path, anchor=""):
        """Opens a file of the page that `animpack view` makes, and waits until it shows a take or says why not."""
        self.call("Page.navigate", url="about:blank")
        self.call("Page.navigate", url=Path(path).resolve().as_uri() + anchor)
        self.wait(
            "document.readyState === 'complete' && (document.body.dataset.shown || "
            "!document.getElementById('empty').hidden)"
        )

    def drawn(self):
        """Waits until what was asked for so far is drawn."""
        self.run(
            "new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(done, 30))))"
        )

    def key(self, key, text=None):
        code, number = KEYS.get(key, ("", ord(key.upper()) if len(key) == 1 else 0))
        more = {"text": text or key} if len(key) == 1 else {}
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, code=code, windowsVirtualKeyCode=number, **more)
        self.drawn()

    def mouse(self, kind, x, y, button="left", **more):
        self.call(
            "Input.dispatchMouseEvent",
            type=kind,
            x=x,
            y=y,
            button=button,
            buttons=0 if kind == "mouseReleased" else 1,
            clickCount=1,
            **more,
        )

    def drag(self, *points):
        self.mouse("mousePressed", *points[0])
        for point in points[1:]:
            self.mouse("mouseMoved", *point)
        self.mouse("mouseReleased", *points[-1])
        self.drawn()

    def picture(self, path=None, **more):
        """The page as PNG bytes, or a part of it: clip={x, y, width, height, scale}."""
        data = base64.b64decode(self.call("Page.captureScreenshot", format="png", **more)["data"])
        if path:
            Path(path).write_bytes(data)
        return data

    def dark(self, is_dark):
        value = "dark" if is_dark else "light"
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": value}])
        self.drawn()
