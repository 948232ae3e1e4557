# SPDX-License-Identifier: GPL-3.0-or-later
"""Where the multiplexer is: USBMUXD_SOCKET_ADDRESS names a socket file or a TCP address."""

import os
import socket
import threading
import unittest

from harness import DeviceTest


class Bridge:
    """Carries TCP connections of one port on to a UNIX socket, both ways, until it is closed."""

    def __init__(self, target):
        self.target = target
        self.ends = []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                near, _ = self.listener.accept()
            except OSError:
                return
            far = socket.socket(socket.AF_UNIX)
            self.ends += [near, far]
            far.connect(self.target)
            for source, sink in ((near, far), (far, near)):
                threading.Thread(target=self.carry, args=(source, sink), daemon=True).start()

    @staticmethod
    def carry(source, sink):
        try:
            while block := source.recv(1 << 16):
                sink.sendall(block)
            sink.shutdown(socket.SHUT_WR)
        except OSError:
            pass

    def close(self):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        for end in self.ends:
            end.close()


class MultiplexerAddress(DeviceTest):
    def mounts_at(self, address):
        simulator = self.start_simulator()
        bridge = Bridge(simulator.socket)
        self.addCleanup(bridge.close)
        simulator.environment["USBMUXD_SOCKET_ADDRESS"] = address.format(bridge.port)
        quillbox = self.start_quillbox(simulator)
        volume = quillbox.wait_mounted("Blue Phone (Media)")
        self.assertIn("DCIM", os.listdir(volume))
        simulator.ctl("detach", simulator.udids[0])
        quillbox.wait_gone("Blue Phone (Media)", 10)

    def test_a_tcp_address_leads_to_the_devices(self):
        self.mounts_at("127.0.0.1:{}")

    def test_a_host_name_leads_to_the_devices(self):
        self.mounts_at("localhost:{}")

    def test_an_address_that_is_none_is_told_and_harms_nothing(self):
        simulator = self.start_simulator()
        simulator.environment["USBMUXD_SOCKET_ADDRESS"] = "nowhere-at-all"
        quillbox = self.start_quillbox(simulator)
        quillbox.wait_log("The device service is not running")
        self.assertEqual(quillbox.terminate(), 0)


if __name__ == "__main__":
    unittest.main()
