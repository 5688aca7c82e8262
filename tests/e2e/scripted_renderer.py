"""A renderer that a test plays itself: it is found as any other, and says what the test wants."""

import os
import threading

import gi

gi.require_version("GSSDP", "1.6")
gi.require_version("GUPnP", "1.6")
from gi.repository import Gio, GLib, GObject, GSSDP, GUPnP  # noqa: E402

_DESCRIPTION = """<?xml version="1.0"?>
<root xmlns="urn:schemas-upnp-org:device-1-0">
<specVersion><major>1</major><minor>0</minor></specVersion>
<device>
<deviceType>urn:schemas-upnp-org:device:MediaRenderer:1</deviceType>
<friendlyName>Scripted</friendlyName><manufacturer>a test</manufacturer>
<modelName>Scripted</modelName><UDN>uuid:9d3a1c52-6a0e-4d0c-8f4e-2b6f1b6f0a77</UDN>
<serviceList><service>
<serviceType>urn:schemas-upnp-org:service:AVTransport:1</serviceType>
<serviceId>urn:upnp-org:serviceId:AVTransport</serviceId>
<SCPDURL>/service.xml</SCPDURL><controlURL>/control</controlURL><eventSubURL>/events</eventSubURL>
</service></serviceList>
</device></root>
"""
_SERVICE = """<?xml version="1.0"?>
<scpd xmlns="urn:schemas-upnp-org:service-1-0">
<specVersion><major>1</major><minor>0</minor></specVersion>
<actionList><action><name>Play</name></action></actionList>
<serviceStateTable/></scpd>
"""


class ScriptedRenderer:
    """`uri` is what it was given, `looks` how often its position was asked for. `told` is called with
    `looks` and gives what the next look sees: (track's address, transport state). `position` is where
    it says to be in its ten minutes."""

    def __init__(self, folder, told):
        self.uri = ""
        self.looks = 0
        self.position = "0:00:01"
        self._told = told
        self._device = None
        for name, text in (("device.xml", _DESCRIPTION), ("service.xml", _SERVICE)):
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(text)
        started = threading.Event()
        self._loop = GLib.MainLoop()
        self._thread = threading.Thread(target=self._run, args=(folder, started), daemon=True)
        self._thread.start()
        if not started.wait(10):
            raise AssertionError("the scripted renderer does not start")

    def _run(self, folder, started):
        address = Gio.InetAddress.new_from_string(os.environ["KETRA_PHONE_ADDRESS"])
        context = GUPnP.Context.new_for_address(address, 0, GSSDP.UDAVersion.VERSION_1_0)
        device = GUPnP.RootDevice.new(context, "device.xml", folder)
        service = device.get_service("urn:schemas-upnp-org:service:AVTransport:1")
        for action in ("SetAVTransportURI", "Play", "Stop", "GetTransportInfo", "GetPositionInfo"):
            service.connect("action-invoked::" + action, self._answer)
        device.set_available(True)
        GLib.idle_add(started.set)
        self._device = device
        self._loop.run()

    def _answer(self, _service, action):
        name = action.get_name()
        answers = {}
        if name == "SetAVTransportURI":
            self.uri = action.get_value("CurrentURI", GObject.TYPE_STRING)
        elif name == "GetTransportInfo":
            answers = {"CurrentTransportState": self._told(self.looks)[1],
                       "CurrentTransportStatus": "OK", "CurrentSpeed": "1"}
        elif name == "GetPositionInfo":
            answers = {"TrackURI": self._told(self.looks)[0], "TrackDuration": "0:10:00",
                       "RelTime": self.position}
            self.looks += 1
        for argument, text in answers.items():
            action.set_value(argument, text)
        action.return_success()

    def leave(self):
        """Takes leave of the network, where its address goes on answering."""
        GLib.idle_add(self._device.set_available, False)

    def close(self):
        """Is gone without a word."""
        self._loop.quit()
        self._thread.join(10)
