// A kernel filter on the SIP stack's UDP sockets that drops, before the
// stack sees them, datagrams no SIP peer sends: longer than kMaxDatagram, or
// not starting with a capital letter (a request method or "SIP/2.0") or a
// line end (a keep-alive).
//
// Why: the stack keeps a datagram with no line end in the sender's input
// buffer and glues the next one from that sender to it; with 64 KB of junk
// its search for a message start takes seconds, during which no other
// request (a real caller's INVITE) is handled. Short datagrams cost it
// nothing worth speaking of.
#pragma once

class DatagramGuard {
public:
    // A real SIP request over UDP fits in far less: RFC 3261 sends anything
    // near the path's MTU over TCP instead.
    static constexpr int kMaxDatagram = 8192;

    // Puts the filter on every UDP socket of this process bound to port
    // (IPv4 and IPv6); how many it guarded.
    static int guardPort(int port);
};
