#include "telephony/SipSettings.h"

#include <cstring>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/FileOps.h"
#include "telephony/module/LineOptions.h"

namespace {

std::string trim(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// A value the settings file can carry: one line, no comment sign, no blanks
// (none of these settings has a use for one).
bool plain(const std::string& value)
{
    return value.find_first_of(" \t\r\n#") == std::string::npos;
}

std::string errorText(int error)
{
    return std::strerror(error);
}

// Writes text to path through a new private file renamed over it.
std::string replaceFile(const std::string& path, const std::string& text)
{
    std::error_code ignored;
    std::filesystem::create_directories(fileops::parentFolderOf(path), ignored);
    fileops::TempFile file;
    if (const int error = file.create(fileops::parentFolderOf(path), fileops::baseNameOf(path)); error != 0)
        return "cannot create a file beside " + path + ": " + errorText(error);
    if (const int error = fileops::writeAll(file.fd(), text.data(), text.size()); error != 0)
        return "cannot write " + path + ": " + errorText(error);
    if (const int error = file.finish(true); error != 0)
        return "cannot write " + path + ": " + errorText(error);
    if (const int error = file.publish(); error != 0)
        return "cannot replace " + path + ": " + errorText(error);
    return {};
}

}  // namespace

SipSettings SipSettings::read(const std::string& configPath)
{
    std::string text;
    fileops::readWholeFile(configPath, &text);  // no file: the defaults
    const LineOptions options = LineOptions::from(text, {});
    SipSettings settings;
    settings.user = options.sipUser;
    settings.domain = options.sipDomain;
    settings.registrar = options.sipRegistrar;
    settings.authUser = options.sipAuthUser;
    settings.transport = options.sipTransport;
    settings.localPort = options.sipPort;
    settings.stunServer = options.sipStunServer;
    settings.allowRemote = options.sipAllowRemote;
    settings.passwordFile = options.sipPasswordFile;
    return settings;
}

std::string SipSettings::defaultPasswordFile(const std::string& configPath)
{
    return fileops::joinPath(fileops::parentFolderOf(configPath), "sip-password");
}

SipSettings::Secret SipSettings::secret(const std::string& passwordFile)
{
    if (passwordFile.empty())
        return Secret::None;
    fileops::FileInfo info;
    if (fileops::infoOf(passwordFile, &info) != 0)
        return Secret::Missing;
    return (info.mode & 077) != 0 ? Secret::Exposed : Secret::Private;
}

std::string SipSettings::problem() const
{
    for (const auto& [value, name] : {std::pair{&user, "user"}, {&domain, "domain"}, {&registrar, "registrar"},
                                      {&authUser, "authentication name"}, {&stunServer, "STUN server"},
                                      {&passwordFile, "password file"}})
        if (!plain(*value))
            return std::string("The ") + name + " must not hold blanks, line breaks or \"#\".";
    if (user.empty() != domain.empty())
        return "An account needs both a user and a domain; leave both empty to take direct calls only.";
    if (user.empty() && (!registrar.empty() || !authUser.empty()))
        return "A registrar or an authentication name needs an account: enter its user and domain.";
    if (transport != "udp" && transport != "tcp" && transport != "tls")
        return "The transport must be UDP, TCP or TLS.";
    if (localPort < 1 || localPort > 65535)
        return "The local port must be from 1 to 65535.";
    return {};
}

std::string SipSettings::write(const std::string& configPath, const std::string& password) const
{
    if (configPath.empty())
        return "there is no place for the line's settings (HOME is not set)";
    if (password.find_first_of("\r\n") != std::string::npos)
        return "the password must be one line";

    SipSettings kept = *this;
    if (!password.empty() && kept.passwordFile.empty())
        kept.passwordFile = defaultPasswordFile(configPath);
    const std::vector<std::pair<std::string, std::string>> values = {
        {"sip_user", kept.user},
        {"sip_domain", kept.domain},
        {"sip_registrar", kept.registrar},
        {"sip_auth_user", kept.authUser},
        {"sip_password_file", kept.passwordFile},
        {"sip_transport", kept.transport},
        {"sip_port", std::to_string(kept.localPort)},
        {"sip_stun_server", kept.stunServer},
        {"sip_allow_remote", kept.allowRemote ? "1" : "0"},
    };

    // The password first: settings that name a file without it would fail.
    if (!password.empty()) {
        if (const std::string failed = replaceFile(kept.passwordFile, password + "\n"); !failed.empty())
            return failed;
    } else if (secret(kept.passwordFile) == Secret::Exposed) {
        if (const int error = fileops::setFileMode(kept.passwordFile, 0600); error != 0)
            return "cannot make " + kept.passwordFile + " private: " + errorText(error);
    }

    std::string old;
    fileops::readWholeFile(configPath, &old);
    std::vector<bool> written(values.size(), false);
    std::ostringstream text;
    std::istringstream lines(old);
    for (std::string line; std::getline(lines, line);) {
        const std::string key = trim(line.substr(0, line.find_first_of("=#")));
        std::size_t index = 0;
        while (index < values.size() && (line.find('=') == std::string::npos || values[index].first != key))
            ++index;
        if (index == values.size()) {
            text << line << '\n';  // not ours: kept as it was
        } else if (!written[index]) {
            text << values[index].first << " = " << values[index].second << '\n';
            written[index] = true;
        }  // a second line for the same key would override the first: dropped
    }
    for (std::size_t index = 0; index < values.size(); ++index)
        if (!written[index])
            text << values[index].first << " = " << values[index].second << '\n';
    return replaceFile(configPath, text.str());
}
