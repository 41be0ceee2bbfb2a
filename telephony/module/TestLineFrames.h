// The test line's wire format between the module and navo-line, over a Unix
// stream socket: frames of one type byte, a 32-bit little-endian payload
// length and the payload. Audio payloads are 8000 Hz 16-bit little-endian
// mono samples.
//
// navo-line -> line                      line -> navo-line
//   'C' call: "rings\tperiod\tnumber\tname"  'R' ring: "n"
//   'W' wait for a call from Navo:          'K' answered (connected)
//       "mode\trings", mode answer, busy    'w' waiting: the line holds the wait
//       or nodialtone (empty: answer, 0)
//   'A' audio: what the caller says         'A' audio: what Navo plays, every 20 ms
//   'H' the caller hangs up                 'B' busy: a call is already up
//   'X' end whatever call is up             'N' not answered: the caller gave up
//   'S' status                              'D' Navo hung up
//                                           'I' Navo calls: "number" (answered now)
//                                           'T' Navo found no dial tone: "number"
//                                           'S' status: "idle" / "ringing" / "connected"
//                                           'E' error: text
// A call request's period 0 means the line's own ring period. A caller who
// asked for n rings gives up half a ring after the n-th. A waiting phone in
// answer mode lets Navo's call ring n times (ring periods of the line) before
// it answers; in busy mode it answers 'B'; in nodialtone mode Navo's call
// finds no dial tone ('T'). With nobody waiting, Navo's call finds the
// number busy.
#pragma once

#include <cstddef>
#include <string>

class TestLineFrames {
public:
    static constexpr std::size_t kMaxPayload = 16 * 1024 * 1024;

    static std::string encode(char type, const std::string& payload = {});

    // Collects bytes as they arrive and hands out whole frames.
    void feed(const char* bytes, std::size_t count);
    // The next whole frame, if any.
    bool next(char& type, std::string& payload);
    // A frame claimed a payload above kMaxPayload: the peer is not speaking
    // this protocol.
    bool broken() const { return m_broken; }

private:
    std::string m_buffer;
    std::size_t m_read = 0;
    bool m_broken = false;
};
