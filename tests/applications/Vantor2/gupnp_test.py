"""Events of the renderer daemon as GUPnP's control point hears them, which many controllers are
made with."""

import sys
import time
import unittest
import xml.etree.ElementTree as ElementTree

import gi
from networks import RENDERER, Home

gi.require_version("GUPnP", "1.6")
gi.require_version("GSSDP", "1.6")
from gi.repository import GLib, GObject, GSSDP, GUPnP  # noqa: E402

TIMES = 20
PATIENCE = 5.0  # seconds
FIRST = {"AVTransport": "TransportState", "RenderingControl": "Volume",
         "ConnectionManager": "SinkProtocolInfo"}


class GUPnPsControlPoint(Home):

    def until(self, condition, what):
        """Lets GUPnP work until there is a true value of condition()."""
        end = time.monotonic() + PATIENCE
        waking = GLib.timeout_add(10, lambda: True)
        try:
            while not (value := condition()):
                self.assertLess(time.monotonic(), end, f"waited in vain for {what}")
                GLib.MainContext.default().iteration(True)
            return value
        finally:
            GLib.source_remove(waking)

    def test_hears_the_first_event_of_every_subscription(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        self.start()
        context = GUPnP.Context.new_full("p0", None, 0, GSSDP.UDAVersion.VERSION_1_0)
        search = GUPnP.ControlPoint.new(context, RENDERER)
        found = []
        search.connect("device-proxy-available", lambda _search, proxy: found.append(proxy))
        search.set_active(True)
        (device,) = self.until(lambda: found, "the renderer")
        heard = {}

        def take(_service, variable, text, name):
            # Positions and other news apart, the first one tells the whole state.
            heard.setdefault(name, set()).update(
                node.tag.split("}")[-1] for node in ElementTree.fromstring(text).iter()
                if node.get("val")) if variable == "LastChange" else \
                heard.setdefault(name, set()).add(variable)
        services = {}
        for name in FIRST:
            services[name] = device.get_service(f"urn:schemas-upnp-org:service:{name}:1")
            for variable in ("SinkProtocolInfo",) if name == "ConnectionManager" else \
                    ("LastChange",):
                services[name].add_notify(variable, GObject.TYPE_STRING, take, name)
        for times in range(TIMES):
            heard.clear()
            for service in services.values():
                service.set_subscribed(True)
            self.until(lambda: all(variable in heard.get(name, ())
                                   for name, variable in FIRST.items()),
                       f"the first events of subscription {times + 1}; heard was {heard}")
            for service in services.values():
                service.set_subscribed(False)
        search.set_active(False)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[1:]])
