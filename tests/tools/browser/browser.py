"""A headless browser that is driven through its debugging pipe, without any package but Python itself."""
import base64
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time

SKIPPED = 77


def program():
    """The browser of this machine; ends the test as skipped when there is none."""
    for name in ("chromium", "chromium-browser", "google-chrome"):
        if shutil.which(name):
            return name
    print("skipped: no browser is installed")
    sys.exit(SKIPPED)


class Browser:
    def __init__(self, url, width=1280, height=900, dark=False):
        self.folder = tempfile.mkdtemp(prefix="dib-browser-")
        to_browser, commands = os.pipe()
        answers, from_browser = os.pipe()

        def hand_over():
            # High numbers first, so that neither end is overwritten by the other's move.
            os.dup2(to_browser, 103)
            os.dup2(from_browser, 104)
            os.dup2(103, 3)
            os.dup2(104, 4)

        sandbox = ["--no-sandbox"] if os.geteuid() == 0 else []
        self.process = subprocess.Popen(
            [program(), "--headless=new", "--remote-debugging-pipe", "--disable-gpu", "--no-first-run",
             f"--user-data-dir={self.folder}", *sandbox, "about:blank"],
            preexec_fn=hand_over, close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.commands = commands
        self.answers = answers
        self.pending = b""
        self.number = 0
        self.events = []
        self.tab = None
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.tab = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Runtime", "Log", "Page"):
            self.call(f"{domain}.enable")
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                  mobile=width < 600)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])
        self.call("Page.navigate", url=url)
        self.wait_until("document.readyState === 'complete'")

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.process.kill()
        self.process.wait()
        os.close(self.commands)
        os.close(self.answers)
        shutil.rmtree(self.folder, ignore_errors=True)

    def receive(self):
        while b"\0" not in self.pending:
            block = os.read(self.answers, 1 << 20)
            if not block:
                raise RuntimeError("the browser has ended")
            self.pending += block
        message, self.pending = self.pending.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.tab:
            message["sessionId"] = self.tab
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self.commands, data):]
        while True:
            answer = self.receive()
            if answer.get("id") != self.number:
                self.events.append(answer)
            elif "error" in answer:
                raise RuntimeError(f"{method}: {answer['error']['message']}")
            else:
                return answer["result"]

    def value(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def becomes(self, expression):
        """Whether an expression is true, now or soon: a page answers to a key when it comes to it."""
        for _ in range(200):
            if self.value(expression):
                return True
            time.sleep(0.05)
        return False

    def wait_until(self, expression):
        if not self.becomes(expression):
            raise RuntimeError(f"never became true: {expression}")

    def press(self, key, code=None, text=None):
        numbers = {"Enter": 13, "Escape": 27, "Tab": 9, "ArrowLeft": 37, "ArrowRight": 39, "Home": 36, "End": 35}
        details = {"key": key, "code": code or key, "windowsVirtualKeyCode": numbers[key]}
        if key == "Enter":
            details["text"] = "\r"
        self.call("Input.dispatchKeyEvent", type="keyDown", **details)
        self.call("Input.dispatchKeyEvent", type="keyUp", **details)

    def complaints(self):
        """What the console was told: errors, warnings and uncaught exceptions."""
        self.value("new Promise(done => setTimeout(done, 100))")
        return [event for event in self.events
                if event.get("method") in ("Runtime.exceptionThrown", "Log.entryAdded")
                or event.get("method") == "Runtime.consoleAPICalled"]

    def screenshot(self, path, whole=False):
        data = self.call("Page.captureScreenshot", format="png", captureBeyondViewport=whole)["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))
