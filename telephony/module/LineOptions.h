// Every setting of the provider module, read, defaulted and clamped here and
// nowhere else.
//
// Sources, later ones winning: built-in defaults; the settings file (the
// path in NAVO_LINE_CONFIG, else $XDG_CONFIG_HOME/navo/line.conf, else
// ~/.config/navo/line.conf; "key = value" lines, "#" starts a comment); the
// environment variables beside each key below.
//
//   providers          NAVO_LINE_PROVIDERS     "SIP line"  the line devices, in order
//   test_line          NAVO_TEST_LINE          0    1: the test line is added to the devices
//                                                   (nobody can call it but navo-line, so a
//                                                   user never sees it unless asked for)
//   ring_period_ms     NAVO_RING_PERIOD_MS     3000 (100..20000)     one ring's length
//   sip_port           NAVO_SIP_PORT           5060 (-1 = any free port, else 1..65535)
//   sip_rtp_ports      NAVO_SIP_RTP_PORTS      "7078-7178"
//   sip_user           NAVO_SIP_USER           ""   account at a registrar (optional)
//   sip_domain         NAVO_SIP_DOMAIN         ""
//   sip_password_file  NAVO_SIP_PASSWORD_FILE  ""   must be readable by its owner only
//   sip_auth_user      NAVO_SIP_AUTH_USER      ""   authentication name, when not the user
//   sip_registrar      NAVO_SIP_REGISTRAR      ""   registrar and outbound proxy, when not the domain
//   sip_transport      NAVO_SIP_TRANSPORT      "udp"  udp, tcp or tls (anything else: lowered, and
//                                                   refused by the line as a setting it cannot use)
//   sip_stun_server    NAVO_SIP_STUN_SERVER    ""   host[:port] of a STUN server
//   sip_allow_remote   NAVO_SIP_ALLOW_REMOTE   0    1: without an account, direct calls are taken
//                                                   from any address, not from loopback only
//   sip_data_dir       NAVO_SIP_DATA_DIR       $XDG_DATA_HOME/navo/sip (~/.local/share/navo/sip)
//   test_line_socket   NAVO_TEST_LINE_SOCKET   see TestLineAddress.h
#pragma once

#include <map>
#include <string>
#include <vector>

struct LineOptions {
    std::vector<std::string> providers;
    int ringPeriodMs = 3000;
    int sipPort = 5060;
    int rtpPortMin = 7078;
    int rtpPortMax = 7178;
    std::string sipUser;
    std::string sipDomain;
    std::string sipPasswordFile;
    std::string sipDataDir;
    std::string sipAuthUser;
    std::string sipRegistrar;
    std::string sipTransport = "udp";
    std::string sipStunServer;
    bool sipAllowRemote = false;
    std::string testLineSocket;

    // What the process's settings file and environment say now.
    static LineOptions current();
    // The same from given values (tests): file text and variables.
    static LineOptions from(const std::string& fileText, const std::map<std::string, std::string>& environment);
    // The settings file current() reads ("" when there is no home to put it in).
    static std::string configPath();
};
