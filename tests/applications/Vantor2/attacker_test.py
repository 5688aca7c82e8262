"""What an attacker gets from the renderer daemon over IPv6 and over a second network: no more than
over the first, and nobody else gets less."""

import socket
import sys
import unittest

from networks import DEADLINE, Home, ip

SHARE = 32  # connections, and subscriptions, of one address


class AnAttacker(Home):

    def setUp(self):
        super().setUp()
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        self.lay_cable(1, "10.2.0.1/24", "10.2.0.2/24")
        self.lay_cable(2, "fd00:3::1/64", "fd00:3::2/64")
        ip("address", "add", "fd00:3::9/64", "dev", "p2", "nodad")
        near = self.ssdp("10.1.0.2", "p0")
        self.start()
        self.port = int(near.found()[0].split("/")[2].rsplit(":", 1)[1])
        self.ssdp("fd00:3::2", "p2").found()  # served there, too

    def connect(self, own, tv):
        family = socket.AF_INET6 if ":" in own else socket.AF_INET
        call = socket.socket(family, socket.SOCK_STREAM)
        self.addCleanup(call.close)
        call.settimeout(DEADLINE)
        call.bind((own, 0))
        call.connect((tv, self.port))
        return call

    def host(self, address):
        return f"[{address}]:{self.port}" if ":" in address else f"{address}:{self.port}"

    def status(self, call, request):
        call.sendall(request.encode())
        return int(call.recv(4096).split()[1])

    def page(self, host):
        return f"HEAD /description.xml HTTP/1.1\r\nHost: {host}\r\n\r\n"

    def subscription(self, tv, callback):
        return ("SUBSCRIBE /AVTransport/event HTTP/1.1\r\n"
                f"Host: {self.host(tv)}\r\nNT: upnp:event\r\nCALLBACK: <{callback}>\r\n\r\n")

    def test_over_ipv6_and_a_second_network_gets_the_same_share(self):
        ways = [("fd00:3::2", "fd00:3::1"), ("10.2.0.2", "10.2.0.1")]
        others = [("fd00:3::9", "fd00:3::1"), ("10.1.0.2", "10.1.0.1")]
        for own, tv in ways:
            mute = [self.connect(own, tv) for _ in range(150)]
            self.assertEqual(self.status(self.connect(own, tv), self.page(self.host(tv))), 200,
                             "who holds too many loses the oldest, not the newest")
            for other, place in others:
                self.assertEqual(self.status(self.connect(other, place),
                                             self.page(self.host(place))), 200)
            cut = 0
            for call in mute:
                call.setblocking(False)
                try:
                    cut += call.recv(1) == b""
                except BlockingIOError:
                    pass
            self.assertGreaterEqual(cut, 150 - SHARE)
            for call in mute:
                call.close()
            call = self.connect(own, tv)
            callback = f"http://{f'[{own}]' if ':' in own else own}:9/"
            statuses = [self.status(call, self.subscription(tv, callback)) for _ in range(60)]
            self.assertEqual({200, 503}, set(statuses))
            self.assertLessEqual(statuses.count(200), SHARE)
        for other, place in others:
            own = f"[{other}]" if ":" in other else other
            self.assertEqual(self.status(self.connect(other, place),
                                         self.subscription(place, f"http://{own}:9/")), 200)

    def test_over_ipv6_is_refused_what_it_is_refused_elsewhere(self):
        own, tv = "fd00:3::2", "fd00:3::1"
        for callback in ("http://[fd00:3::9]:9/", "http://10.1.0.2:9/", "http://[::1]:9/",
                         "http://[::ffff:10.1.0.2]:9/", "http://[fe80::1%25t2]:9/",
                         "http://[fd00:3::2%25t2]:9/", "http://fd00:3::2:9/", "http://[]:9/",
                         "http://[fd00:3::2]:0/", "http://[fd00:3::2]:9/> <http://[fd00:3::9]:9/"):
            self.assertEqual(self.status(self.connect(own, tv), self.subscription(tv, callback)),
                             412, callback)
        for callback in ("http://[fd00:3::2]:9/", "http://[FD00:3:0::2]:9/a?b=c",
                         "http://[fd00:3:0:0:0:0:0:2]/"):
            self.assertEqual(self.status(self.connect(own, tv), self.subscription(tv, callback)),
                             200, callback)
        for host in (f"[{own}]:{self.port}", f"[::1]:{self.port}", f"[{own}]", f"{tv}:{self.port}",
                     f"[{tv}%25t2]:{self.port}", f"[::ffff:10.1.0.1]:{self.port}",
                     f"localhost:{self.port}", f"[{tv}]:1", "[", "[]", ":", ""):
            self.assertEqual(self.status(self.connect(own, tv), self.page(host)), 400, host)
        for host in (f"[{tv}]:{self.port}", f"[FD00:3:0:0::1]:{self.port}", f"[{tv}]"):
            self.assertEqual(self.status(self.connect(own, tv), self.page(host)), 200, host)
        too_long = ("POST /AVTransport/control HTTP/1.1\r\n"
                    f"Host: {self.host(tv)}\r\nContent-Length: 104857600\r\n\r\n")
        self.assertEqual(self.status(self.connect(own, tv), too_long), 413)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[1:]])
