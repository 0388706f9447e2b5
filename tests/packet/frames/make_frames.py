#!/usr/bin/python3
"""Writes frames.pcap and frames.pcapng: frames as another program builds them (Debian: python3-scapy).

Usage: make_frames.py DIRECTORY. The tables in ForeignFramesTest.cpp say what is expected of each,
by its number in its file.
"""
import sys

from scapy.all import (ARP, BOOTP, DHCP, DNS, DNSQR, GRE, ICMP, IP, LLC, STP, TCP, UDP, Dot1AD, Dot1Q, Dot3, Ether,
                       ICMPv6EchoRequest, ICMPv6MLReport, ICMPv6ND_NS, ICMPv6NDOptSrcLLAddr, IPOption_Router_Alert,
                       IPOption_RR, IPv6, IPv6ExtHdrDestOpt, IPv6ExtHdrFragment, IPv6ExtHdrHopByHop, Padding,
                       PPPoED, Raw, RouterAlert, fragment)
from scapy.contrib.igmp import IGMP
from scapy.contrib.lldp import (LLDPDU, LLDPDUChassisID, LLDPDUEndOfLLDPDU, LLDPDUPortID,
                                LLDPDUTimeToLive)
from scapy.contrib.mpls import MPLS
from scapy.contrib.ospf import OSPF_Hdr, OSPF_Hello
from scapy.layers.vxlan import VXLAN
from scapy.utils import PcapNgWriter, PcapWriter

ROUTER = "02:00:a1:00:00:01"
HOST = "00:00:00:00:0a:05"
OTHER = "00:00:00:00:0a:06"
BROADCAST = "ff:ff:ff:ff:ff:ff"


def ether(dst=ROUTER, src=HOST):
    return Ether(dst=dst, src=src)


def ip(dst="10.2.0.9", **fields):
    return IP(src="10.1.0.5", dst=dst, id=7, **fields)


def ip6(dst="2001:db8:2::9", **fields):
    return IPv6(src="2001:db8:1::5", dst=dst, **fields)


def udp():
    return UDP(sport=1024, dport=5000) / Raw(b"x" * 32)


def cut(frame, size):
    """What a capture with this snap length holds of it."""
    held = Ether(bytes(frame)[:size])
    held.wirelen = len(bytes(frame))
    return held


def plain():
    """IPv4, ARP and what is neither."""
    yield ether() / ip(ttl=64) / udp()
    yield ether() / Dot1Q(vlan=10, prio=5) / ip(ttl=2) / TCP(sport=1024, dport=443, flags="S", options=[("MSS", 1460)])
    yield ether() / ip(ttl=1) / udp()
    yield ether() / ip(ttl=64, options=[IPOption_Router_Alert()]) / udp()
    yield ether() / ip(ttl=64, options=[IPOption_RR(routers=["0.0.0.0"] * 3)]) / ICMP(id=1, seq=1)
    yield ether() / ip(ttl=64, chksum=0x1234) / udp()
    yield fragment(ether() / ip(ttl=64) / UDP(sport=1024, dport=4789) / Raw(b"y" * 200), fragsize=96)[1]
    yield ether() / ip("10.99.0.1", ttl=64) / TCP(sport=1024, dport=80, flags="S")
    yield ether() / ip("10.3.0.1", ttl=64) / ICMP(id=1, seq=2)
    yield ether(BROADCAST) / ARP(op="who-has", hwsrc=HOST, psrc="10.1.0.5", hwdst="00:00:00:00:00:00", pdst="10.1.0.1")
    yield ether() / ARP(op="is-at", hwsrc=HOST, psrc="10.1.0.5", hwdst=ROUTER, pdst="10.1.0.1")
    yield (ether(BROADCAST) / IP(src="0.0.0.0", dst="255.255.255.255", id=7, ttl=64) / UDP(sport=68, dport=67) /
           BOOTP(chaddr=bytes.fromhex("000000000a05"), xid=9) / DHCP(options=[("message-type", "discover"), "end"]))
    yield ether("01:00:5e:00:00:05") / ip("224.0.0.5", ttl=1) / OSPF_Hdr(src="10.1.0.5") / OSPF_Hello()
    yield (ether("01:00:5e:01:02:03") / ip("239.1.2.3", ttl=1, options=[IPOption_Router_Alert()], proto=2) /
           IGMP(type=0x16, gaddr="239.1.2.3"))
    yield ether() / ip(ttl=64) / UDP(sport=1024, dport=53) / DNS(id=3, qd=DNSQR(qname="example.net"))
    yield ether() / ip(ttl=64, len=28) / UDP(sport=1024, dport=5000, len=8) / Padding(b"\0" * 18)
    yield ether() / ip(ttl=64) / GRE() / IP(src="192.0.2.7", dst="192.0.2.8", id=7) / ICMP(id=1, seq=3)
    yield ether(OTHER) / Dot1AD(vlan=10) / Dot1Q(vlan=20) / ip(ttl=64) / udp()
    yield Dot3(dst="01:80:c2:00:00:00", src=HOST) / LLC(dsap=0x42, ssap=0x42, ctrl=3) / STP()
    yield (ether("01:80:c2:00:00:0e") / LLDPDUChassisID(subtype=4, id=HOST) /
           LLDPDUPortID(subtype=7, id="1") / LLDPDUTimeToLive(ttl=120) / LLDPDUEndOfLLDPDU())
    yield ether(BROADCAST) / PPPoED(code=9)
    yield ether() / ip(ttl=64, ihl=4) / udp()
    yield ether() / ip(ttl=64, len=1400) / udp()
    yield ether() / Dot1Q(vlan=10) / Dot1Q(vlan=20, prio=3, id=1) / ip(ttl=64) / udp()
    yield ether() / Dot1Q(vlan=10) / Dot1Q(vlan=20) / Dot1Q(vlan=30) / ip(ttl=64) / udp()
    yield ether() / ip(ttl=64, len=10) / udp()
    yield ether(src="01:00:5e:00:00:09") / ip(ttl=64) / udp()
    yield cut(ether() / ip(ttl=64) / TCP(sport=1024, dport=443, flags="S") / Raw(b"c" * 64), 38)
    yield cut(ether() / ip(ttl=64) / udp(), 20)


def layered():
    """IPv6, labels and tunnels."""
    yield ether() / ip6(hlim=64) / udp()
    yield ether() / ip6(hlim=1) / udp()
    yield ether() / ip6(hlim=64) / IPv6ExtHdrHopByHop(options=[RouterAlert()]) / udp()
    yield ether() / ip6(hlim=64) / IPv6ExtHdrDestOpt() / TCP(sport=1024, dport=179)
    yield ether() / ip6(hlim=64) / IPv6ExtHdrFragment(offset=20, id=5, nh=17) / Raw(b"z" * 64)
    yield ether() / ip6("2001:db8:99::1", hlim=64) / ICMPv6EchoRequest(id=1, seq=1)
    yield (ether("33:33:ff:00:00:01") / ip6("ff02::1:ff00:1", hlim=255) / ICMPv6ND_NS(tgt="2001:db8:1::1") /
           ICMPv6NDOptSrcLLAddr(lladdr=HOST))
    yield (ether("33:33:00:00:00:16") / IPv6(src="fe80::5", dst="ff02::16", hlim=1) /
           IPv6ExtHdrHopByHop(options=[RouterAlert()]) / ICMPv6MLReport(mladdr="ff05::9"))
    yield ether() / MPLS(label=100, s=0, ttl=9) / MPLS(label=200, s=1, ttl=64) / ip(ttl=64) / udp()
    yield ether() / MPLS(label=300, s=1, ttl=1) / ip6(hlim=64) / udp()
    yield ether() / IPv6(src="fe80::5", dst="2001:db8:2::9") / udp()
    yield ether() / ip6(hlim=64) / IPv6ExtHdrFragment(offset=0, m=1, id=6, nh=17) / udp()
    inner = Ether(dst="00:00:00:00:07:07", src="00:00:00:00:09:09") / IP(
        src="10.9.0.1", dst="10.7.0.7", id=7) / ICMP(id=1, seq=4)
    outer = IP(src="192.0.2.2", dst="192.0.2.1", id=7, ttl=60)
    yield ether(src="00:00:00:00:08:08") / outer / UDP(sport=50000, dport=4789, chksum=0) / VXLAN(
        vni=5030, flags=8) / inner
    yield ether(src="00:00:00:00:08:08") / outer / UDP(sport=50000, dport=4789, chksum=0) / VXLAN(
        vni=5999, flags=8) / inner
    to_router = Ether(dst=ROUTER, src="00:00:00:00:09:09") / IP(
        src="10.9.0.1", dst="10.2.0.9", id=7) / udp()
    yield ether(src="00:00:00:00:08:08") / outer / UDP(sport=50000, dport=4789, chksum=0) / VXLAN(
        vni=5030, flags=8) / to_router
    tagged = Ether(dst="00:00:00:00:07:07", src="00:00:00:00:09:09") / Dot1Q(vlan=7) / inner.payload
    vxlan = UDP(sport=50000, dport=4789, chksum=0) / VXLAN(vni=5030, flags=8)
    yield ether(src="00:00:00:00:08:08") / outer / vxlan / tagged
    yield cut(ether(src="00:00:00:00:08:08") / outer / vxlan / to_router, 96)


def write(writer, frames):
    for number, frame in enumerate(frames):
        frame.time = number
        writer.write(frame)
    writer.close()


if __name__ == "__main__":
    directory = sys.argv[1]
    write(PcapWriter(directory + "/frames.pcap", linktype=1), plain())
    write(PcapNgWriter(directory + "/frames.pcapng"), layered())
