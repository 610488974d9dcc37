"""A real browser without a screen: Chromium, asked through chromedriver in the WebDriver protocol."""

import atexit
import json
import re
import subprocess
import tempfile
import urllib.request

OPTIONS = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
           "--disable-component-update --disable-sync --hide-scrollbars").split()


class Browser:
    def __init__(self):
        self.profile = tempfile.TemporaryDirectory(prefix="kp-browser-", ignore_cleanup_errors=True)
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True)
        atexit.register(self.driver.terminate)  # should it never get a session
        port = next(found[1] for line in self.driver.stdout if (found := re.search(r"successfully on port (\d+)", line)))
        self.open_url = urllib.request.build_opener(urllib.request.ProxyHandler({})).open
        self.session = f"http://127.0.0.1:{port}/session"
        options = {"args": [*OPTIONS, "--user-data-dir=" + self.profile.name]}
        logs = {"browser": "ALL", "performance": "ALL"}
        answer = self.ask("", {"capabilities": {"alwaysMatch": {"goog:chromeOptions": options, "goog:loggingPrefs": logs}}})
        self.session += "/" + answer["sessionId"]
        self.ask("/url", {"url": "about:blank"})  # instead of the page that a browser begins with

    def ask(self, command, body):
        request = urllib.request.Request(self.session + command, json.dumps(body).encode(), {"Content-Type": "application/json"})
        with self.open_url(request, timeout=60) as answer:
            return json.load(answer)["value"]

    def close(self):
        try:
            self.open_url(urllib.request.Request(self.session, method="DELETE"), timeout=60).close()
        finally:
            with self.driver:
                self.driver.terminate()
            self.profile.cleanup()

    def load(self, path):
        """Opens a file; gives what the console says and what addresses it asks."""
        url = path.resolve().as_uri()
        for kind in ("browser", "performance"):
            self.ask("/se/log", {"type": kind})
        self.ask("/url", {"url": url})
        events = [json.loads(entry["message"])["message"] for entry in self.ask("/se/log", {"type": "performance"})]
        requests = [event["params"] for event in events if event["method"] == "Network.requestWillBeSent"]
        return ([entry["message"] for entry in self.ask("/se/log", {"type": "browser"})],
                [request["request"]["url"] for request in requests if request["documentURL"] == url])

    def run(self, script, *arguments):
        """What a function body in JavaScript returns."""
        return self.ask("/execute/sync", {"script": script, "args": list(arguments)})

    def tell(self, command, **parameters):
        """A command of the developer tools' protocol."""
        return self.ask("/goog/cdp/execute", {"cmd": command, "params": parameters})

    def resize(self, width, height=900):
        self.tell("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def prefer(self, scheme, media="screen"):
        self.tell("Emulation.setEmulatedMedia", media=media, features=[{"name": "prefers-color-scheme", "value": scheme}])
