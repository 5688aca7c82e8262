#!/usr/bin/env python3
"""What stands beside the renderer in its home: a media server, and the machine's own name."""

import http.server
import socket
import struct
import subprocess
import threading
import unittest
from xml.sax.saxutils import escape

from networks import DEADLINE, LIBC, SBUS, Home, check, get, until

CLONE_NEWUTS = 0x04000000
AVT = "urn:schemas-upnp-org:service:AVTransport:1"
DIRECTORY = "urn:schemas-upnp-org:service:ContentDirectory:1"
DESCRIPTION = f"""<root xmlns="urn:schemas-upnp-org:device-1-0"><device><serviceList><service>
<serviceType>{DIRECTORY}</serviceType><serviceId>urn:upnp-org:serviceId:ContentDirectory</serviceId>
<controlURL>/control</controlURL></service></serviceList></device></root>"""
SONGS = "".join(f"<item id='{number}'><res protocolInfo='http-get:*:audio/mpeg:*'>"
                f"http://192.0.2.1/{number}.mp3</res></item>" for number in range(3))
ANSWER = f"""<Envelope><Body><BrowseResponse><Result>{escape(f"<DIDL-Lite>{SONGS}</DIDL-Lite>")}
</Result><NumberReturned>3</NumberReturned><TotalMatches>3</TotalMatches></BrowseResponse></Body>
</Envelope>"""


class Directory(http.server.BaseHTTPRequestHandler):
    def answer(self, text):
        self.send_response(200)
        self.send_header("Content-Length", str(len(text)))
        self.end_headers()
        self.wfile.write(text.encode())

    def do_GET(self):
        self.answer(DESCRIPTION)

    def do_POST(self):
        self.rfile.read(int(self.headers["Content-Length"]))
        self.answer(ANSWER)

    def log_message(self, *_):
        pass


class Ipv6Server(http.server.ThreadingHTTPServer):
    address_family = socket.AF_INET6


class TheHome(Home):

    def call(self, location, action, arguments):
        host, port = location.split("/")[2].rsplit(":", 1)
        body = (f"<s:Envelope xmlns:s='http://schemas.xmlsoap.org/soap/envelope/'><s:Body>"
                f"<u:{action} xmlns:u='{AVT}'><InstanceID>0</InstanceID>{arguments}</u:{action}>"
                f"</s:Body></s:Envelope>")
        with socket.create_connection((host.strip("[]"), int(port)), DEADLINE) as connection:
            connection.sendall((f"POST /AVTransport/control HTTP/1.1\r\nHost: {host}:{port}\r\n"
                                f"SOAPACTION: \"{AVT}#{action}\"\r\nConnection: close\r\n"
                                f"Content-Length: {len(body)}\r\n\r\n{body}").encode())
            answer = b""
            while piece := connection.recv(4096):
                answer += piece
        return answer.decode()

    def serve_directory(self, udn, address, interface, group):
        """A media server on an address of IPv6 that hears searches of one group."""
        server = Ipv6Server((address, 0), Directory)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        location = f"http://[{address}]:{server.server_address[1]}/desc.xml"
        ear = socket.socket(socket.AF_INET6, socket.SOCK_DGRAM)
        self.addCleanup(ear.close)
        index = socket.if_nametoindex(interface)
        ear.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        ear.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_JOIN_GROUP,
                       socket.inet_pton(socket.AF_INET6, group) + struct.pack("@I", index))
        ear.bind((group, 1900, 0, index))
        voice = socket.socket(socket.AF_INET6, socket.SOCK_DGRAM)
        self.addCleanup(voice.close)
        voice.bind((address, 0))

        def listen():
            while True:
                try:
                    question, asker = ear.recvfrom(2048)
                except OSError:
                    return
                if f"ST: {udn}\r\n".encode() in question:
                    voice.sendto(f"HTTP/1.1 200 OK\r\nLOCATION: {location}\r\nST: {udn}\r\n"
                                 f"USN: {udn}\r\n\r\n".encode(), asker)
        threading.Thread(target=listen, daemon=True).start()

    def test_may_have_its_media_server_on_ipv6(self):
        self.lay_cable(1, "2001:db8:1::1/64", "2001:db8:1::2/64")
        self.start()
        location, = self.ssdp("2001:db8:1::2", "p1").found()
        self.write("mPlayerControlAuthorization", "0")
        for group in ("ff02::c", "ff05::c"):
            with self.subTest(group=group):
                udn = f"uuid:heard-in-{group[:4]}"
                self.serve_directory(udn, "2001:db8:1::2", "p1", group)
                uri = f"dlna-playcontainer://{udn.replace(':', '%3A')}?cid=1"
                self.assertIn(" 200 ", self.call(
                    location, "SetAVTransportURI", f"<CurrentURI>{uri}</CurrentURI>"
                    "<CurrentURIMetaData></CurrentURIMetaData>"))
                until(lambda: "<NrTracks>3</NrTracks>" in self.call(location, "GetMediaInfo", ""),
                      "the container's songs")
                self.call(location, "SetAVTransportURI",
                          "<CurrentURI></CurrentURI><CurrentURIMetaData></CurrentURIMetaData>")

    def test_gives_the_renderer_the_name_that_the_machine_has_when_it_starts(self):
        check(LIBC.unshare(CLONE_NEWUTS))
        self.lay_cable(1, "10.1.0.1/24", "10.1.0.2/24")
        ssdp = self.ssdp("10.1.0.2", "p1")
        for name in ("salon", "kitchen"):
            socket.sethostname(name)
            daemon = self.start()
            location, = ssdp.found()
            self.assertIn(f"<friendlyName>Ketra TV ({name})</friendlyName>", get(location)[1])
            shown = subprocess.run([SBUS, "show", "MediaRendererService"], check=True,
                                   stdout=subprocess.PIPE, text=True,
                                   env={"DBUS_SESSION_BUS_ADDRESS": self.bus_address}).stdout
            self.assertIn(f"Ketra TV ({name})", shown)
            self.assertIn("Ketra TV (%h)", shown)
            daemon.terminate()
            self.assertEqual(daemon.wait(DEADLINE), 0)
            ssdp.answers()


if __name__ == "__main__":
    unittest.main()
