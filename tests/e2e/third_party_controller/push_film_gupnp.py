"""push_film_gupnp.py INTERFACE URI: GUPnP's control point finds the renderer, pushes a film, pauses,
resumes, seeks and stops it, each step when the event of the one before has come. One JSON object a
step."""

import json
import sys
import time
import xml.etree.ElementTree as ElementTree

import gi

gi.require_version("GUPnP", "1.6")
gi.require_version("GSSDP", "1.6")
from gi.repository import GLib, GObject, GSSDP, GUPnP  # noqa: E402

LIMIT = 30.0  # seconds, for each thing that is waited for
SILENCE = 3.0  # seconds, after which it subscribes anew
SPACE = "{urn:schemas-upnp-org:metadata-1-0/AVT/}"
DIDL = ('<DIDL-Lite xmlns="urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/" '
        'xmlns:dc="http://purl.org/dc/elements/1.1/" '
        'xmlns:upnp="urn:schemas-upnp-org:metadata-1-0/upnp/"><item id="1" parentID="0" '
        'restricted="1"><dc:title>A film from elsewhere</dc:title>'
        '<upnp:class>object.item.videoItem</upnp:class>'
        '<res protocolInfo="http-get:*:video/mp4:*">{}</res></item></DIDL-Lite>')


def until(condition, what):
    """Lets GUPnP work until there is a true value of condition()."""
    end = time.monotonic() + LIMIT
    waking = GLib.timeout_add(50, lambda: True)
    try:
        while True:
            value = condition()
            if value:
                return value
            if time.monotonic() > end:
                sys.exit(f"failed: waited in vain for {what}")
            GLib.MainContext.default().iteration(True)
    finally:
        GLib.source_remove(waking)


def seconds(text):
    hours, minutes, rest = text.split(":")
    return int(hours) * 3600 + int(minutes) * 60 + int(float(rest))


class Renderer:
    def __init__(self, proxy):
        self.transport = proxy.get_service("urn:schemas-upnp-org:service:AVTransport:1")
        self.states = []
        self.transport.add_notify("LastChange", GObject.TYPE_STRING, self.on_last_change, None)
        self.subscribe()

    def subscribe(self):
        self.transport.set_subscribed(False)
        self.transport.set_subscribed(True)
        self.heard = time.monotonic()

    def on_last_change(self, _service, _variable, text, _data):
        self.heard = time.monotonic()
        for state in ElementTree.fromstring(text).iter(SPACE + "TransportState"):
            self.states.append(state.get("val"))

    def call(self, action, *outputs, **inputs):
        inputs = {"InstanceID": "0", **inputs}
        call = GUPnP.ServiceProxyAction.new_from_list(action, list(inputs), list(inputs.values()))
        self.transport.call_action(call, None)
        _, values = call.get_result_list(list(outputs), [GObject.TYPE_STRING] * len(outputs))
        return values

    def evented(self, *states):
        """Waits until these states have been told of, in this order, since the last time."""
        def told():
            # GUPnP forgets a first event that comes before it has looked at the answer to its
            # subscription, which happens on a busy machine.
            if time.monotonic() - self.heard > SILENCE:
                self.subscribe()
            rest = iter(self.states)
            return all(state in rest for state in states)
        until(told, f"the states {states}, told were {self.states}")
        self.states.clear()

    def position(self):
        position, duration = self.call("GetPositionInfo", "RelTime", "TrackDuration")
        return seconds(position), seconds(duration)


def tell(step, **facts):
    print(json.dumps({"step": step, **facts}), flush=True)


def main():
    interface, uri = sys.argv[1:]
    context = GUPnP.Context.new_full(interface, None, 0, GSSDP.UDAVersion.VERSION_1_0)
    search = GUPnP.ControlPoint.new(context, "urn:schemas-upnp-org:device:MediaRenderer:1")
    found = []
    search.connect("device-proxy-available", lambda _search, proxy: found.append(proxy))
    search.set_active(True)
    renderer = Renderer(until(lambda: found, "a renderer")[0])
    renderer.evented("NO_MEDIA_PRESENT")
    renderer.call("SetAVTransportURI", CurrentURI=uri, CurrentURIMetaData=DIDL.format(uri))
    renderer.call("Play", Speed="1")
    renderer.evented("PLAYING")
    tell("playing")
    renderer.call("Pause")
    renderer.evented("PAUSED_PLAYBACK")
    tell("paused")
    renderer.call("Play", Speed="1")
    renderer.evented("PLAYING")
    tell("playing")
    renderer.call("Seek", Unit="REL_TIME", Target="0:00:30")
    until(lambda: renderer.position()[0] >= 29, "the position of the seek")
    position, duration = renderer.position()
    tell("sought", position=position, duration=duration)
    renderer.call("Stop")
    renderer.evented("STOPPED")
    tell("stopped")


main()
