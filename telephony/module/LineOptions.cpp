#include "telephony/module/LineOptions.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "telephony/module/TestLineAddress.h"

namespace {

struct Key {
    const char* file;
    const char* variable;
};

const Key kKeys[] = {
    {"providers", "NAVO_LINE_PROVIDERS"},       {"ring_period_ms", "NAVO_RING_PERIOD_MS"},
    {"sip_port", "NAVO_SIP_PORT"},              {"sip_rtp_ports", "NAVO_SIP_RTP_PORTS"},
    {"sip_user", "NAVO_SIP_USER"},              {"sip_domain", "NAVO_SIP_DOMAIN"},
    {"sip_password_file", "NAVO_SIP_PASSWORD_FILE"}, {"sip_data_dir", "NAVO_SIP_DATA_DIR"},
    {"test_line_socket", "NAVO_TEST_LINE_SOCKET"}, {"test_line", "NAVO_TEST_LINE"},
    {"sip_auth_user", "NAVO_SIP_AUTH_USER"},     {"sip_registrar", "NAVO_SIP_REGISTRAR"},
    {"sip_transport", "NAVO_SIP_TRANSPORT"},     {"sip_stun_server", "NAVO_SIP_STUN_SERVER"},
    {"sip_allow_remote", "NAVO_SIP_ALLOW_REMOTE"},
};

bool yes(const std::string& text)
{
    return text == "1" || text == "yes" || text == "true" || text == "on";
}

std::string trim(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

int number(const std::string& text, int fallback, int low, int high)
{
    if (text.empty())
        return fallback;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || *end != '\0')
        return fallback;
    return static_cast<int>(std::clamp<long>(value, low, high));
}

std::string variable(const std::map<std::string, std::string>& environment, const char* name)
{
    const auto found = environment.find(name);
    return found == environment.end() ? std::string() : found->second;
}

}  // namespace

LineOptions LineOptions::from(const std::string& fileText, const std::map<std::string, std::string>& environment)
{
    std::map<std::string, std::string> values = {
        {"providers", "SIP line"},
        {"ring_period_ms", "3000"},
        {"sip_port", "5060"},
        {"sip_rtp_ports", "7078-7178"},
    };
    std::istringstream lines(fileText);
    for (std::string line; std::getline(lines, line);) {
        line = trim(line.substr(0, line.find('#')));
        const auto equals = line.find('=');
        if (equals != std::string::npos)
            values[trim(line.substr(0, equals))] = trim(line.substr(equals + 1));
    }
    for (const Key& key : kKeys) {
        const auto found = environment.find(key.variable);
        if (found != environment.end())
            values[key.file] = trim(found->second);
    }

    LineOptions options;
    std::istringstream names(values["providers"]);
    for (std::string name; std::getline(names, name, ',');)
        if (!trim(name).empty())
            options.providers.push_back(trim(name));
    if (yes(values["test_line"]) &&
        std::find(options.providers.begin(), options.providers.end(), "test line") == options.providers.end())
        options.providers.push_back("test line");
    options.ringPeriodMs = number(values["ring_period_ms"], 3000, 100, 20000);
    options.sipPort = number(values["sip_port"], 5060, -1, 65535);
    if (options.sipPort == 0)
        options.sipPort = -1;
    const std::string ports = values["sip_rtp_ports"];
    const auto dash = ports.find('-');
    if (dash != std::string::npos) {
        const int low = number(trim(ports.substr(0, dash)), 7078, 1024, 65534);
        const int high = number(trim(ports.substr(dash + 1)), low + 100, low + 1, 65535);
        options.rtpPortMin = low;
        options.rtpPortMax = std::max(high, low + 1);
    }
    options.sipUser = values["sip_user"];
    options.sipDomain = values["sip_domain"];
    options.sipPasswordFile = values["sip_password_file"];
    options.sipDataDir = values["sip_data_dir"];
    if (options.sipDataDir.empty()) {
        const std::string dataHome = variable(environment, "XDG_DATA_HOME");
        const std::string home = variable(environment, "HOME");
        options.sipDataDir = (!dataHome.empty() ? dataHome : (home.empty() ? std::string("/tmp") : home) + "/.local/share") +
                             "/navo/sip";
    }
    options.sipAuthUser = values["sip_auth_user"];
    options.sipRegistrar = values["sip_registrar"];
    options.sipTransport = values["sip_transport"].empty() ? "udp" : values["sip_transport"];
    std::transform(options.sipTransport.begin(), options.sipTransport.end(), options.sipTransport.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    options.sipStunServer = values["sip_stun_server"];
    options.sipAllowRemote = yes(values["sip_allow_remote"]);
    options.testLineSocket = values["test_line_socket"];
    return options;
}

std::string LineOptions::configPath()
{
    auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value != nullptr ? value : "");
    };
    if (!variable("NAVO_LINE_CONFIG").empty())
        return variable("NAVO_LINE_CONFIG");
    if (!variable("XDG_CONFIG_HOME").empty())
        return variable("XDG_CONFIG_HOME") + "/navo/line.conf";
    if (!variable("HOME").empty())
        return variable("HOME") + "/.config/navo/line.conf";
    return {};
}

LineOptions LineOptions::current()
{
    std::map<std::string, std::string> environment;
    for (const char* name : {"XDG_DATA_HOME", "HOME"})
        if (const char* value = std::getenv(name))
            environment[name] = value;
    for (const Key& key : kKeys)
        if (const char* value = std::getenv(key.variable))
            environment[key.variable] = value;

    const std::string path = configPath();
    std::string text;
    if (!path.empty()) {
        std::ifstream file(path);
        text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    LineOptions options = from(text, environment);
    if (options.testLineSocket.empty())
        options.testLineSocket = testLineSocketPath();
    return options;
}
