#include "telephony/module/LineOptions.h"

#include <algorithm>
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
    {"test_line_socket", "NAVO_TEST_LINE_SOCKET"},
};

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
        {"providers", "SIP line,test line"},
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
    options.testLineSocket = values["test_line_socket"];
    return options;
}

LineOptions LineOptions::current()
{
    std::map<std::string, std::string> environment;
    for (const char* name : {"XDG_DATA_HOME", "HOME", "XDG_CONFIG_HOME", "NAVO_LINE_CONFIG"})
        if (const char* value = std::getenv(name))
            environment[name] = value;
    for (const Key& key : kKeys)
        if (const char* value = std::getenv(key.variable))
            environment[key.variable] = value;

    std::string path = variable(environment, "NAVO_LINE_CONFIG");
    if (path.empty()) {
        const std::string configHome = variable(environment, "XDG_CONFIG_HOME");
        const std::string home = variable(environment, "HOME");
        if (!configHome.empty())
            path = configHome + "/navo/line.conf";
        else if (!home.empty())
            path = home + "/.config/navo/line.conf";
    }
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
