// A line provider: one kind of telephone line behind one line device of the
// module ("SIP line", "test line"). The module owns one provider object per
// open line; its calls come from the module's exported functions on any
// thread, and each provider runs the line on a ProviderThread of its own.
//
// Every call is a HCALL that the provider takes from LineEvents::newCall().
// A provider offers one call at a time and turns a second caller away busy.
#pragma once

#include <string>

#include "maker/TapiAbi/TapiAbi.h"

// What a provider reports; called on the provider's thread.
class LineEvents {
public:
    virtual ~LineEvents() = default;
    virtual HCALL newCall(bool incoming) = 0;
    // An incoming call: OFFERING, then the caller's identity when known.
    virtual void offered(HCALL call, const std::string& number, const std::string& name) = 0;
    // Any other LINECALLSTATE_ (mode: LINEDISCONNECTMODE_ for DISCONNECTED).
    // A call always ends DISCONNECTED then IDLE, with its recording finished
    // before DISCONNECTED.
    virtual void callState(HCALL call, TAPIDWORD state, TAPIDWORD mode = 0) = 0;
    // The offered call rang once more; count is 1 for the first ring.
    virtual void ringing(int count) = 0;
    virtual void playDone(HCALL call) = 0;
    // Whether the line can place a call now (a dial tone); a line opens in
    // service unless its provider says otherwise.
    virtual void inService(bool yes) = 0;
    // The line stopped working by itself: why (a NAVOERR_ value, 0 unknown).
    // Reported once; the line is closed by its owner afterwards.
    virtual void lineClosed(LONG reason) = 0;
};

class LineProvider {
public:
    virtual ~LineProvider() = default;
    // Starts listening for calls; 0, a LINEERR_ or a NAVOERR_.
    virtual LONG open(LineEvents& events) = 0;
    // Ends any call (without reporting it) and stops the provider's thread.
    virtual void close() = 0;
    virtual LONG answer(HCALL call) = 0;
    virtual LONG drop(HCALL call) = 0;
    virtual LONG makeCall(const std::string& number, HCALL& call) = 0;
    virtual LONG playFile(HCALL call, const std::string& path) = 0;
    virtual LONG recordFile(HCALL call, const std::string& path) = 0;
    virtual LONG pauseRecord(HCALL call, bool pause) = 0;
    virtual LONG stopMedia(HCALL call) = 0;
    // Stops playing only: a recording of the call goes on.
    virtual LONG stopPlay(HCALL call) = 0;
    // The caller's recent peak, 0-32767, while recording (navoLineGetLevel).
    virtual LONG inputLevel(HCALL call, int& level) = 0;
    // Whether the next call answered or placed sends the user's microphone
    // (input: the sound server's description of it, "" for its first).
    // True when it will be sent; lines without sound of their own cannot.
    virtual bool useMicrophone(bool, const std::string&) { return false; }
};
