"""A headless Chromium, driven through its DevTools protocol over two pipes."""

import json
import os
import select
import subprocess
import tempfile
import time

COMMAND = ("chromium", "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
           "--no-first-run", "--disable-extensions", "--disable-background-networking",
           "--remote-debugging-pipe", "--window-size=1200,800")
PATIENCE = 60


class Browser:
    """One page of one browser, which ends with the `with` block."""

    def __init__(self) -> None:
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        to_read, self.requests = os.pipe()
        self.answers, to_write = os.pipe()

        def connect() -> None:
            # The browser reads its third and writes its fourth descriptor.
            reading, writing = os.dup(to_read), os.dup(to_write)
            os.dup2(reading, 3)
            os.dup2(writing, 4)

        self.process = subprocess.Popen(
            [*COMMAND, f"--user-data-dir={self.profile.name}", "about:blank"], preexec_fn=connect,
            close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_read)
        os.close(to_write)
        self.buffer = b""
        self.number = 0
        self.session = None
        self.events: list[dict] = []
        targets = self.call("Target.getTargets")["targetInfos"]
        page = next(target for target in targets if target["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=page["targetId"],
                                 flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.call(f"{domain}.enable")

    def __enter__(self) -> "Browser":
        return self

    def __exit__(self, *_: object) -> None:
        self.process.terminate()
        self.process.wait(PATIENCE)
        os.close(self.requests)
        os.close(self.answers)
        self.profile.cleanup()

    def _message(self) -> dict:
        while b"\0" not in self.buffer:
            if not select.select([self.answers], [], [], PATIENCE)[0]:
                raise AssertionError("the browser does not answer")
            portion = os.read(self.answers, 1 << 16)
            if not portion:
                raise AssertionError("the browser has ended")
            self.buffer += portion
        message, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(message)

    def call(self, method: str, **parameters: object) -> dict:
        self.number += 1
        request = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            request["sessionId"] = self.session
        os.write(self.requests, json.dumps(request).encode() + b"\0")
        while True:
            message = self._message()
            if message.get("id") == self.number:
                if "error" in message:
                    raise AssertionError(f"{method}: {message['error']}")
                return message["result"]
            self.events.append(message)

    def open(self, url: str) -> None:
        self.call("Page.navigate", url=url)
        self.wait("document.readyState === 'complete' && location.href !== 'about:blank'")

    def value(self, expression: str) -> object:
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in result:
            raise AssertionError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def wait(self, condition: str) -> None:
        end = time.monotonic() + PATIENCE
        while not self.value(condition):
            if time.monotonic() > end:
                raise AssertionError(f"never true: {condition}")
            time.sleep(0.02)

    def click(self, element: str) -> None:
        """A click of the mouse in the middle of what the expression `element` yields."""
        x, y = self.value(f"(() => {{ const box = {element}.getBoundingClientRect();"
                          "return [box.x + box.width / 2, box.y + box.height / 2]; })()")
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)

    def type(self, text: str) -> None:
        self.call("Input.insertText", text=text)

    def heard(self, method: str) -> list[dict]:
        return [event["params"] for event in self.events if event["method"] == method]
