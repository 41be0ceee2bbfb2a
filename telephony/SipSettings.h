// The SIP line's settings as the user sets them up (the SIP settings
// dialog), read from and written to the line's settings file, the one the
// provider module reads (telephony/module/LineOptions.h has every key).
//
// The password never goes into the settings file: it is kept in a file of
// its own, readable and writable by its owner only (0600), whose path the
// settings file names. A password file that others can read is refused by
// the line; writing the settings makes it private again.
#pragma once

#include <string>

struct SipSettings {
    std::string user;        // sip_user
    std::string domain;      // sip_domain
    std::string registrar;   // sip_registrar: registrar and outbound proxy, when not the domain
    std::string authUser;    // sip_auth_user
    std::string transport = "udp";  // udp, tcp or tls
    int localPort = 5060;    // sip_port
    std::string stunServer;  // sip_stun_server
    bool allowRemote = false;  // sip_allow_remote
    std::string passwordFile;  // sip_password_file

    enum class Secret {
        None,     // no password file named
        Missing,  // named, but not there
        Private,  // there, readable by its owner only
        Exposed,  // there, and others can read it
    };

    // What configPath holds (missing keys: the line's defaults).
    static SipSettings read(const std::string& configPath);
    // Where a new password file goes: "sip-password" beside configPath.
    static std::string defaultPasswordFile(const std::string& configPath);
    static Secret secret(const std::string& passwordFile);

    // Empty when the settings make a usable line, else what is wrong, said
    // for the user.
    std::string problem() const;
    // Writes the settings into configPath (made when missing, 0600), keeping
    // its other lines, through a new file renamed into place. A non-empty
    // password replaces the password file's content; an exposed password
    // file is made private. Empty on success, else what failed; on failure
    // the old settings file is left as it was.
    std::string write(const std::string& configPath, const std::string& password) const;
};
