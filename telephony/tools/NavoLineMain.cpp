// navo-line: drives Navo's test line from outside, as a telephone would.
#include <QCoreApplication>
#include <QString>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "telephony/module/TestLineAddress.h"
#include "telephony/tools/TestLineCaller.h"

namespace {

const char* const kUsage =
    "usage: navo-line [--socket PATH] COMMAND [OPTIONS]\n"
    "\n"
    "  call      ring Navo's test line as a caller\n"
    "              --rings N         give up after N rings (default 5; 0: never)\n"
    "              --number TEXT     caller's number (default 01234567890)\n"
    "              --name TEXT       caller's name (default \"Test Caller\")\n"
    "              --ring-period MS  length of one ring (default: the line's)\n"
    "  wait      wait for Navo to call, and answer it\n"
    "              --answer-after N  let Navo's call ring N times first (default 0)\n"
    "              --busy            be engaged: Navo's call finds the number busy\n"
    "              --no-dial-tone    Navo's call finds no dial tone\n"
    "  hangup    end the call that is up\n"
    "  status    print idle, ringing or connected\n"
    "\n"
    "  call and wait, once the call is up:\n"
    "              --say FILE.wav    what to say (any PCM WAV)\n"
    "              --hear FILE.wav   keep what Navo played (8000 Hz 16-bit mono)\n"
    "              --speak-after tone|answer  start speaking after the greeting's\n"
    "                                tone has ended (default) or at once\n"
    "              --linger MS       stay on after speaking (default 300)\n"
    "              --hold MS         with nothing to say, stay on this long\n"
    "              --timeout MS      give up on everything after MS (default 120000)\n"
    "\n"
    "The line's socket: --socket, else NAVO_TEST_LINE_SOCKET, else\n"
    "$XDG_RUNTIME_DIR/navo-test-line.sock, else $TMPDIR/navo-test-line-$USER.sock.\n"
    "Exit: 0 answered, 1 usage, 2 no line, 3 busy, 4 not answered, 5 timed out,\n"
    "6 unreadable WAV file,\n"
    "7 Navo's call found no dial tone.\n";

int usage()
{
    std::fputs(kUsage, stderr);
    return TestLineCaller::kUsage;
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    std::string socketPath = testLineSocketPath();
    std::string command;
    CallerScript script;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        const bool hasValue = i + 1 < argc;
        auto value = [&]() -> std::string { return argv[++i]; };
        auto number = [&]() { return std::atoi(argv[++i]); };
        if (option == "--help" || option == "-h")
            return usage();
        if (option == "--busy" || option == "--no-dial-tone") {
            script.answerMode = option == "--busy" ? "busy" : "nodialtone";
            continue;
        }
        if (option.rfind("--", 0) == 0 && !hasValue)
            return usage();
        if (option == "--socket")
            socketPath = value();
        else if (option == "--rings")
            script.rings = number();
        else if (option == "--number")
            script.number = value();
        else if (option == "--name")
            script.name = value();
        else if (option == "--answer-after")
            script.answerAfterRings = number();
        else if (option == "--ring-period")
            script.ringPeriodMs = number();
        else if (option == "--say")
            script.sayPath = value();
        else if (option == "--hear")
            script.hearPath = value();
        else if (option == "--speak-after") {
            const std::string when = value();
            if (when != "tone" && when != "answer")
                return usage();
            script.speakAfterTone = when == "tone";
        } else if (option == "--linger")
            script.lingerMs = number();
        else if (option == "--hold")
            script.holdMs = number();
        else if (option == "--timeout")
            script.timeoutMs = number();
        else if (command.empty() && option.rfind("--", 0) != 0)
            command = option;
        else
            return usage();
    }
    // The names travel tab-separated.
    for (std::string* text : {&script.number, &script.name})
        for (char& c : *text)
            if (c == '\t' || c == '\n')
                c = ' ';

    TestLineCaller caller(QString::fromLocal8Bit(socketPath.c_str()));
    if (command == "call")
        return caller.call(script);
    if (command == "wait")
        return caller.wait(script);
    if (command == "hangup")
        return caller.hangUp();
    if (command == "status")
        return caller.status();
    return usage();
}
