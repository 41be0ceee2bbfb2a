// Outgoing call set-up over the SIP line: from Navo's Ek7TapiDial to the
// callee's 200 OK on the wire, against baresip (a SIP client we did not
// write) dialling the same callee from its command line, taking turns, in
// one run. The callee is baresip answering at once (answermode=auto). The
// 200 OK is timestamped by bench_sip_wiretap on the loopback device; each
// dial's start by this program on the same clock (CLOCK_REALTIME).
//
// Run by bench_dial.sh inside a private network namespace (it needs root):
//   bench_sip_dial --calls N --wiretap PATH --work FOLDER
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTextStream>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/WindowMessages.h"
#include "telephony/TapiBinding.h"

namespace {

constexpr double kTarget = 1.1;
const char* const kCallee = "200@127.0.0.1:5092";

double now()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// The window Ek7TapiOpen posts to: counts the messages of interest.
class Window : public QObject {
public:
    bool event(QEvent* event) override
    {
        if (event->type() != WindowMessageEvent::eventType())
            return QObject::event(event);
        const UINT message = static_cast<WindowMessageEvent*>(event)->message();
        if (message == kEk7MsgConnected)
            ++connected;
        if (message == kEk7MsgIdle)
            ++idle;
        if (message == kEk7MsgDisconnected)
            ++ended;
        return true;
    }
    int connected = 0;
    int ended = 0;
    int idle = 0;
};

bool pumpUntil(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

void writeBaresipFolder(const std::string& folder, const std::string& account, int port, int rtp,
                        const std::string& quiet, bool console)
{
    QDir().mkpath(QString::fromStdString(folder));
    std::ofstream(folder + "/accounts") << account << "\n";
    std::ofstream(folder + "/config") << "sip_listen 127.0.0.1:" << port
                                      << "\nnet_interface 127.0.0.1\naudio_source aufile," << quiet
                                      << "\naudio_player aubridge,nil\nrtp_ports " << rtp << "-" << rtp + 20
                                      << "\nmodule_path /usr/lib/baresip/modules\n"
                                      << (console ? "module stdio.so\n" : "")
                                      << "module g711.so\nmodule aufile.so\nmodule aubridge.so\nmodule account.so\n"
                                         "module menu.so\n";
}

struct Baresip {
    QProcess process;
    QString output;
    bool waitFor(const QString& text, int from, int timeoutMs)
    {
        return pumpUntil(
            [&] {
                output += QString::fromLocal8Bit(process.readAll());
                return output.indexOf(text, from) >= 0;
            },
            timeoutMs);
    }
};

int body(int argc, char** argv)
{
    const int calls = static_cast<int>(bench::option(argc, argv, "calls", 20));
    const std::string wiretapPath = bench::textOption(argc, argv, "wiretap", "");
    const std::string work = bench::textOption(argc, argv, "work", "");
    if (wiretapPath.empty() || work.empty())
        bench::fail("usage: bench_sip_dial --calls N --wiretap PATH --work FOLDER (run by bench_dial.sh)");

    // Three seconds of silence at the line's rate for both baresips.
    const std::string quiet = work + "/quiet.wav";
    {
        std::ofstream out(quiet, std::ios::binary);
        const std::uint32_t samples = 3 * 8000;
        auto u32 = [&](std::uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
        auto u16 = [&](std::uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
        out << "RIFF";
        u32(36 + samples * 2);
        out << "WAVEfmt ";
        u32(16), u16(1), u16(1), u32(8000), u32(16000), u16(2), u16(16);
        out << "data";
        u32(samples * 2);
        out << std::string(samples * 2, '\0');
    }

    QProcess wiretap;
    const std::string wire = work + "/wire.tsv";
    wiretap.setStandardOutputFile(QString::fromStdString(wire));
    wiretap.start(QString::fromStdString(wiretapPath), {});
    if (!wiretap.waitForStarted(5000))
        bench::fail("bench_sip_wiretap does not start");

    Baresip callee;
    writeBaresipFolder(work + "/callee", "<sip:200@127.0.0.1:5092>;regint=0;answermode=auto", 5092, 7300, quiet,
                       false);
    callee.process.setStandardInputFile(QProcess::nullDevice());
    callee.process.setProcessChannelMode(QProcess::MergedChannels);
    callee.process.start(QStringLiteral("baresip"), {QStringLiteral("-f"), QString::fromStdString(work + "/callee")});
    if (!callee.waitFor(QStringLiteral("baresip is ready"), 0, 10000))
        bench::fail("the callee does not start: " + callee.output.toStdString());

    Baresip caller;
    writeBaresipFolder(work + "/caller", "<sip:caller@127.0.0.1:5094>;regint=0", 5094, 7400, quiet, true);
    caller.process.setProcessChannelMode(QProcess::MergedChannels);
    caller.process.start(QStringLiteral("baresip"), {QStringLiteral("-f"), QString::fromStdString(work + "/caller")});
    if (!caller.waitFor(QStringLiteral("baresip is ready"), 0, 10000))
        bench::fail("the reference caller does not start: " + caller.output.toStdString());

    // Navo: the SIP line alone, direct calls, no account.
    Window window;
    LineState* line = Ek7TapiInitVar();
    line->DeviceId = 0;
    if (Ek7TapiInit(0)->ErrorCode != 0 || Ek7TapiOpen(handleOf(&window))->ErrorCode != 0)
        bench::fail("the SIP line does not open (reason " + std::to_string(line->ErrorCode) + ")");

    auto navoCall = [&]() -> double {
        const int connectedBefore = window.connected;
        const int idleBefore = window.idle;
        const double start = now();
        if (Ek7TapiDial(kCallee)->ErrorCode != 0)
            bench::fail("Ek7TapiDial failed with reason " + std::to_string(line->ErrorCode));
        if (!pumpUntil([&] { return window.connected > connectedBefore; }, 10000))
            bench::fail("Navo's call was not answered");
        lineDrop(line->CallHandle, nullptr, 0);
        if (!pumpUntil([&] { return window.idle > idleBefore; }, 10000))
            bench::fail("Navo's call did not end");
        return start;
    };
    auto baresipCall = [&]() -> double {
        const int from = caller.output.size();
        const int calleeFrom = callee.output.size();
        const double start = now();
        caller.process.write("/dial sip:200@127.0.0.1:5092\n");
        if (!caller.waitFor(QStringLiteral("Call established"), from, 10000))
            bench::fail("baresip's call was not answered");
        caller.process.write("/hangup\n");
        // The callee says so once the BYE has come through.
        if (!callee.waitFor(QStringLiteral("session closed"), calleeFrom, 10000))
            bench::fail("baresip's call did not end: " + callee.output.mid(calleeFrom).toStdString());
        return start;
    };
    // One of each first, uncounted: everything loaded, the wiretap listening.
    navoCall();
    baresipCall();
    std::vector<double> navoStarts, referenceStarts;
    for (int i = 0; i < calls; ++i) {
        navoStarts.push_back(navoCall());
        referenceStarts.push_back(baresipCall());
    }
    Ek7TapiClose();
    caller.process.write("/quit\n");
    caller.process.waitForFinished(5000);
    callee.process.kill();
    callee.process.waitForFinished(3000);
    QCoreApplication::processEvents();
    wiretap.terminate();
    wiretap.waitForFinished(3000);

    // The 200 OKs to INVITEs, in time order.
    std::vector<double> oks, invites;
    std::ifstream in(wire);
    for (std::string row; std::getline(in, row);) {
        const auto tab1 = row.find('\t'), tab2 = row.find('\t', tab1 + 1), tab3 = row.find('\t', tab2 + 1);
        if (tab3 == std::string::npos || row.compare(tab2 + 1, tab3 - tab2 - 1, "INVITE") != 0)
            continue;
        const double at = std::stod(row.substr(0, tab1));
        if (row.compare(tab3 + 1, 11, "SIP/2.0 200") == 0)
            oks.push_back(at);
        else if (row.compare(tab3 + 1, 7, "INVITE ") == 0)
            invites.push_back(at);
    }
    std::sort(oks.begin(), oks.end());
    std::sort(invites.begin(), invites.end());
    auto firstAfter = [](const std::vector<double>& times, double start) {
        const auto found = std::upper_bound(times.begin(), times.end(), start);
        return found == times.end() ? -1.0 : *found;
    };
    std::vector<double> navoTimes, referenceTimes, navoToInvite, referenceToInvite;
    for (int i = 0; i < calls; ++i) {
        const double navoOk = firstAfter(oks, navoStarts[i]);
        const double referenceOk = firstAfter(oks, referenceStarts[i]);
        if (navoOk < 0 || referenceOk < 0)
            bench::fail("the wiretap missed a 200 OK");
        navoTimes.push_back(navoOk - navoStarts[i]);
        referenceTimes.push_back(referenceOk - referenceStarts[i]);
        navoToInvite.push_back(firstAfter(invites, navoStarts[i]) - navoStarts[i]);
        referenceToInvite.push_back(firstAfter(invites, referenceStarts[i]) - referenceStarts[i]);
    }
    const double navo = bench::median(navoTimes);
    const double reference = bench::median(referenceTimes);
    std::printf("%d calls each to baresip answering at once, taking turns\n", calls);
    std::printf("Navo: Ek7TapiDial to the 200 OK on the wire:    median %s (runs %s)\n",
                bench::milliseconds(navo).c_str(), bench::runsText(navoTimes).c_str());
    std::printf("      of which dial to the INVITE on the wire:  median %s\n",
                bench::milliseconds(bench::median(navoToInvite)).c_str());
    std::printf("baresip: /dial to the 200 OK on the wire:       median %s (runs %s)\n",
                bench::milliseconds(reference).c_str(), bench::runsText(referenceTimes).c_str());
    std::printf("      of which /dial to the INVITE on the wire: median %s\n",
                bench::milliseconds(bench::median(referenceToInvite)).c_str());
    return bench::verdict(navo, reference, kTarget) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    return bench::guarded(argc, argv, body);
}
